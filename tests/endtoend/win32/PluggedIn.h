#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

namespace cqtest {

/// A device in the registry, as if plugged in.
class PluggedIn {
  public:
    /// \param hardwareId with the NULs that separate and end it.
    PluggedIn(const std::string& device, const std::string& hardwareId,
              const std::string& friendlyName)
        : path_(R"(System\CurrentControlSet\Enum\USB\)" + device) {
        HKEY key = nullptr;
        if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                            nullptr, &key, nullptr) != ERROR_SUCCESS) {
            throw std::runtime_error("cannot write the registry");
        }
        set(key, "HardwareID", REG_MULTI_SZ, hardwareId);
        set(key, "FriendlyName", REG_SZ, friendlyName);
        set(key, "ClassGUID", REG_SZ, "{4D36E978-E325-11CE-BFC1-08002BE10318}");
        set(key, "Class", REG_SZ, "Ports");
        RegCloseKey(key);
    }
    ~PluggedIn() { RegDeleteKeyA(HKEY_LOCAL_MACHINE, path_.c_str()); }
    PluggedIn(const PluggedIn&) = delete;
    PluggedIn& operator=(const PluggedIn&) = delete;

  private:
    static void set(HKEY key, const char* name, DWORD type, const std::string& value) {
        RegSetValueExA(key, name, 0, type, reinterpret_cast<const BYTE*>(value.c_str()),
                       static_cast<DWORD>(value.size() + 1));
    }

    std::string path_;
};

}  // namespace cqtest
