#include "peer/Descriptor.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace cqbench {
namespace {

template <class Value>
Value checked(Value result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}

}  // namespace

Descriptor::~Descriptor() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

void Descriptor::write(ByteView bytes) const {
    while (!bytes.empty()) {
        const auto count = checked(::write(descriptor_, bytes.data(), bytes.size()), "write");
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

std::size_t Descriptor::readSome(std::span<std::uint8_t> buffer) const {
    return static_cast<std::size_t>(
        checked(::read(descriptor_, buffer.data(), buffer.size()), "read"));
}

void Descriptor::read(std::span<std::uint8_t> buffer) const {
    while (!buffer.empty()) {
        buffer = buffer.subspan(readSome(buffer));
    }
}

Descriptor makePseudoTerminal() {
    Descriptor master(checked(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "posix_openpt"));
    checked(grantpt(master.get()), "grantpt");
    checked(unlockpt(master.get()), "unlockpt");
    return master;
}

std::string terminalName(const Descriptor& master) {
    const char* const name = ptsname(master.get());
    checked(name == nullptr ? -1 : 0, "ptsname");
    return name;
}

Descriptor openTerminal(const std::string& name) {
    Descriptor terminal(checked(open(name.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC), name.c_str()));
    termios attributes{};
    checked(tcgetattr(terminal.get(), &attributes), "tcgetattr");
    cfmakeraw(&attributes);
    checked(tcsetattr(terminal.get(), TCSANOW, &attributes), "tcsetattr");
    return terminal;
}

}  // namespace cqbench
