// The pseudo-terminal as hosts meet it: left locked, and found by a link.

#include "posix/PseudoTerminal.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>

#include <filesystem>
#include <fstream>

#include "Bench.h"
#include "posix/HostWatch.h"

namespace vi::test {
namespace {

namespace fs = std::filesystem;

Descriptor openHost(const std::string& name) {
    Descriptor host(::open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    EXPECT_TRUE(host.isOpen());
    return host;
}

/// A host that opened the port for itself alone and was killed must not lock the next one out; and
/// the next one must keep the lock that it has made meanwhile.
TEST(PseudoTerminal, IsUnlockedWhenAHostHasGone) {
    PseudoTerminal terminal("");
    HostWatch watch;
    const int number = watch.add(terminal.name());
    const auto handleWatch = [&] {
        watch.handle([&](int gone) {
            EXPECT_EQ(gone, number);
            terminal.hostHasGone();
        });
    };
    const auto isLocked = [](const Descriptor& host) {
        int locked = -1;
        EXPECT_EQ(ioctl(host.get(), TIOCGEXCL, &locked), 0);
        return locked != 0;
    };
    ASSERT_EQ(ioctl(openHost(terminal.name()).get(), TIOCEXCL), 0);
    handleWatch();
    EXPECT_FALSE(isLocked(openHost(terminal.name())));

    const Descriptor next = openHost(terminal.name());
    ASSERT_EQ(ioctl(next.get(), TIOCEXCL), 0);
    handleWatch();
    EXPECT_TRUE(isLocked(next));
}

TEST(PseudoTerminal, LinkReplacesALinkToATerminalOnlyAndGoesWithIt) {
    const std::string link = testing::TempDir() + "vi-test-" + std::to_string(::getpid());
    fs::remove(link);
    fs::create_symlink("/nowhere", link);
    EXPECT_THROW(PseudoTerminal{link}, std::runtime_error);
    EXPECT_EQ(fs::read_symlink(link), "/nowhere");
    fs::remove(link);
    fs::create_symlink("/dev/pts/999999", link);  // as a killed program leaves it
    std::ofstream(link + ".new") << "somebody's";
    {
        const PseudoTerminal terminal(link);
        EXPECT_EQ(fs::read_symlink(link), terminal.name());
        const PseudoTerminal other(link);
        EXPECT_EQ(fs::read_symlink(link), other.name());
    }
    EXPECT_FALSE(fs::exists(fs::symlink_status(link)));
    EXPECT_TRUE(fs::remove(link + ".new"));

    std::ofstream(link) << "a file";
    EXPECT_THROW(PseudoTerminal{link}, std::runtime_error);
    EXPECT_EQ(fs::file_size(link), 6U);
    fs::remove(link);
}

}  // namespace
}  // namespace vi::test
