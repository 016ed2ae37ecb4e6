#include "system/Ports.h"

#include <windows.h>
// SetupAPI's header needs windows.h before it.
#include <setupapi.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "Failure.h"
#include "system/PortTraits.h"
#include "system/Terminal.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr GUID kPortsClass{
    0x4D36E978, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

std::string utf8Of(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<std::size_t>(std::max(size, 0)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), size, nullptr, nullptr);
    return printableText(bytes.data(), bytes.size());
}

/// The present members of the Ports class.
class PortList {
  public:
    PortList() : list_(SetupDiGetClassDevsW(&kPortsClass, nullptr, nullptr, DIGCF_PRESENT)) {}
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

    /// A text property of the current port, the first of several; empty if it has none.
    std::string property(DWORD which) {
        std::array<wchar_t, 512> buffer{};
        constexpr DWORD kUsableBytes = (buffer.size() - 2) * sizeof(wchar_t);
        const bool isThere =
            SetupDiGetDeviceRegistryPropertyW(list_, &port_, which, nullptr,
                                              reinterpret_cast<BYTE*>(buffer.data()), kUsableBytes,
                                              nullptr) != FALSE;
        return isThere ? utf8Of(buffer.data()) : std::string();
    }

  private:
    HDEVINFO list_;
    SP_DEVINFO_DATA port_{};
    DWORD index_ = 0;
};

/// The four digits after a mark such as "VID_".
std::optional<std::uint16_t> digitsBehind(const std::string& text, std::string_view mark) {
    const auto at = lowerCase(text).find(lowerCase(mark));
    if (at == std::string::npos || text.size() < at + mark.size() + 4) {
        return std::nullopt;
    }
    const char* digits = text.data() + at + mark.size();
    std::uint16_t value = 0;
    const auto parsed = std::from_chars(digits, digits + 4, value, 16);
    return parsed.ec == std::errc{} && parsed.ptr == digits + 4 ? std::optional(value)
                                                                : std::nullopt;
}

std::optional<UsbIdentity> identityOf(const std::string& hardwareId) {
    const auto vendor = digitsBehind(hardwareId, "VID_");
    const auto product = digitsBehind(hardwareId, "PID_");
    return vendor && product ? std::optional(UsbIdentity{*vendor, *product}) : std::nullopt;
}

/// "COM7" from "USB Serial Device (COM7)"; empty for another kind of port.
std::string portOf(const std::string& friendlyName) {
    const auto begin = friendlyName.rfind("(COM");
    const auto end = friendlyName.find(')', begin == std::string::npos ? 0 : begin);
    return begin == std::string::npos || end == std::string::npos
               ? std::string()
               : friendlyName.substr(begin + 1, end - begin - 1);
}

/// A port can be open only once. Opening it without access rights shows this, and moves no data.
void describeAccess(PortInfo& port) {
    const HANDLE handle =
        CreateFileA(("\\\\.\\" + port.name).c_str(), 0, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
        CloseHandle(handle);
    } else if (GetLastError() == ERROR_ACCESS_DENIED) {
        port.heldBy = "another program";
    } else {
        port.isAccessible = false;
        port.accessProblem =
            "it cannot be opened (system error " + std::to_string(GetLastError()) + ")";
    }
}

}  // namespace

std::vector<PortInfo> listPorts() {
    PortList list;
    if (!list.isValid()) {
        throw Failure("the serial ports cannot be listed (system error " +
                          std::to_string(GetLastError()) + ")",
                      "name the port with --port or --adapter");
    }
    std::vector<PortInfo> ports;
    while (list.next()) {
        PortInfo port;
        port.description = list.property(SPDRP_FRIENDLYNAME);
        port.name = portOf(port.description);
        if (port.name.empty()) {
            continue;  // a printer port
        }
        port.usb = identityOf(list.property(SPDRP_HARDWAREID));
        port.driver = list.property(SPDRP_SERVICE);
        port.kind = kindOf(port.usb, port.description);
        describeAccess(port);
        ports.push_back(std::move(port));
    }
    sortPorts(ports);
    return ports;
}

PortInfo describePort(const std::string& name) {
    for (PortInfo& port : listPorts()) {
        if (lowerCase(port.name) == lowerCase(name)) {
            return std::move(port);
        }
    }
    if (!portExists(name)) {
        throw Failure("there is no port " + name, "cq list shows the ports");
    }
    PortInfo port;
    port.name = name;
    // Opening a pipe would occupy its server; a port's device name has no backslash.
    if (name.find('\\') == std::string::npos) {
        describeAccess(port);
    }
    return port;
}

}  // namespace cqtool
