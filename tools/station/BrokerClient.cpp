#include "BrokerClient.h"

#if !__has_include(<mosquitto.h>)
#error "cq-station needs libmosquitto for --mqtt: install Debian's libmosquitto-dev"
#endif
#include <mosquitto.h>
#include <mqtt_protocol.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "system/Files.h"
#include "text/Text.h"

namespace station {
namespace {

using cqtool::Failure;

constexpr int kKeepAliveSeconds = 20;          // a broker that is silent for longer is gone
constexpr std::chrono::seconds kPatience{10};  // until it has let the client in
constexpr int kQualityOfService = 1;
constexpr int kFirstRefusal = 0x80;  // of the reason codes
constexpr const char* kSystemAuthorities = "/etc/ssl/certs";

const char* orNone(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

std::string adviceFor(int reason) {
    switch (reason) {
        case MQTT_RC_NOT_AUTHORIZED:
        case MQTT_RC_BAD_USERNAME_OR_PASSWORD:
            return "check user and password in the file of --mqtt-login, and what the broker lets "
                   "them do";
        case MQTT_RC_SESSION_TAKEN_OVER:
            return "another station has the same name: give each its own with --station";
        case MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION:
            return "the broker must speak MQTT 5";
        default:
            return {};
    }
}

}  // namespace

Login loginOf(const Broker& broker) {
    if (broker.loginFile.empty()) {
        return {};
    }
    const std::string content = cqtool::readFile(broker.loginFile);
    const std::size_t end = content.find('\n');
    Login login{std::string(cqtool::trimmed(content.substr(0, end))),
                end == std::string::npos ? std::string()
                                         : std::string(cqtool::trimmed(content.substr(end + 1)))};
    if (login.user.empty() || login.password.find('\n') != std::string::npos) {
        throw Failure(broker.loginFile + " is no login for the broker",
                      "its first line is the user, its second one the password");
    }
    return login;
}

void checkFiles(const Broker& broker) {
    for (const std::string& file :
         {broker.authoritiesFile, broker.certificateFile, broker.keyFile}) {
        if (!file.empty()) {
            cqtool::readFile(file);
        }
    }
}

/// What the library calls, within work() and publish().
struct BrokerClient::Callbacks {
    static BrokerClient& of(void* self) { return *static_cast<BrokerClient*>(self); }

    static void connected(mosquitto*, void* self, int reason, int, const mosquitto_property*) {
        BrokerClient& client = of(self);
        if (reason == 0) {
            client.isConnected_ = true;
        } else {
            // A broker of an earlier version refuses with codes of its own.
            client.refuse(reason < kFirstRefusal ? MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION : reason);
        }
    }

    static void disconnected(mosquitto*, void* self, int reason, const mosquitto_property*) {
        if (reason >= kFirstRefusal) {
            of(self).refuse(reason);
        }
    }

    static void published(mosquitto*, void* self, int id, int reason, const mosquitto_property*) {
        if (reason >= kFirstRefusal) {
            of(self).refuse(reason);
        } else {
            of(self).acknowledged_.push_back(id);
        }
    }

    static void logged(mosquitto*, void* self, int level, const char* text) {
        if (level == MOSQ_LOG_ERR) {
            of(self).logged_ = text;
        }
    }

    /// Of the key: the library would ask on the terminal.
    static int password(char*, int, int, void*) { return 0; }
};

BrokerClient::BrokerClient(const Broker& broker, const Login& login, const std::string& id,
                           Presence presence)
    : broker_(nameOf(broker)),
      presence_(std::move(presence)),
      client_(mosquitto_new(id.c_str(), true, this), mosquitto_destroy) {
    if (client_ == nullptr) {
        fail(MOSQ_ERR_NOMEM);
    }
    setUp(broker, login);
    errno = 0;
    if (const int error = mosquitto_connect_bind_async(client_.get(), broker.host.c_str(),
                                                       broker.port, kKeepAliveSeconds, nullptr)) {
        fail(error);
    }
}

BrokerClient::~BrokerClient() = default;

void BrokerClient::setUp(const Broker& broker, const Login& login) {
    mosquitto* const client = client_.get();
    mosquitto_int_option(client, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
    mosquitto_int_option(client, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_connect_v5_callback_set(client, Callbacks::connected);
    mosquitto_disconnect_v5_callback_set(client, Callbacks::disconnected);
    mosquitto_publish_v5_callback_set(client, Callbacks::published);
    mosquitto_log_callback_set(client, Callbacks::logged);
    int error = mosquitto_will_set(client, presence_.topic.c_str(),
                                   static_cast<int>(presence_.offline.size()),
                                   presence_.offline.data(), kQualityOfService, true);
    if (error == 0 && !login.user.empty()) {
        error = mosquitto_username_pw_set(client, login.user.c_str(), orNone(login.password));
    }
    if (error == 0 && broker.isEncrypted) {
        error = mosquitto_tls_set(client, orNone(broker.authoritiesFile),
                                  broker.authoritiesFile.empty() ? kSystemAuthorities : nullptr,
                                  orNone(broker.certificateFile), orNone(broker.keyFile),
                                  Callbacks::password);
    }
    if (error != 0) {
        fail(error);
    }
}

void BrokerClient::refuse(int reason) {
    problem_ = mosquitto_reason_string(reason);
    advice_ = adviceFor(reason);
}

/// Says why, as well as is known.
void BrokerClient::fail(int error) {
    if (!problem_.empty()) {
        throw Failure("the broker " + broker_ + " refuses: " + problem_, advice_);
    }
    std::string why = error == MOSQ_ERR_ERRNO && errno != 0 ? std::generic_category().message(errno)
                                                            : mosquitto_strerror(error);
    std::string advice;
    if (error == MOSQ_ERR_TLS) {
        why = logged_.empty() ? why : logged_;
        advice =
            "check the files of --mqtt-ca, --mqtt-cert and --mqtt-key, and that the broker's "
            "certificate is for this name";
    }
    throw Failure(
        (isConnected_ ? "lost the broker " : "cannot reach the broker ") + broker_ + ": " + why,
        advice);
}

pollfd BrokerClient::wanted() const {
    const short writes = mosquitto_want_write(client_.get()) ? POLLOUT : 0;
    return {mosquitto_socket(client_.get()), static_cast<short>(POLLIN | writes), 0};
}

void BrokerClient::work(short ready) {
    errno = 0;
    if (!isConnected_ && (ready & (POLLERR | POLLHUP)) != 0) {
        socklen_t size = sizeof errno;
        ::getsockopt(mosquitto_socket(client_.get()), SOL_SOCKET, SO_ERROR, &errno, &size);
        if (errno != 0) {
            fail(MOSQ_ERR_ERRNO);
        }
    }
    int error = 0;
    if ((ready & (POLLIN | POLLERR | POLLHUP)) != 0) {
        error = mosquitto_loop_read(client_.get(), 1);
    }
    if (error == 0 && (ready & POLLOUT) != 0) {
        error = mosquitto_loop_write(client_.get(), 1);
    }
    if (error == 0) {
        error = mosquitto_loop_misc(client_.get());
    }
    if (error != 0 || !problem_.empty()) {
        fail(error);
    }
    if (!isConnected_ && (ready & POLLHUP) != 0) {
        errno = ECONNREFUSED;  // of which the library says nothing with TLS
        fail(MOSQ_ERR_ERRNO);
    }
    if (isConnected_ && !hasGreeted_) {
        hasGreeted_ = true;
        publish(presence_.topic, presence_.online, true);
    }
    if (!isConnected_ && std::chrono::steady_clock::now() - began_ > kPatience) {
        throw Failure(
            "the broker " + broker_ + " does not answer",
            "check that there is an MQTT broker on this port, and whether it wants mqtts");
    }
}

int BrokerClient::publish(const std::string& topic, const std::string& payload, bool isRetained) {
    int id = 0;
    errno = 0;
    if (const int error =
            mosquitto_publish(client_.get(), &id, topic.c_str(), static_cast<int>(payload.size()),
                              payload.data(), kQualityOfService, isRetained)) {
        fail(error);
    }
    return id;
}

void BrokerClient::leave() {
    if (isConnected_) {
        publish(presence_.topic, presence_.offline, true);
        mosquitto_disconnect(client_.get());
    }
}

}  // namespace station
