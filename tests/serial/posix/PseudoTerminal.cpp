#include "serial/posix/PseudoTerminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace ovk::test {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 10s;

int check(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

}  // namespace

PseudoTerminal::PseudoTerminal()
    : farEnd_(check(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "posix_openpt")) {
    check(grantpt(farEnd_), "grantpt");
    check(unlockpt(farEnd_), "unlockpt");
    path_ = ptsname(farEnd_);
}

PseudoTerminal::~PseudoTerminal() {
    hangUp();
}

void PseudoTerminal::send(const Bytes& bytes) const {
    for (std::size_t done = 0; done < bytes.size();) {
        done += static_cast<std::size_t>(check(
            static_cast<int>(::write(farEnd_, bytes.data() + done, bytes.size() - done)), "write"));
    }
}

Bytes PseudoTerminal::receive(std::size_t count) const {
    Bytes bytes;
    while (bytes.size() < count) {
        pollfd entry{farEnd_, POLLIN, 0};
        const auto patience = static_cast<int>(std::chrono::milliseconds(kPatience).count());
        std::array<std::uint8_t, 4096> buffer{};
        if (poll(&entry, 1, patience) <= 0) {
            break;
        }
        const ssize_t size = ::read(farEnd_, buffer.data(), buffer.size());
        if (size <= 0) {
            break;
        }
        bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + size);
    }
    return bytes;
}

void PseudoTerminal::awaitQueued(std::size_t count) const {
    const int nearEnd = check(open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC), "open");
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    for (int queued = 0; std::cmp_less(queued, count);) {
        if (ioctl(nearEnd, FIONREAD, &queued) != 0 || std::chrono::steady_clock::now() > deadline) {
            close(nearEnd);
            throw std::runtime_error("the bytes did not come");
        }
        std::this_thread::sleep_for(1ms);
    }
    close(nearEnd);
}

termios PseudoTerminal::attributes() const {
    termios result{};
    check(tcgetattr(farEnd_, &result), "tcgetattr");
    return result;
}

void PseudoTerminal::hangUp() {
    if (farEnd_ >= 0) {
        close(std::exchange(farEnd_, -1));
    }
}

}  // namespace ovk::test
