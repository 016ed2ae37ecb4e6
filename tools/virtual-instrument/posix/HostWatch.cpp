#include "posix/HostWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <map>
#include <stdexcept>
#include <system_error>

namespace vi {

HostWatch::HostWatch() : descriptor_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (!descriptor_.isOpen()) {
        throw std::runtime_error("cannot watch the terminals: " +
                                 std::generic_category().message(errno));
    }
}

int HostWatch::add(const std::string& terminal) {
    const int number = inotify_add_watch(descriptor_.get(), terminal.c_str(), IN_OPEN | IN_CLOSE);
    if (number < 0) {
        throw std::runtime_error("cannot watch " + terminal + ": " +
                                 std::generic_category().message(errno));
    }
    return number;
}

void HostWatch::remove(int terminal) {
    inotify_rm_watch(descriptor_.get(), terminal);
}

void HostWatch::handle(const std::function<void(int)>& hasGone) {
    alignas(inotify_event) std::array<char, 4096> events{};
    const ssize_t size = ::read(descriptor_.get(), events.data(), events.size());
    // Identical successive events arrive as one, so hosts cannot be counted. But a host that opened
    // the terminal after another closed it found it unlocked, and may have locked it since.
    std::map<int, bool> last;
    for (ssize_t at = 0; at < size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        last[event->wd] = (event->mask & IN_CLOSE) != 0;
    }
    for (const auto& [terminal, isClosed] : last) {
        if (isClosed) {
            hasGone(terminal);
        }
    }
}

}  // namespace vi
