#include "system/Ports.h"

#include <unistd.h>

#include <charconv>
#include <fstream>

#include "Failure.h"
#include "system/PortTraits.h"
#include "system/posix/DeviceTree.h"
#include "text/Text.h"

namespace cqtool {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kAdapterDriver = "ch341";  // the kernel's driver of the CH340 family
constexpr std::string_view kNoHardware = "0";         // type of a built-in port that is not there

std::string readAttribute(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return printableText(line.data(), line.size());
}

std::string linkName(const fs::path& link) {
    std::error_code error;
    return fs::read_symlink(link, error).filename().string();
}

std::optional<std::uint16_t> hexAttribute(const fs::path& file) {
    const std::string text = readAttribute(file);
    std::uint16_t value = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    const bool isWhole = parsed.ec == std::errc{} && parsed.ptr == text.data() + text.size();
    return isWhole ? std::optional(value) : std::nullopt;
}

/// Fills in the properties of the nearest USB device above a terminal.
void describeUsb(fs::path device, PortInfo& port) {
    std::error_code error;
    for (; device.has_relative_path(); device = device.parent_path()) {
        if (!fs::exists(device / "idVendor", error)) {
            continue;
        }
        const auto vendor = hexAttribute(device / "idVendor");
        const auto product = hexAttribute(device / "idProduct");
        if (vendor && product) {
            port.usb = UsbIdentity{*vendor, *product};
        }
        port.description = readAttribute(device / "product");
        return;
    }
}

bool isProcess(const fs::path& entry) {
    const std::string name = entry.filename().string();
    return !name.empty() && name.find_first_not_of("0123456789") == std::string::npos;
}

/// Visits a folder's entries as far as they can be read.
template <typename Visit>
void forEachEntry(const fs::path& folder, Visit visit) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        visit(entry->path());
    }
}

/// The processes that have a file open; those of other users are visible only to root.
std::string holdersOf(const fs::path& file) {
    std::vector<std::string> holders;
    const std::string self = std::to_string(::getpid());
    forEachEntry(deviceTree().proc, [&](const fs::path& process) {
        if (!isProcess(process) || process.filename() == self) {
            return;
        }
        bool isHolder = false;
        forEachEntry(process / "fd", [&](const fs::path& descriptor) {
            std::error_code error;
            isHolder = isHolder || fs::read_symlink(descriptor, error) == file;
        });
        if (isHolder) {
            holders.push_back(readAttribute(process / "comm") + " (process " +
                              process.filename().string() + ")");
        }
    });
    return joined(holders, ", ");
}

void describeAccess(const fs::path& file, PortInfo& port) {
    std::error_code error;
    const fs::path target = fs::canonical(file, error);
    port.isAccessible = ::access(file.c_str(), R_OK | W_OK) == 0;
    if (!port.isAccessible) {
        port.accessProblem = "no permission";
    }
    port.heldBy = holdersOf(error ? file : target);
}

/// A terminal of /sys/class/tty; nothing if there is no device behind it.
std::optional<PortInfo> describeTerminal(const fs::path& terminal) {
    std::error_code isNotADevice;
    const fs::path device = fs::canonical(terminal / "device", isNotADevice);
    if (isNotADevice || readAttribute(terminal / "type") == kNoHardware) {
        return std::nullopt;
    }
    PortInfo port;
    const fs::path file = deviceTree().dev / terminal.filename();
    port.name = file.string();
    port.driver = linkName(device / "driver");
    describeUsb(device, port);
    port.kind = port.driver.starts_with(kAdapterDriver) ? PortKind::adapter
                                                        : kindOf(port.usb, port.description);
    describeAccess(file, port);
    return port;
}

}  // namespace

DeviceTree& deviceTree() {
    static DeviceTree tree;
    return tree;
}

std::vector<PortInfo> listPorts() {
    const fs::path terminals = deviceTree().sys / "class" / "tty";
    std::error_code error;
    if (!fs::is_directory(terminals, error)) {
        throw Failure("the serial ports cannot be listed: there is no " + terminals.string(),
                      "name the port with --port or --adapter");
    }
    std::vector<PortInfo> ports;
    forEachEntry(terminals, [&ports](const fs::path& terminal) {
        if (auto port = describeTerminal(terminal)) {
            ports.push_back(std::move(*port));
        }
    });
    sortPorts(ports);
    return ports;
}

PortInfo describePort(const std::string& name) {
    std::error_code error;
    const fs::path file = fs::canonical(name, error);
    if (error) {
        throw Failure("there is no port " + name, "cq list shows the ports");
    }
    PortInfo port;
    if (auto known = describeTerminal(deviceTree().sys / "class" / "tty" / file.filename())) {
        port = std::move(*known);
    } else {
        describeAccess(file, port);
    }
    port.name = name;
    return port;
}

}  // namespace cqtool
