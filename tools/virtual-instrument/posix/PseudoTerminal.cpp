#include "posix/PseudoTerminal.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>

namespace vi {
namespace {

constexpr std::size_t kReadSize = 65536;
constexpr const char* kTerminals = "/dev/pts";

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

}  // namespace

PseudoTerminal::PseudoTerminal(const std::string& link) {
    master_ = Descriptor(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!master_.isOpen() || grantpt(master_.get()) != 0 || unlockpt(master_.get()) != 0) {
        fail("cannot make a pseudo-terminal");
    }
    std::array<char, 128> name{};
    if (const int error = ptsname_r(master_.get(), name.data(), name.size()); error != 0) {
        errno = error;
        fail("cannot name the pseudo-terminal");
    }
    name_ = name.data();
    openSlave();
    if (fcntl(master_.get(), F_SETFL, O_NONBLOCK) != 0) {
        fail("cannot set up the pseudo-terminal");
    }
    if (!link.empty()) {
        link_ = link;
        makeLink();
    }
}

PseudoTerminal::~PseudoTerminal() {
    if (!link_.empty()) {
        std::error_code error;
        if (std::filesystem::read_symlink(link_, error) == name_) {
            std::filesystem::remove(link_, error);
        }
    }
}

void PseudoTerminal::openSlave() {
    slave_ = Descriptor(::open(name_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    termios settings{};
    if (!slave_.isOpen() || tcgetattr(slave_.get(), &settings) != 0) {
        fail("cannot open " + name_);
    }
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    if (tcsetattr(slave_.get(), TCSANOW, &settings) != 0) {
        fail("cannot set up " + name_);
    }
}

// A host that opened the port for exclusive use and was killed leaves it locked: only the last
// close unlocks a terminal, which never happens while the slave is kept open here.
void PseudoTerminal::hostHasGone() {
    ioctl(slave_.get(), TIOCNXCL);
}

void PseudoTerminal::makeLink() {
    namespace fs = std::filesystem;
    std::error_code error;
    const auto present = fs::symlink_status(link_, error).type();
    const std::string wanted = link_;
    const bool isOwn = present == fs::file_type::symlink &&
                       fs::read_symlink(link_, error).parent_path() == kTerminals;
    if (present != fs::file_type::not_found && !isOwn) {
        link_.clear();
        throw std::runtime_error(
            wanted +
            " already exists and is not a link to a terminal; choose another path for --link");
    }
    // Made beside, where nothing is, and moved over, so that a host never finds the path missing.
    const std::string fresh = link_ + '.' + std::to_string(std::random_device{}());
    fs::create_symlink(name_, fresh, error);
    if (!error) {
        fs::rename(fresh, link_, error);
        if (error) {
            std::error_code ignored;
            fs::remove(fresh, ignored);
        }
    }
    if (error) {
        link_.clear();
        throw std::runtime_error("cannot make the link " + wanted + ": " + error.message());
    }
}

void PseudoTerminal::read(Bytes& to) {
    const std::size_t before = to.size();
    to.resize(before + kReadSize);
    const ssize_t count = ::read(master_.get(), to.data() + before, kReadSize);
    to.resize(before + static_cast<std::size_t>(count > 0 ? count : 0));
}

std::size_t PseudoTerminal::write(ByteView bytes) {
    const ssize_t count = ::write(master_.get(), bytes.data(), bytes.size());
    return static_cast<std::size_t>(count > 0 ? count : 0);
}

}  // namespace vi
