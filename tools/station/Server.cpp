#include "Server.h"

#include <boost/asio.hpp>
#include <boost/beast.hpp>

#include <algorithm>
#include <chrono>
#include <list>
#include <optional>
#include <set>
#include <utility>

#include "Failure.h"
#include "PageFiles.h"

namespace station {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using tcp = asio::ip::tcp;
using boost::system::error_code;
using std::chrono::seconds;

constexpr std::size_t kMostConnections = 256;
constexpr std::size_t kMostListeners = 64;
constexpr std::uint32_t kMostHeaderBytes = 8 * 1024;
constexpr std::uint64_t kMostBodyBytes = std::uint64_t{64} * 1024;
constexpr std::size_t kMostReceived = 4096;     // of a listener, which has nothing to say
constexpr seconds kIdleTime{30};                // for a request to come, or an answer to go
constexpr const char* kCookie = "cq-station-";  // and the port: cookies do not know ports

/// What all connections share. For the server's thread alone.
struct Hub {
    Access& access;
    Api* api = nullptr;
    Jobs* jobs = nullptr;
    const States* states = nullptr;
    std::uint16_t port = 0;
};

std::string textOf(beast::string_view text) {
    return {text.data(), text.size()};
}

/// The value of a cookie; empty: none.
std::string cookieOf(const std::string& cookies, const std::string& name) {
    const std::string list = "; " + cookies;
    const std::string start = "; " + name + "=";
    const std::size_t place = list.find(start);
    if (place == std::string::npos) {
        return {};
    }
    const std::size_t begin = place + start.size();
    return list.substr(begin, list.find(';', begin) - begin);
}

class Connection;

/// The connections that are open. When there are too many, the oldest of those that have not sent a
/// request yet makes room.
class Connections {
  public:
    void add(const std::shared_ptr<Connection>& connection);
    void remove(const std::shared_ptr<Connection>& connection) { all_.remove(connection); }
    void wakeListeners();
    void closeAll();
    bool isFullOfListeners() const;

  private:
    std::list<std::shared_ptr<Connection>> all_;  // the oldest in front
};

/// A client: its requests one after another, and the live channel that one may turn into.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    Connection(tcp::socket socket, Hub& hub, Connections& connections)
        : stream_(std::move(socket)), hub_(hub), connections_(connections) {}

    bool hasAsked() const { return hasAsked_; }
    bool isListener() const { return socket_.has_value(); }

    void readRequest() {
        parser_.emplace();
        parser_->header_limit(kMostHeaderBytes);
        parser_->body_limit(kMostBodyBytes);
        stream_.expires_after(kIdleTime);
        http::async_read(stream_, buffer_, *parser_,
                         [self = shared_from_this()](error_code error, std::size_t) {
                             self->takeRequest(error);
                         });
    }

    /// Tells the listener what is new, if it has taken what went before.
    void tell() {
        if (!isReady_ || isTelling_) {
            return;
        }
        std::optional<std::string> message;
        try {
            message = feed_->next();
        } catch (const std::exception&) {
            return close();  // its job cannot be read any more: it will ask again, and be told why
        }
        if (!message) {
            return;
        }
        isTelling_ = true;
        message_ = std::move(*message);
        socket_->async_write(asio::buffer(message_),
                             [self = shared_from_this()](error_code error, std::size_t) {
                                 self->isTelling_ = false;
                                 error ? self->end() : self->tell();
                             });
    }

    void close() {
        error_code ignored;
        (socket_ ? beast::get_lowest_layer(*socket_) : stream_).socket().close(ignored);
    }

  private:
    void end() { connections_.remove(shared_from_this()); }

    void takeRequest(error_code error) {
        if (error == http::error::body_limit || error == http::error::header_limit) {
            return respond(refusal(413, "the request is too long"), 11, false);
        }
        if (error) {
            return end();
        }
        hasAsked_ = true;
        const auto& message = parser_->get();
        const unsigned version = message.version();
        const bool keepsAlive = message.keep_alive();
        const Request request = requestOf(message);
        if (request.path.empty()) {
            return respond(refusal(400, "the address cannot be read"), version, false);
        }
        if (auto refused = hub_.access.refuse(request)) {
            return respond(std::move(*refused), version, false);  // who may not stay holds no place
        }
        if (request.path == "/api/live") {
            return listen(request);
        }
        answer(request, version, keepsAlive);
    }

    Request requestOf(const http::request<http::string_body>& message) const {
        Request request;
        if (!parseTarget(textOf(message.target()), request)) {
            request.path.clear();
        }
        request.method = textOf(message.method_string());
        request.host = textOf(message[http::field::host]);
        request.origin = textOf(message[http::field::origin]);
        request.contentType = textOf(message[http::field::content_type]);
        request.body = message.body();
        const std::string bearer = textOf(message[http::field::authorization]);
        constexpr std::string_view kBearer = "Bearer ";
        request.token = bearer.starts_with(kBearer)
                            ? bearer.substr(kBearer.size())
                            : cookieOf(textOf(message[http::field::cookie]), cookieName());
        return request;
    }

    std::string cookieName() const { return kCookie + std::to_string(hub_.port); }

    void answer(const Request& request, unsigned version, bool keepsAlive) {
        if (request.path.starts_with("/api/")) {
            // An instrument's thread may answer, and the client may be gone by then.
            hub_.api->handle(request, [self = shared_from_this(), version,
                                       keepsAlive](Response response) {
                asio::post(self->stream_.get_executor(),
                           [self, version, keepsAlive, response = std::move(response)]() mutable {
                               self->respond(std::move(response), version, keepsAlive);
                           });
            });
            return;
        }
        const PageFile* const file = request.method == "GET" ? pageFile(request.path) : nullptr;
        if (file == nullptr) {
            return respond(refusal(404, "there is no " + request.path), version, keepsAlive);
        }
        Response response{200, std::string(file->type), std::string(file->content), {}};
        if (hub_.access.mustKeep(request)) {
            response.cookie =
                cookieName() + "=" + hub_.access.token() + "; HttpOnly; SameSite=Strict; Path=/";
        }
        respond(std::move(response), version, keepsAlive);
    }

    void respond(Response response, unsigned version, bool keepsAlive) {
        response_.emplace(static_cast<http::status>(response.status), version);
        auto& message = *response_;
        message.set(http::field::content_type, response.type);
        message.set(http::field::cache_control, "no-store");
        message.set("X-Content-Type-Options", "nosniff");
        message.set("Referrer-Policy", "no-referrer");
        message.set("Content-Security-Policy",
                    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
                    "connect-src 'self'; base-uri 'none'; form-action 'none'; "
                    "frame-ancestors 'none'");
        if (!response.cookie.empty()) {
            message.set(http::field::set_cookie, response.cookie);
        }
        message.body() = std::move(response.body);
        message.keep_alive(keepsAlive);
        message.prepare_payload();
        stream_.expires_after(kIdleTime);
        http::async_write(stream_, message,
                          [self = shared_from_this(), keepsAlive](error_code error, std::size_t) {
                              if (error || !keepsAlive) {
                                  self->finish();
                              } else {
                                  self->readRequest();
                              }
                          });
    }

    void finish() {
        error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
        end();
    }

    void listen(const Request& request) {
        const auto& message = parser_->get();
        if (!websocket::is_upgrade(message)) {
            return respond(refusal(426, "/api/live is a WebSocket"), message.version(), false);
        }
        if (connections_.isFullOfListeners()) {
            return respond(refusal(503, "there are too many listeners"), message.version(), false);
        }
        try {
            feed_.emplace(*hub_.jobs, *hub_.states, request.queried("job"),
                          request.queriedNumber("after"));
        } catch (const cqtool::UsageError& error) {
            return respond(refusal(400, error.what()), message.version(), false);
        } catch (const std::exception& error) {
            return respond(refusal(404, error.what()), message.version(), false);
        }
        stream_.expires_never();
        socket_.emplace(std::move(stream_));
        socket_->set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
        socket_->read_message_max(kMostReceived);
        socket_->async_accept(message, [self = shared_from_this()](error_code error) {
            if (error) {
                return self->end();
            }
            self->isReady_ = true;
            self->socket_->text(true);
            self->drop();
            self->tell();
        });
    }

    /// Reads what a listener sends, which means nothing, to notice when it goes.
    void drop() {
        buffer_.clear();
        socket_->async_read(buffer_, [self = shared_from_this()](error_code error, std::size_t) {
            error ? self->end() : self->drop();
        });
    }

    beast::tcp_stream stream_;
    Hub& hub_;
    Connections& connections_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<http::string_body>> parser_;
    std::optional<http::response<http::string_body>> response_;
    bool hasAsked_ = false;

    std::optional<websocket::stream<beast::tcp_stream>> socket_;  // of a listener, as the rest
    std::optional<Feed> feed_;
    bool isReady_ = false;
    bool isTelling_ = false;
    std::string message_;  // being written
};

void Connections::add(const std::shared_ptr<Connection>& connection) {
    all_.push_back(connection);
    if (all_.size() > kMostConnections) {
        const auto silent = std::find_if(all_.begin(), all_.end(),
                                         [](const auto& one) { return !one->hasAsked(); });
        (*silent)->close();  // at worst the new one
        all_.erase(silent);
    }
}

void Connections::wakeListeners() {
    // A listener that has gone takes itself off the list.
    const std::vector<std::shared_ptr<Connection>> now(all_.begin(), all_.end());
    for (const auto& connection : now) {
        if (connection->isListener()) {
            connection->tell();
        }
    }
}

void Connections::closeAll() {
    for (const auto& connection : all_) {
        connection->close();
    }
    all_.clear();
}

bool Connections::isFullOfListeners() const {
    return static_cast<std::size_t>(std::count_if(all_.begin(), all_.end(), [](const auto& one) {
               return one->isListener();
           })) >= kMostListeners;
}

}  // namespace

struct Server::Impl {
    explicit Impl(Access& access) : hub{access} {}

    void accept() {
        acceptor.async_accept([this](error_code error, tcp::socket socket) {
            if (error == asio::error::operation_aborted) {
                return;
            }
            if (!error) {
                error_code ignored;
                socket.set_option(tcp::no_delay(true), ignored);
                const auto connection =
                    std::make_shared<Connection>(std::move(socket), hub, connections);
                connections.add(connection);
                connection->readRequest();
                return accept();
            }
            // No more files to be had: those that are open will end.
            pause.expires_after(std::chrono::milliseconds(100));
            pause.async_wait([this](error_code stopped) {
                if (!stopped) {
                    accept();
                }
            });
        });
    }

    void tick() {
        timer.expires_after(seconds(1));
        timer.async_wait([this](error_code error) {
            if (!error) {
                everySecond();
                tick();
            }
        });
    }

    Hub hub;
    asio::io_context context{1};
    tcp::acceptor acceptor{context};
    asio::steady_timer timer{context};
    asio::steady_timer pause{context};
    std::function<void()> everySecond;
    Connections connections;
};

Server::Server(const Settings& settings, Access& access) : impl_(std::make_unique<Impl>(access)) {
    error_code error;
    const auto address = asio::ip::make_address(settings.address, error);
    if (error) {
        throw cqtool::Failure("'" + settings.address + "' is no address to listen on",
                              "give an address of this machine, such as 192.168.1.20 or 0.0.0.0");
    }
    try {
        const tcp::endpoint end(address, settings.port);
        impl_->acceptor.open(end.protocol());
        // What lets a new start have the port of the one before lets any program have it on Windows.
        impl_->acceptor.set_option(tcp::acceptor::reuse_address(STATION_REUSES_ADDRESS));
        impl_->acceptor.bind(end);
        impl_->acceptor.listen();
    } catch (const boost::system::system_error& failure) {
        throw cqtool::Failure("cannot listen on " + settings.address + " port " +
                                  std::to_string(settings.port) + ": " + failure.code().message(),
                              "choose another port with --http-port");
    }
    impl_->hub.port = port();
}

Server::~Server() = default;

std::uint16_t Server::port() const {
    return impl_->acceptor.local_endpoint().port();
}

void Server::run(Api& api, Jobs& jobs, const States& states, std::function<void()> everySecond) {
    impl_->hub.api = &api;
    impl_->hub.jobs = &jobs;
    impl_->hub.states = &states;
    impl_->everySecond = std::move(everySecond);
    impl_->accept();
    impl_->tick();
    impl_->context.run();
    impl_->connections.closeAll();
}

void Server::stop() {
    impl_->context.stop();
}

void Server::wake() {
    asio::post(impl_->context, [impl = impl_.get()] { impl->connections.wakeListeners(); });
}

}  // namespace station
