#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace station {

/// Where the MQTT broker is and how it is spoken to. Files may be empty: there are none.
struct Broker {
    std::string host;  ///< empty: nothing is published
    std::uint16_t port = 0;
    bool isEncrypted = false;
    std::string loginFile;        ///< its first line is the user, its second one the password
    std::string authoritiesFile;  ///< certificates of authorities, PEM; empty: those of the system
    std::string certificateFile;  ///< the station's own, PEM
    std::string keyFile;          ///< its key, PEM
    /// How long the broker may take to have on its disk what it has acknowledged.
    std::chrono::seconds settleTime{30};
};

/// Sets host, port and encryption from "mqtt://HOST[:PORT]" or "mqtts://HOST[:PORT]".
/// Throws cqtool::UsageError.
void setUrl(Broker& broker, const std::string& url);

/// How messages call it: "broker.example:8883".
std::string nameOf(const Broker& broker);

}  // namespace station
