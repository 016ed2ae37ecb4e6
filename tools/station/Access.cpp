#include "Access.h"

#include <algorithm>
#include <cctype>
#include <random>
#include <utility>

namespace station {
namespace {

/// Takes as long whatever the difference.
bool areSame(const std::string& one, const std::string& other) {
    if (one.size() != other.size()) {
        return false;
    }
    unsigned difference = 0;
    for (std::size_t i = 0; i < one.size(); ++i) {
        difference |= static_cast<unsigned>(static_cast<unsigned char>(one[i]) ^
                                            static_cast<unsigned char>(other[i]));
    }
    return difference == 0;
}

/// "[::1]:8080" and "localhost:8080" without their ports.
std::string withoutPort(const std::string& host) {
    const std::size_t colon = host.rfind(':');
    const std::size_t bracket = host.rfind(']');
    const bool hasPort =
        colon != std::string::npos && (bracket == std::string::npos || colon > bracket);
    std::string name = hasPort ? host.substr(0, colon) : host;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return name;
}

/// An address is nobody's name, so that no name can be made to lead here.
bool isAddress(const std::string& host) {
    return host.starts_with('[') ||
           (!host.empty() && host.find_first_not_of("0123456789.") == std::string::npos);
}

}  // namespace

Access::Access(std::string token, bool isLoopback, std::vector<std::string> hosts)
    : token_(std::move(token)),
      once_(randomToken()),
      isLoopback_(isLoopback),
      hosts_(std::move(hosts)) {
    for (std::string& host : hosts_) {
        host = withoutPort(host);
    }
}

bool Access::isOwnHost(const std::string& host) const {
    const std::string name = withoutPort(host);
    if (name == "localhost" || name == "127.0.0.1" || name == "[::1]") {
        return true;
    }
    return std::find(hosts_.begin(), hosts_.end(), name) != hosts_.end() ||
           (!isLoopback_ && isAddress(name));
}

std::optional<Response> Access::refuse(const Request& request) {
    if (!isOwnHost(request.host)) {
        return refusal(403, "the station does not answer by the name '" + request.host + "'",
                       "use the address that it has printed, or start it with --host NAME");
    }
    const std::size_t scheme = request.origin.find("://");
    if (!request.origin.empty() &&
        (scheme == std::string::npos || request.origin.substr(scheme + 3) != request.host)) {
        return refusal(403, "pages of other sites may not use the station");
    }
    if (areSame(request.token, token_) || areSame(request.queried("token"), token_)) {
        return std::nullopt;
    }
    if (!isOnceUsed_ && request.path == "/" && areSame(request.queried("once"), once_)) {
        isOnceUsed_ = true;
        return std::nullopt;
    }
    return refusal(401, "the token is missing or wrong",
                   "use the address that the station has printed");
}

bool Access::mustKeep(const Request& request) const {
    return request.path == "/" && !areSame(request.token, token_);
}

std::string Access::randomToken() {
    std::random_device random;
    std::string token;
    for (int i = 0; i < 32; ++i) {
        const auto byte = static_cast<unsigned>(random() & 0xFF);
        token += "0123456789abcdef"[byte >> 4];
        token += "0123456789abcdef"[byte & 0xF];
    }
    return token;
}

}  // namespace station
