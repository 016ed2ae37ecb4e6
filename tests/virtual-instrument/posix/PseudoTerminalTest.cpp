// The pseudo-terminal as hosts meet it: opened and closed often, left locked, and pulled out.

#include "posix/PseudoTerminal.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/ioctl.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>

#include "Bench.h"

namespace vi::test {
namespace {

namespace fs = std::filesystem;

Descriptor openHost(const std::string& name) {
    Descriptor host(::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    EXPECT_TRUE(host.isOpen());
    return host;
}

bool hasEvent(int descriptor, short event) {
    pollfd wait{descriptor, event, 0};
    return poll(&wait, 1, 5000) == 1 && (wait.revents & event) != 0;
}

/// A path that is free, and is freed again.
class TemporaryPath {
  public:
    TemporaryPath() : path_(fs::temp_directory_path() / ("vi-test-" + std::to_string(::getpid()))) {
        fs::remove(path_);
    }
    ~TemporaryPath() {
        std::error_code error;
        fs::remove(path_, error);
    }
    TemporaryPath(const TemporaryPath&) = delete;
    TemporaryPath& operator=(const TemporaryPath&) = delete;

    std::string text() const { return path_.string(); }

  private:
    fs::path path_;
};

TEST(PseudoTerminal, CarriesEveryByteForHostAfterHost) {
    PseudoTerminal terminal("");
    Bytes all(256);
    std::iota(all.begin(), all.end(), std::uint8_t{0});
    for (int round = 0; round < 3; ++round) {
        const Descriptor host = openHost(terminal.name());
        ASSERT_EQ(::write(host.get(), all.data(), all.size()), 256);
        ASSERT_TRUE(hasEvent(terminal.descriptor(), POLLIN));
        Bytes received;
        terminal.read(received);
        EXPECT_EQ(received, all);

        ASSERT_EQ(terminal.write(all), 256U);
        ASSERT_TRUE(hasEvent(host.get(), POLLIN));
        Bytes answer(300);
        answer.resize(static_cast<std::size_t>(::read(host.get(), answer.data(), answer.size())));
        EXPECT_EQ(answer, all);
    }
    pollfd wait{terminal.descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&wait, 1, 0), 0) << "quiet, not hung up, while no host is there";
}

/// A host that opened the port for itself alone and was killed must not lock the next one out; and
/// the next one must keep the lock that it has made meanwhile.
TEST(PseudoTerminal, IsUnlockedWhenAHostHasGone) {
    PseudoTerminal terminal("");
    const auto isLocked = [&] {
        terminal.handleWatch();
        const Descriptor probe = openHost(terminal.name());
        int locked = -1;
        EXPECT_EQ(ioctl(probe.get(), TIOCGEXCL, &locked), 0);
        return locked != 0;
    };
    {
        const Descriptor killed = openHost(terminal.name());
        ASSERT_EQ(ioctl(killed.get(), TIOCEXCL), 0);
    }
    EXPECT_FALSE(isLocked());

    openHost(terminal.name());
    const Descriptor next = openHost(terminal.name());
    ASSERT_EQ(ioctl(next.get(), TIOCEXCL), 0);
    terminal.handleWatch();
    int locked = 0;
    ASSERT_EQ(ioctl(next.get(), TIOCGEXCL, &locked), 0);
    EXPECT_NE(locked, 0);
}

TEST(PseudoTerminal, HangsUpWhenItGoesAway) {
    auto terminal = std::make_unique<PseudoTerminal>("");
    const Descriptor host = openHost(terminal->name());
    terminal.reset();
    EXPECT_TRUE(hasEvent(host.get(), POLLHUP));
}

TEST(PseudoTerminal, LinkReplacesALinkOnlyAndGoesWithIt) {
    const TemporaryPath link;
    fs::create_symlink("/nowhere", link.text());
    {
        const PseudoTerminal terminal(link.text());
        EXPECT_EQ(fs::read_symlink(link.text()), terminal.name());
        const PseudoTerminal other(link.text());
        EXPECT_EQ(fs::read_symlink(link.text()), other.name());
    }
    EXPECT_FALSE(fs::exists(fs::symlink_status(link.text())));

    std::ofstream(link.text()) << "a file";
    EXPECT_THROW(PseudoTerminal{link.text()}, std::runtime_error);
    EXPECT_EQ(fs::file_size(link.text()), 6U);
}

}  // namespace
}  // namespace vi::test
