#include "serial/posix/PseudoTerminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "peer/WaitUntil.h"

namespace ovk::test {
namespace {

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
        const Bytes some = receiveSome(cqtest::kPatience);
        if (some.empty()) {
            break;
        }
        bytes.insert(bytes.end(), some.begin(), some.end());
    }
    return bytes;
}

Bytes PseudoTerminal::receiveSome(std::chrono::milliseconds patience) const {
    pollfd entry{farEnd_, POLLIN, 0};
    if (poll(&entry, 1, static_cast<int>(patience.count())) <= 0) {
        return {};
    }
    Bytes buffer(4096);
    const ssize_t size = ::read(farEnd_, buffer.data(), buffer.size());
    buffer.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return buffer;
}

void PseudoTerminal::awaitQueued(std::size_t count) const {
    const int nearEnd = check(open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC), "open");
    const bool isThere = cqtest::waitUntil([&] {
        int queued = 0;
        return ioctl(nearEnd, FIONREAD, &queued) == 0 && std::cmp_greater_equal(queued, count);
    });
    close(nearEnd);
    if (!isThere) {
        throw std::runtime_error("the bytes did not come");
    }
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
