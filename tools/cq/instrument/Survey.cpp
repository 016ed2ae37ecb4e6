#include "instrument/Survey.h"

#include <chrono>

#include "ResultText.h"
#include "system/Ports.h"

namespace cqtool {

Survey::Survey(const std::vector<std::string>& ports) : awaited_(ports.size()) {
    for (const std::string& port : ports) {
        answers_.push_back({port, std::nullopt, "it has not answered"});
    }
    for (std::size_t place = 0; place < ports.size(); ++place) {
        threads_.emplace_back([this, place, port = ports[place]] {
            SurveyAnswer answer{port, std::nullopt, {}};
            if (const CqHandle handle = cqOpen(port.c_str()); handle == nullptr) {
                answer.problem =
                    "it could not be opened: " + adviceForFailedOpen(port, PortUse::instrument);
            } else {
                CqDeviceInfo info{};
                const std::uint32_t code = cqGetDeviceInfo(handle, &info);
                cqClose(handle);
                if (code == CQ_NO_ERROR) {
                    answer.info = info;
                } else {
                    answer.problem = failureText(code, Operation::readDeviceInfo);
                }
            }
            const std::scoped_lock lock(mutex_);
            answers_[place] = std::move(answer);
            --awaited_;
            changed_.notify_all();
        });
    }
}

Survey::~Survey() {
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

std::vector<SurveyAnswer> Survey::wait(double seconds, Interrupt& interrupt) {
    const auto wake = interrupt.onInterrupt([this] {
        const std::scoped_lock lock(mutex_);
        changed_.notify_all();
    });
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::chrono::duration<double>(seconds),
                      [&] { return awaited_ == 0 || interrupt.happened(); });
    return answers_;
}

bool Survey::isStuck() {
    const std::scoped_lock lock(mutex_);
    return awaited_ > 0;
}

}  // namespace cqtool
