#include "Feed.h"

namespace station {
namespace {

constexpr std::size_t kAtOnce = 50;

}  // namespace

Feed::Feed(Jobs& jobs, const States& states, const std::string& job,
           std::optional<std::uint64_t> after)
    : jobs_(jobs), states_(states), isOfAll_(job.empty()) {
    if (isOfAll_) {
        for (const auto& journal : jobs_.opened()) {
            told_[journal] = journal->lastNumber();
        }
    } else {
        const auto journal = jobs_.open(job);
        told_[journal] = after.value_or(journal->lastNumber());
    }
}

std::optional<std::string> Feed::next() {
    if (ready_.empty()) {
        takeEvents();
        for (Json& state : states_.changedSince(version_)) {
            ready_.push_back(Json{{"type", "instrument"}, {"instrument", std::move(state)}}.dump());
        }
    }
    if (ready_.empty()) {
        return std::nullopt;
    }
    std::string message = std::move(ready_.front());
    ready_.pop_front();
    return message;
}

void Feed::takeEvents() {
    if (isOfAll_) {
        for (const auto& journal : jobs_.opened()) {
            told_.try_emplace(journal, journal->numberAtOpening());
        }
    }
    for (auto& [journal, number] : told_) {
        for (std::string& message : journal->messagesAfter(number, kAtOnce)) {
            ready_.push_back(std::move(message));
            ++number;
        }
    }
}

}  // namespace station
