#include "doctor/Findings.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <system_error>

#include "color/ColorMath.h"
#include "Failure.h"
#include "system/PortTraits.h"
#include "system/Terminal.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

using Level = Diagnosis::Level;

constexpr double kColorAccuracy = 0.01;

/// A port, as in "/dev/ttyACM0 (0483:5740, Meter)".
std::string describe(const PortInfo& port) {
    std::vector<std::string> traits;
    if (port.usb) {
        traits.push_back(textOf(*port.usb));
    }
    if (!port.description.empty()) {
        traits.push_back(port.description);
    }
    return port.name + (traits.empty() ? std::string() : " (" + joined(traits, ", ") + ")");
}

Diagnosis findingOf(const PortInfo& port) {
    const std::string subject(nameOf(port.kind));
    const PortUse use = port.kind == PortKind::adapter ? PortUse::adapter : PortUse::instrument;
    if (!port.isAccessible) {
        return {Level::problem, subject, describe(port) + ": " + port.accessProblem,
                adviceForPort(port.name, use)};
    }
    if (!port.heldBy.empty()) {
        return {Level::problem, subject, describe(port) + " is in use by " + port.heldBy,
                "end that program: a port can be open in one program only"};
    }
    return {Level::works, subject, describe(port), {}};
}

/// The finding if no port is of this kind.
Diagnosis withoutPort(PortKind kind, const PortFacts& facts) {
    const std::string subject(nameOf(kind));
    const PortDriver& driver =
        kind == PortKind::adapter ? facts.adapterDriver : facts.instrumentDriver;
    const auto device =
        std::find_if(facts.usb.begin(), facts.usb.end(),
                     [kind](const UsbIdentity& usb) { return kindOf(usb, {}) == kind; });
    if (device != facts.usb.end()) {
        return {Level::problem, subject,
                textOf(*device) +
                    " is plugged in, but the system has created no serial port for it" +
                    (driver.isThere == false ? ": there is no driver " + driver.name : ""),
                driver.advice};
    }
    return {Level::note, subject, "none is plugged in", {}};
}

Diagnosis driverFinding(const PortFacts& facts) {
    std::vector<std::string> there;
    std::vector<std::string> missing;
    std::vector<std::string> advice;
    for (const PortDriver* driver : {&facts.instrumentDriver, &facts.adapterDriver}) {
        if (driver->isThere == false) {
            missing.push_back(driver->name);
            advice.push_back(driver->advice);
        } else if (driver->isThere == true) {
            there.push_back(driver->name);
        }
    }
    if (!missing.empty()) {
        return {Level::note, "drivers", "missing: " + joined(missing, ", "), joined(advice, "; ")};
    }
    return there.empty() ? Diagnosis{Level::note, "drivers", "the system does not say", {}}
                         : Diagnosis{Level::works, "drivers", joined(there, ", "), {}};
}

Diagnosis usbFinding(const std::vector<UsbIdentity>& usb) {
    std::vector<std::string> identities;
    identities.reserve(usb.size());
    for (const UsbIdentity& device : usb) {
        identities.push_back(textOf(device));
    }
    std::sort(identities.begin(), identities.end());
    return {Level::works, "usb", identities.empty() ? "no devices" : joined(identities, ", "), {}};
}

}  // namespace

const char* nameOf(Diagnosis::Level level) {
    switch (level) {
        case Level::works:
            return "ok";
        case Level::note:
            return "note";
        case Level::problem:
            break;
    }
    return "problem";
}

PortFacts portFacts() {
    return {listPorts(), usbDevices(), portPermission(), driverFor(PortKind::instrument),
            driverFor(PortKind::adapter)};
}

std::vector<Diagnosis> portFindings(const PortFacts& facts) {
    std::vector<Diagnosis> findings{usbFinding(facts.usb)};
    for (const PortKind kind : {PortKind::instrument, PortKind::adapter}) {
        const std::size_t before = findings.size();
        for (const PortInfo& port : facts.ports) {
            if (port.kind == kind) {
                findings.push_back(findingOf(port));
            }
        }
        if (findings.size() == before) {
            findings.push_back(withoutPort(kind, facts));
        }
    }
    findings.push_back(driverFinding(facts));
    // A note only: a port that cannot be opened is reported itself.
    findings.push_back({facts.permission.isGranted ? Level::works : Level::note, "permission",
                        facts.permission.text, facts.permission.advice});
    return findings;
}

Diagnosis colorFinding() {
    constexpr Viewing kViewing{IlluminantD65, Observer10Degree};
    Spectrum white;
    white.fill(1.0F);
    const ColorData lab = colorOfSpectrum(white, ColorSpaceLab, kViewing);
    // For L* 50 the inverse of ISO/CIE 11664-4 gives Y = 100 * ((50 + 16) / 116)^3.
    const ColorData xyz = colorOfLab({{50, 0, 0}}, ColorSpaceXyz, kViewing);
    const double expected = 100 * std::pow(66.0 / 116.0, 3);
    const bool isRight = deltaEab(lab, {{100, 0, 0}}) < kColorAccuracy &&
                         std::abs(xyz.values[1] - expected) < kColorAccuracy;
    if (!isRight) {
        return {Level::problem, "colours",
                "the perfect white has L* " + fixed(lab.values[0], 2) + " a* " +
                    fixed(lab.values[1], 2) + " b* " + fixed(lab.values[2], 2) +
                    ", and L* 50 has Y " + fixed(xyz.values[1], 3),
                "reinstall program and library from the same package"};
    }
    return {Level::works, "colours", "the library computes known colours correctly", {}};
}

Diagnosis logFinding(const std::filesystem::path& library) {
    if (library.empty()) {
        return {Level::note, "log", "the library's folder cannot be determined", {}};
    }
    std::filesystem::path file = library;
    file += ".log";
    std::error_code error;
    const bool existed = std::filesystem::exists(file, error);
    const bool isWritable = std::ofstream(file, std::ios::app).is_open();
    if (!existed) {
        std::filesystem::remove(file, error);
    }
    return isWritable
               ? Diagnosis{Level::works, "log", file.string() + " can be written", {}}
               : Diagnosis{Level::note, "log", file.string() + " cannot be written",
                           "for --debug-log make the library's folder writable, or use a copy of "
                           "program and library in a folder of your own"};
}

}  // namespace cqtool
