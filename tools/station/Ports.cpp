#include "Ports.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "system/Ports.h"
#include "system/Terminal.h"

namespace station {
namespace {

/// One list serves all who look in this time.
constexpr std::chrono::milliseconds kListInterval{250};

/// The port's own name, whatever link leads to it.
std::string deviceOf(const std::string& port) {
    std::error_code error;
    const auto device = std::filesystem::canonical(port, error);
    return error ? port : device.string();
}

}  // namespace

Ports::Claim Ports::claim(const std::string& port) {
    std::string device = deviceOf(port);
    const std::scoped_lock lock(mutex_);
    return claimed_.insert(device).second ? Claim(*this, std::move(device)) : Claim();
}

Ports::Claim::~Claim() {
    if (ports_ != nullptr) {
        const std::scoped_lock lock(ports_->mutex_);
        ports_->claimed_.erase(port_);
    }
}

std::vector<std::string> Ports::candidates() {
    const std::scoped_lock lock(mutex_);
    const auto now = std::chrono::steady_clock::now();
    if (!listed_ || now - *listed_ >= kListInterval) {
        list();
        listed_ = now;
    }
    return candidates_;
}

void Ports::list() {
    candidates_.clear();
    for (const std::string& port : more_) {
        if (cqtool::portExists(port)) {
            candidates_.push_back(port);
        }
    }
    try {
        for (const cqtool::PortInfo& port : cqtool::listPorts()) {
            if (port.kind == cqtool::PortKind::instrument && port.isAccessible) {
                candidates_.push_back(port.name);
            }
        }
    } catch (const cqtool::Failure&) {
        // Ports that cannot be listed are none.
    }
}

}  // namespace station
