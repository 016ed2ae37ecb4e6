#include "serial/PortDiscovery.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <optional>
#include <string_view>

#include "serial/posix/SystemTree.h"

namespace ovk {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kInstrumentTerminal = "ttyACM";
constexpr std::string_view kInstrumentVendor = "0483";
constexpr std::string_view kInstrumentProduct = "5740";

constexpr std::string_view kAdapterTerminal = "ttyUSB";
constexpr std::string_view kAdapterDriver = "ch341";  // the kernel's driver of the CH340 family
constexpr std::string_view kAdapterProduct = "CH340";

/// A terminal of the system, and its device in the sysfs tree.
struct Terminal {
    std::uint32_t number;
    fs::path device;
};

std::string readAttribute(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

std::string driverOf(const fs::path& device) {
    std::error_code error;
    return fs::read_symlink(device / "driver", error).filename().string();
}

/// The USB device above a terminal's interface: the nearest one that has a vendor.
std::optional<fs::path> usbDeviceAbove(fs::path device) {
    std::error_code error;
    for (; device.has_relative_path(); device = device.parent_path()) {
        if (fs::exists(device / "idVendor", error)) {
            return device;
        }
    }
    return std::nullopt;
}

bool isInstrument(const Terminal& terminal) {
    const auto usb = usbDeviceAbove(terminal.device);
    return usb && readAttribute(*usb / "idVendor") == kInstrumentVendor &&
           readAttribute(*usb / "idProduct") == kInstrumentProduct;
}

bool isAdapter(const Terminal& terminal) {
    if (driverOf(terminal.device).starts_with(kAdapterDriver)) {
        return true;
    }
    const auto usb = usbDeviceAbove(terminal.device);
    return usb && readAttribute(*usb / "product").find(kAdapterProduct) != std::string::npos;
}

/// The number in a name that is the prefix and a number.
std::optional<std::uint32_t> terminalNumber(std::string_view name, std::string_view prefix) {
    if (!name.starts_with(prefix)) {
        return std::nullopt;
    }
    name.remove_prefix(prefix.size());
    std::uint32_t number = 0;
    const auto parsed = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isWhole = parsed.ec == std::errc{} && parsed.ptr == name.data() + name.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

/// The terminals whose name is the prefix and a number, by number. Nothing if there is no list.
std::optional<std::vector<Terminal>> listTerminals(std::string_view prefix) {
    std::error_code error;
    fs::directory_iterator entry(systemTree().sys / "class" / "tty", error);
    if (error) {
        return std::nullopt;
    }
    std::vector<Terminal> terminals;
    for (; entry != fs::directory_iterator(); entry.increment(error)) {
        const auto number = terminalNumber(entry->path().filename().string(), prefix);
        std::error_code isNotADevice;
        fs::path device = fs::canonical(entry->path() / "device", isNotADevice);
        if (number && !isNotADevice) {
            terminals.push_back({*number, std::move(device)});
        }
    }
    std::sort(terminals.begin(), terminals.end(), [](const Terminal& left, const Terminal& right) {
        return left.number < right.number;
    });
    return terminals;
}

std::string terminalPath(std::string_view prefix, std::uint32_t number) {
    return (systemTree().dev / (std::string(prefix) + std::to_string(number))).string();
}

}  // namespace

SystemTree& systemTree() {
    static SystemTree tree;
    return tree;
}

std::uint32_t findInstrumentPorts(std::vector<std::string>& names) {
    names.clear();
    const auto terminals = listTerminals(kInstrumentTerminal);
    if (!terminals) {
        return kDiscoveryFailed;
    }
    for (const Terminal& terminal : *terminals) {
        if (isInstrument(terminal)) {
            names.push_back(terminalPath(kInstrumentTerminal, terminal.number));
        }
    }
    return static_cast<std::uint32_t>(names.size());
}

std::uint32_t findCh340Ports(std::vector<std::uint32_t>& numbers) {
    numbers.clear();
    const auto terminals = listTerminals(kAdapterTerminal);
    if (!terminals) {
        return kDiscoveryFailed;
    }
    for (const Terminal& terminal : *terminals) {
        if (isAdapter(terminal)) {
            numbers.push_back(terminal.number);
        }
    }
    return static_cast<std::uint32_t>(numbers.size());
}

std::string ch340PortName(std::uint32_t number) {
    return terminalPath(kAdapterTerminal, number);
}

}  // namespace ovk
