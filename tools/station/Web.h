#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace station {

/// A request of a client, whatever carries it.
struct Request {
    std::string method;  ///< "GET", "POST"
    std::string path;    ///< decoded, without the query
    std::map<std::string, std::string> query;
    std::string host;         ///< of the Host header
    std::string origin;       ///< of the Origin header; empty: none
    std::string token;        ///< of the Authorization header or the cookie; empty: none
    std::string contentType;  ///< of the body
    std::string body;

    /// The value of this name in the query; empty: none.
    std::string queried(const std::string& name) const {
        const auto found = query.find(name);
        return found == query.end() ? std::string() : found->second;
    }
    /// The same of a whole number. Throws cqtool::UsageError for another value.
    std::optional<std::uint64_t> queriedNumber(const std::string& name) const;
};

struct Response {
    int status = 200;
    std::string type = "application/json";
    std::string body;
    std::string cookie;  ///< to set; empty: none
};

using Respond = std::function<void(Response)>;

/// The whole number from 0 that a text is; nothing for another text.
std::optional<std::uint64_t> numberIn(const std::string& text);

/// Takes a target such as "/api/jobs/lot%2012?last=5" apart; false if it is none.
bool parseTarget(const std::string& target, Request& request);

/// {"error": ...} with this status.
Response refusal(int status, const std::string& what, const std::string& advice = {});

}  // namespace station
