#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Web.h"

namespace station {

/// Who may talk to the station: whoever knows the token, by an address that is the station's own, so
/// that no other site's page can do so in a browser's name. For one thread.
class Access {
  public:
    /// \param token what a client must know.
    /// \param isLoopback only this machine's own addresses are the station's.
    /// \param hosts further names of the station.
    Access(std::string token, bool isLoopback, std::vector<std::string> hosts);

    /// The refusal of a request: 403 for a foreign Host or Origin, 401 without the token.
    std::optional<Response> refuse(const Request& request);

    /// What opens the station once, in place of the token: for an address that others may see.
    const std::string& once() const { return once_; }

    /// Whether the request has brought the token in its address, and a cookie must keep it.
    bool mustKeep(const Request& request) const;
    const std::string& token() const { return token_; }

    /// 32 random bytes in hexadecimal digits.
    static std::string randomToken();

  private:
    bool isOwnHost(const std::string& host) const;

    std::string token_;
    std::string once_;
    bool isOnceUsed_ = false;
    bool isLoopback_;
    std::vector<std::string> hosts_;
};

}  // namespace station
