#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "Access.h"
#include "Api.h"
#include "Feed.h"

namespace station {

/// The web server: the page, the API, and the live channel. Everything of it runs on the thread that
/// calls run(); only wake() and stop() may be called by others.
class Server {
  public:
    struct Settings {
        std::string address = "127.0.0.1";
        std::uint16_t port = 0;  ///< 0: any
    };

    /// Listens. The others must live as long as the server.
    /// Throws cqtool::Failure if it cannot.
    Server(const Settings& settings, Access& access);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::uint16_t port() const;

    /// Serves until stop().
    /// \param everySecond is called so often.
    void run(Api& api, Jobs& jobs, const States& states, std::function<void()> everySecond);
    void stop();

    /// There is something to tell the listeners.
    void wake();

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace station
