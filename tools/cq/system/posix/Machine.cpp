#include "system/Machine.h"

#include <dlfcn.h>
#include <grp.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "system/posix/DeviceTree.h"
#include "text/Text.h"

namespace cqtool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPortGroup = "dialout";
constexpr std::string_view kRulesName = "cqapi";
constexpr const char* kRulesFolders[] = {"/etc/udev/rules.d", "/usr/lib/udev/rules.d",
                                         "/lib/udev/rules.d"};

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::optional<std::uint16_t> hexNumber(const std::string& text) {
    char* end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 16);
    return end == text.c_str() || number > 0xFFFF
               ? std::nullopt
               : std::optional(static_cast<std::uint16_t>(number));
}

bool isInPortGroup() {
    const group* const wanted = ::getgrnam(kPortGroup);
    if (wanted == nullptr) {
        return false;
    }
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(::getgroups(0, nullptr), 0)));
    const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<std::size_t>(std::max(count, 0)));
    return ::getegid() == wanted->gr_gid ||
           std::find(groups.begin(), groups.end(), wanted->gr_gid) != groups.end();
}

/// The device rules that come with the library.
fs::path installedRules() {
    for (const char* folder : kRulesFolders) {
        std::error_code error;
        fs::directory_iterator entry(folder, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            if (entry->path().filename().string().find(kRulesName) != std::string::npos) {
                return entry->path();
            }
        }
    }
    return {};
}

/// Whether the kernel has the driver: loaded, built in, or as a module loaded on demand.
std::optional<bool> kernelHas(const std::string& driver, const std::string& module) {
    std::error_code error;
    if (fs::exists(deviceTree().sys / "bus/usb/drivers" / driver, error)) {
        return true;
    }
    utsname system{};
    if (::uname(&system) != 0) {
        return std::nullopt;
    }
    const fs::path modules = fs::path("/lib/modules") / system.release;
    const std::string known =
        contentOf(modules / "modules.builtin") + contentOf(modules / "modules.dep");
    return known.empty() ? std::nullopt
                         : std::optional(known.find("/" + module + ".ko") != std::string::npos);
}

}  // namespace

fs::path libraryFile() {
    Dl_info info{};
    const void* const symbol = ::dlsym(RTLD_DEFAULT, "cqOpen");
    std::error_code error;
    return symbol != nullptr && ::dladdr(symbol, &info) != 0
               ? fs::absolute(info.dli_fname, error).lexically_normal()
               : fs::path();
}

std::vector<UsbIdentity> usbDevices() {
    std::vector<UsbIdentity> devices;
    std::error_code error;
    fs::directory_iterator entry(deviceTree().sys / "bus/usb/devices", error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const auto vendor = hexNumber(contentOf(entry->path() / "idVendor"));
        const auto product = hexNumber(contentOf(entry->path() / "idProduct"));
        if (vendor && product) {
            devices.push_back({*vendor, *product});
        }
    }
    return devices;
}

PortPermission portPermission() {
    if (::geteuid() == 0) {
        return {true, "root may open every port", {}};
    }
    if (isInPortGroup()) {
        return {true, std::string("you are in the group ") + kPortGroup, {}};
    }
    if (const fs::path rules = installedRules(); !rules.empty()) {
        return {true, "device rules are installed: " + rules.string(), {}};
    }
    return {false,
            std::string("you are not in the group ") + kPortGroup +
                ", and no device rules are installed",
            std::string("sudo usermod -aG ") + kPortGroup +
                " $USER, then log in again; or install 70-cqapi.rules, which comes with the "
                "library, into /etc/udev/rules.d"};
}

PortDriver driverFor(PortKind kind) {
    return kind == PortKind::adapter
               ? PortDriver{"ch341", kernelHas("ch341", "ch341"),
                            "sudo modprobe ch341; some distributions have it in a package of extra "
                            "kernel modules"}
               : PortDriver{"cdc_acm", kernelHas("cdc_acm", "cdc-acm"),
                            "sudo modprobe cdc_acm; some distributions have it in a package of "
                            "extra kernel modules"};
}

}  // namespace cqtool
