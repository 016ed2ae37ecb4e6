#include "system/Machine.h"

#include <windows.h>
// SetupAPI's header needs windows.h before it.
#include <setupapi.h>

#include <array>
#include <cwchar>

namespace cqtool {

std::filesystem::path libraryFile() {
    std::array<wchar_t, 4096> path{};
    const HMODULE library = GetModuleHandleW(L"CQApi.dll");
    const DWORD size = library == nullptr ? 0
                                          : GetModuleFileNameW(library, path.data(),
                                                               static_cast<DWORD>(path.size()));
    return size == 0 || size == path.size() ? std::filesystem::path()
                                            : std::filesystem::path(path.data());
}

std::vector<UsbIdentity> usbDevices() {
    std::vector<UsbIdentity> devices;
    const HDEVINFO list =
        SetupDiGetClassDevsW(nullptr, L"USB", nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES);
    if (list == INVALID_HANDLE_VALUE) {
        return devices;
    }
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof(device);
    for (DWORD i = 0; SetupDiEnumDeviceInfo(list, i, &device) != FALSE; ++i) {
        std::array<wchar_t, 512> name{};
        unsigned vendor = 0;
        unsigned product = 0;
        if (SetupDiGetDeviceInstanceIdW(list, &device, name.data(), static_cast<DWORD>(name.size()),
                                        nullptr) != FALSE &&
            std::swscanf(name.data(), L"USB\\VID_%4x&PID_%4x", &vendor, &product) == 2) {
            devices.push_back(
                {static_cast<std::uint16_t>(vendor), static_cast<std::uint16_t>(product)});
        }
    }
    SetupDiDestroyDeviceInfoList(list);
    return devices;
}

PortPermission portPermission() {
    return {true, "Windows lets every user open serial ports", {}};
}

PortDriver driverFor(PortKind kind) {
    return kind == PortKind::adapter
               ? PortDriver{"USB-SERIAL CH340", std::nullopt,
                            "install the CH340 driver of the bridge's maker, or let Windows Update "
                            "find it"}
               : PortDriver{"usbser", std::nullopt,
                            "Windows 10 and newer have it; unplug the instrument and plug it in "
                            "again"};
}

}  // namespace cqtool
