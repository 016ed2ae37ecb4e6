#include "Journal.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "Failure.h"
#include "Results.h"
#include "text/Json.h"

namespace station {
namespace {

/// The complete lines of a file from this place on.
std::vector<std::string> linesFrom(const std::filesystem::path& file, std::uint64_t place,
                                   std::size_t most) {
    std::ifstream in(file, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(place));
    std::vector<std::string> lines;
    for (std::string line; lines.size() < most && std::getline(in, line) && !in.eof();) {
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace

Journal::Journal(std::string name, const std::filesystem::path& file, std::function<void()> changed)
    : name_(std::move(name)), changed_(std::move(changed)), file_(file) {
    takeInNew();
    numberAtOpening_ = ends_.size();
}

std::uint64_t Journal::append(
    const std::function<cqtool::JsonObject(const cqtool::Job&)>& eventFor) {
    const std::scoped_lock lock(mutex_);
    const std::uint64_t number = file_.append(eventFor);
    takeInNew();
    return number;
}

void Journal::refresh() {
    const std::scoped_lock lock(mutex_);
    file_.refresh();
    takeInNew();
}

void Journal::takeInNew() {
    const std::size_t before = ends_.size();
    const std::uint64_t known = file_.job().lastNumber;
    std::uint64_t end = ends_.empty() ? 0 : ends_.back();
    for (const std::string& line : linesFrom(file_.path(), end, known - before)) {
        end += line.size() + 1;
        ends_.push_back(end);
    }
    if (ends_.size() > before) {
        toldNumber_ = 0;  // what has changed may change the last verdict, too
        changed_();
    }
}

std::uint64_t Journal::lastNumber() const {
    const std::scoped_lock lock(mutex_);
    return ends_.size();
}

std::uint64_t Journal::endOf(std::uint64_t number) const {
    const std::scoped_lock lock(mutex_);
    return ends_.at(number - 1);
}

std::vector<std::string> Journal::messagesAfter(std::uint64_t number, std::size_t most) const {
    const std::scoped_lock lock(mutex_);
    std::vector<std::string> messages;
    if (number >= ends_.size()) {
        return messages;
    }
    const std::uint64_t start = number == 0 ? 0 : ends_[number - 1];
    for (const std::string& line : linesFrom(file_.path(), start, most)) {
        messages.push_back(messageOf(++number, line));
    }
    return messages;
}

std::string Journal::messageOf(std::uint64_t number, const std::string& line) const {
    if (number != toldNumber_) {
        const Json event = Json::parse(line);
        Json message{{"type", "event"}, {"job", name_}, {"event", event}};
        if (const auto* const measurement = file_.job().find(number)) {
            message["result"] = resultJson(file_.job(), *measurement);
        }
        toldMessage_ = message.dump();
        toldNumber_ = number;
    }
    return toldMessage_;
}

std::string Journal::calibrationOf(const cqtool::InstrumentIdentity& instrument) const {
    const std::scoped_lock lock(mutex_);
    return file_.calibrationOf(instrument);
}

}  // namespace station
