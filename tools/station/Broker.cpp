#include "Broker.h"

#include <charconv>
#include <string_view>

#include "Failure.h"

namespace station {
namespace {

constexpr std::string_view kPlainScheme = "mqtt://";
constexpr std::string_view kEncryptedScheme = "mqtts://";
constexpr std::uint16_t kPlainPort = 1883;
constexpr std::uint16_t kEncryptedPort = 8883;

std::uint16_t brokerPort(std::string_view text) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc{} || end != text.data() + text.size() || port == 0) {
        throw cqtool::UsageError("the port of the broker is 1 to 65535, not '" + std::string(text) +
                                 "'");
    }
    return port;
}

}  // namespace

void setUrl(Broker& broker, const std::string& url) {
    std::string_view rest = url;
    broker.isEncrypted = rest.starts_with(kEncryptedScheme);
    if (!broker.isEncrypted && !rest.starts_with(kPlainScheme)) {
        throw cqtool::UsageError("a broker is mqtt://HOST[:PORT] or mqtts://HOST[:PORT], not '" +
                                 url + "'");
    }
    rest.remove_prefix(broker.isEncrypted ? kEncryptedScheme.size() : kPlainScheme.size());
    if (rest.ends_with('/')) {
        rest.remove_suffix(1);
    }
    if (rest.find('@') != std::string_view::npos) {
        throw cqtool::UsageError(
            "user and password do not belong into the broker's address, which others can see: put "
            "them into a file, two lines, and name it with --mqtt-login");
    }
    // An IPv6 address stands in brackets: its colons are not the port's.
    const std::size_t colon = rest.rfind(':');
    const bool hasPort = colon != std::string_view::npos && rest.find(']', colon) == rest.npos;
    broker.port = hasPort              ? brokerPort(rest.substr(colon + 1))
                  : broker.isEncrypted ? kEncryptedPort
                                       : kPlainPort;
    rest = rest.substr(0, hasPort ? colon : rest.size());
    if (rest.starts_with('[') && rest.ends_with(']')) {
        rest = rest.substr(1, rest.size() - 2);
    }
    broker.host = rest;
    if (rest.empty() || rest.find_first_of("/?#[] ") != std::string_view::npos) {
        throw cqtool::UsageError("'" + url + "' names no host of a broker");
    }
}

std::string nameOf(const Broker& broker) {
    return broker.host + ":" + std::to_string(broker.port);
}

}  // namespace station
