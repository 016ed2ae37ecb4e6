#include "Outbox.h"

#include <algorithm>
#include <system_error>

#include "Failure.h"
#include "Results.h"
#include "system/Files.h"
#include "text/Json.h"

namespace station {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMarkEnding = ".sent";
constexpr std::size_t kWindow = 100;  // of a job's messages on their way
constexpr std::chrono::seconds kMarkInterval{1};
constexpr const char* kNoInstrument = "-";

/// A mark; empty if there is none that can be read, which costs nothing but sending again.
Json markIn(const fs::path& file) {
    std::error_code error;
    if (!fs::exists(file, error)) {
        return Json::object();
    }
    Json mark = Json::parse(cqtool::readFile(file), nullptr, false);
    return mark.is_object() ? mark : Json::object();
}

std::uint64_t markedCount(const Json& mark, const char* name) {
    const auto member = mark.find(name);
    return member != mark.end() && member->is_number_unsigned() ? member->get<std::uint64_t>() : 0;
}

}  // namespace

std::string topicLevel(std::string serial) {
    std::replace_if(
        serial.begin(), serial.end(),
        [](char letter) {
            return letter == '/' || letter == '+' || letter == '#' ||
                   static_cast<unsigned char>(letter) < ' ';
        },
        '_');
    return serial.empty() ? kNoInstrument : serial;
}

Outbox::Outbox(std::shared_ptr<Journal> journal, std::string station,
               std::chrono::seconds settleTime)
    : journal_(std::move(journal)),
      station_(std::move(station)),
      settleTime_(settleTime),
      mark_(journal_->file() += kMarkEnding),
      created_(journal_->with([](const cqtool::Job& job) { return job.created; })) {
    const Json mark = markIn(mark_);
    const std::uint64_t number = markedCount(mark, "number");
    // Another job of the same name begins anew.
    if (mark.contains("created") && mark["created"] == created_ &&
        number <= journal_->lastNumber()) {
        marked_ = sent_ = number;
    }
}

std::vector<Outbox::Message> Outbox::next() {
    std::vector<Message> messages;
    const std::size_t free = kWindow - std::min(kWindow, unacknowledged_.size());
    for (const std::string& told : journal_->messagesAfter(sent_, free)) {
        messages.push_back(messageOf(told));
        sent_ = messages.back().number;
        unacknowledged_.insert(sent_);
    }
    return messages;
}

Outbox::Message Outbox::messageOf(const std::string& told) const {
    Json message = Json::parse(told);
    Json payload = std::move(message["event"]);
    std::string serial;
    if (const auto instrument = payload.find("instrument"); instrument != payload.end()) {
        serial = instrument->value("serial", std::string());
    } else if (const auto about = payload.find("measurement"); about != payload.end()) {
        const auto number = about->get<std::uint64_t>();
        serial = journal_->with([number](const cqtool::Job& job) {
            const auto* const measurement = job.find(number);
            return measurement == nullptr ? std::string() : measurement->instrument.serial;
        });
    }
    payload["station"] = station_;
    payload["job"] = journal_->name();
    payload["jobCreated"] = created_;
    payload["serial"] = textOrNull(serial);
    if (const auto result = message.find("result"); result != message.end()) {
        payload["result"] = std::move(*result);
    }
    return {
        payload.at("number").get<std::uint64_t>(),
        "cq/" + station_ + "/" + topicLevel(serial) + "/" + payload.at("event").get<std::string>(),
        payload.dump()};
}

void Outbox::rewind() {
    sent_ = marked_;
    unacknowledged_.clear();
    settling_.clear();
}

void Outbox::keep(Clock::time_point now) {
    const std::uint64_t acknowledged = acknowledgedUpTo();
    const std::uint64_t noted = settling_.empty() ? marked_ : settling_.back().second;
    if (acknowledged > noted && now - noted_ >= kMarkInterval) {
        settling_.emplace_back(now, acknowledged);
        noted_ = now;
    }
    std::uint64_t settled = marked_;
    while (!settling_.empty() && now - settling_.front().first >= settleTime_) {
        settled = settling_.front().second;
        settling_.pop_front();
    }
    if (settled != marked_) {
        cqtool::writeFile(mark_, cqtool::lineOfJson({{"created", created_},
                                                     {"number", settled},
                                                     {"bytes", journal_->endOf(settled)}}));
        marked_ = settled;
    }
}

bool Outbox::isDone() const {
    return unacknowledged_.empty() && sent_ == journal_->lastNumber();
}

bool Outbox::isMark(const fs::path& file) {
    return file.extension() == kMarkEnding && jobOf(file).extension() == ".cqjob";
}

fs::path Outbox::jobOf(const fs::path& mark) {
    return fs::path(mark).replace_extension();
}

bool Outbox::isBehind(const fs::path& mark) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(jobOf(mark), error);
    return !error && size != markedCount(markIn(mark), "bytes");
}

}  // namespace station
