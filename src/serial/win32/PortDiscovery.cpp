#include "serial/PortDiscovery.h"

#include <windows.h>
// SetupAPI's header needs windows.h before it.
#include <setupapi.h>
#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <regex>
#include <string_view>

namespace ovk {
namespace {

constexpr unsigned kInstrumentVendor = 0x0483;
constexpr unsigned kInstrumentProduct = 0x5740;
constexpr std::string_view kAdapterName = "USB-SERIAL CH340";
constexpr std::string_view kAdapterPortMark = "(COM";
constexpr int kMaxAdapterPort = 254;

constexpr GUID kPortsClass{
    0x4D36E978, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

/// The present members of the Ports class.
class PortList {
  public:
    PortList() : list_(SetupDiGetClassDevsA(&kPortsClass, nullptr, nullptr, DIGCF_PRESENT)) {}
    ~PortList() {
        if (isValid()) {
            SetupDiDestroyDeviceInfoList(list_);
        }
    }
    PortList(const PortList&) = delete;
    PortList& operator=(const PortList&) = delete;

    bool isValid() const { return list_ != INVALID_HANDLE_VALUE; }

    /// Moves to the next port; false when there is none.
    bool next() {
        port_ = SP_DEVINFO_DATA{};
        port_.cbSize = sizeof(port_);
        return SetupDiEnumDeviceInfo(list_, index_++, &port_) != FALSE;
    }

    /// A text property of the current port; of several texts the first.
    std::optional<std::string> property(DWORD which) {
        std::array<char, 512> buffer{};
        constexpr DWORD kUsableSize = buffer.size() - 2;
        if (SetupDiGetDeviceRegistryPropertyA(list_, &port_, which, nullptr,
                                              reinterpret_cast<BYTE*>(buffer.data()), kUsableSize,
                                              nullptr) == FALSE) {
            return std::nullopt;
        }
        return std::string(buffer.data());
    }

  private:
    HDEVINFO list_;
    SP_DEVINFO_DATA port_{};
    DWORD index_ = 0;
};

std::string toUpper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return text;
}

/// The port number in the friendly name of an adapter; nothing if it is not an adapter's.
std::optional<std::uint32_t> adapterPortNumber(const std::string& friendlyName) {
    if (!toUpper(friendlyName).starts_with(kAdapterName)) {
        return std::nullopt;
    }
    const auto mark = friendlyName.find(kAdapterPortMark);
    if (mark == std::string::npos) {
        return std::nullopt;
    }
    const int number = std::atoi(friendlyName.c_str() + mark + kAdapterPortMark.size());
    if (number < 1 || number > kMaxAdapterPort) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(number);
}

std::string instrumentIdentity() {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "VID_%04X&PID_%04X", kInstrumentVendor,
                  kInstrumentProduct);
    return text.data();
}

}  // namespace

std::uint32_t findInstrumentPorts(std::vector<std::string>& names) {
    names.clear();
    PortList ports;
    if (!ports.isValid()) {
        return kDiscoveryFailed;
    }
    const std::string identity = instrumentIdentity();
    const std::regex portInName(R"(^.+\((COM\d+)\)$)");
    while (ports.next()) {
        const auto hardwareId = ports.property(SPDRP_HARDWAREID);
        if (!hardwareId || StrStrIA(hardwareId->c_str(), identity.c_str()) == nullptr) {
            continue;
        }
        const auto friendlyName = ports.property(SPDRP_FRIENDLYNAME);
        std::smatch match;
        if (friendlyName && std::regex_match(*friendlyName, match, portInName)) {
            names.push_back(match[1]);
        }
    }
    return static_cast<std::uint32_t>(names.size());
}

std::uint32_t findCh340Ports(std::vector<std::uint32_t>& numbers) {
    numbers.clear();
    PortList ports;
    if (!ports.isValid()) {
        return kDiscoveryFailed;
    }
    while (ports.next()) {
        const auto friendlyName = ports.property(SPDRP_FRIENDLYNAME);
        if (const auto number = adapterPortNumber(friendlyName.value_or(""))) {
            numbers.push_back(*number);
        }
    }
    return static_cast<std::uint32_t>(numbers.size());
}

std::string ch340PortName(std::uint32_t number) {
    return "COM" + std::to_string(number);
}

}  // namespace ovk
