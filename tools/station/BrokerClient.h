#pragma once

#include <poll.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Broker.h"

struct mosquitto;

namespace station {

/// User and password for the broker; both empty: none.
struct Login {
    std::string user;
    std::string password;
};
/// Reads them from the broker's file. Throws cqtool::Failure.
Login loginOf(const Broker& broker);
/// Throws cqtool::Failure for certificates or a key that cannot be read: the MQTT library would not
/// say which.
void checkFiles(const Broker& broker);

/// A connection to the broker that says what it is about: one retained message while it stands, and
/// another one, which the broker publishes by itself when the connection breaks, afterwards.
/// It waits for nothing but the look-up of the host's name. For one thread.
class BrokerClient {
  public:
    struct Presence {
        std::string topic;
        std::string online;   ///< the retained message while it is connected
        std::string offline;  ///< and afterwards
    };

    /// Begins to connect. Throws cqtool::Failure, saying why; so do the others.
    BrokerClient(const Broker& broker, const Login& login, const std::string& id,
                 Presence presence);
    /// Breaks it off, if it has not left.
    ~BrokerClient();
    BrokerClient(const BrokerClient&) = delete;
    BrokerClient& operator=(const BrokerClient&) = delete;

    /// What to poll for.
    pollfd wanted() const;
    /// Does what can be done without waiting.
    /// \param ready what poll() has found; 0: nothing.
    void work(short ready);
    bool isConnected() const { return isConnected_; }

    /// Sends with quality of service 1, while it is connected.
    /// \return the identifier that will be among those acknowledged.
    int publish(const std::string& topic, const std::string& payload, bool isRetained = false);
    /// Those acknowledged since the last call.
    std::vector<int> takeAcknowledged() { return std::exchange(acknowledged_, {}); }

    /// Says goodbye, so that no will is published but the same message by the client.
    void leave();

  private:
    struct Callbacks;

    [[noreturn]] void fail(int error);
    void refuse(int reason);
    void setUp(const Broker& broker, const Login& login);

    const std::string broker_;
    const Presence presence_;
    const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
    std::unique_ptr<mosquitto, void (*)(mosquitto*)> client_;
    bool isConnected_ = false;
    bool hasGreeted_ = false;
    std::vector<int> acknowledged_;
    std::string problem_;  ///< what the broker said
    std::string advice_;
    std::string logged_;  ///< the last error that the library has told
};

}  // namespace station
