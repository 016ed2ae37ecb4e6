#include "adapter/AtModule.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace vi::adapter {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kEscape = "AT+EX=";
constexpr std::size_t kCodeDigits = 32;
constexpr std::size_t kEscapeSize = kEscape.size() + kCodeDigits + kLineEnd.size();

constexpr std::size_t kMaxLine = 1024;
constexpr std::size_t kMaxScanResults = 10;
constexpr auto kScanDuration = 1000ms;
constexpr auto kConnectDuration = 150ms;
constexpr auto kAnswerSplitPause = 30ms;

bool isHexText(std::string_view text) {
    return std::ranges::all_of(
        text, [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
}

bool isNumber(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

bool isSameAddress(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, [](unsigned char a, unsigned char b) {
        return std::toupper(a) == std::toupper(b);
    });
}

bool isEscape(std::string_view text) {
    return text.size() == kEscapeSize && text.starts_with(kEscape) && text.ends_with(kLineEnd) &&
           isHexText(text.substr(kEscape.size(), kCodeDigits));
}

Bytes toBytes(std::string_view text) {
    return {text.begin(), text.end()};
}

}  // namespace

const AtModule::Command AtModule::kCommands[] = {
    {"AT+EX", &AtModule::escape},          {"AT+DC", &AtModule::disconnect},
    {"AT+MT", &AtModule::setMt},           {"AT+BY", &AtModule::setBy},
    {"AT+EXM", &AtModule::setExMode},      {"AT+EXL", &AtModule::setExLength},
    {"AT+AR", &AtModule::readAr},          {"AT+SC", &AtModule::scan},
    {"AT+SR", &AtModule::readScanResults}, {"AT+CT", &AtModule::connect},
};

AtModule::AtModule(const std::vector<Slave>& slaves, Outbox& outbox, TrafficLog& log,
                   Settings settings, std::function<void(std::size_t slave)> unlinked)
    : slaves_(slaves),
      outbox_(outbox),
      log_(log),
      settings_(std::move(settings)),
      unlinked_(std::move(unlinked)) {}

void AtModule::receive(std::uint8_t byte, TimePoint now) {
    line_ += static_cast<char>(byte);
    if (line_.ends_with(kLineEnd)) {
        line_.resize(line_.size() - kLineEnd.size());
        // A command may be preceded by what a host has sent to a slave whose link had ended.
        const std::size_t start = line_.rfind("AT+");
        const std::string line = line_.substr(start == std::string::npos ? 0 : start);
        line_.clear();
        runCommand(line, now);
    } else if (line_.size() > kMaxLine) {
        line_.erase(0, line_.size() - kEscapeSize);
    }
}

bool AtModule::watch(std::uint8_t byte, TimePoint now) {
    recently_ += static_cast<char>(byte);
    if (recently_.size() > kEscapeSize) {
        recently_.erase(0, 1);
    }
    if (!isEscape(recently_)) {
        return false;
    }
    runCommand(recently_.substr(0, kEscapeSize - kLineEnd.size()), now);
    recently_.clear();
    return true;
}

void AtModule::runCommand(const std::string& line, TimePoint now) {
    log_.packet(TrafficLog::Direction::fromHost, "command " + line,
                toBytes(line + std::string(kLineEnd)), now);
    ++commands_;
    if (settings_.faults.atSilent && commands_ >= *settings_.faults.atSilent) {
        return;
    }
    const std::size_t equals = line.find('=');
    const std::string name = line.substr(0, equals);
    const auto* const command = std::ranges::find(kCommands, name, &Command::name);
    if (settings_.faults.atError.contains(commands_) || command == std::end(kCommands)) {
        return answer("ERROR", now);
    }
    const bool wasScanning = std::exchange(isScanning_, false);
    scan_.reset();
    if (wasScanning && name == "AT+SC") {
        return answer("OK", now);
    }
    (this->*command->run)(equals == std::string::npos ? "" : line.substr(equals + 1), now);
}

void AtModule::escape(const std::string& code, TimePoint now) {
    if (code.size() != kCodeDigits || !isHexText(code)) {
        return answer("ERROR", now);
    }
    if (std::exchange(isCarrying_, false)) {
        outbox_.clear();  // the slave's bytes, which no longer have a way to the host
    }
    answer("BY=00", now);
}

void AtModule::disconnect(const std::string&, TimePoint now) {
    connecting_.reset();
    endLink();
    answer("+DISCONNECT", now);
}

void AtModule::setMt(const std::string& argument, TimePoint now) {
    answerSetting("MT=", argument, now);
}

void AtModule::setBy(const std::string& argument, TimePoint now) {
    answerSetting("BY=", argument, now);
}

void AtModule::setExLength(const std::string& argument, TimePoint now) {
    answerSetting("EXL=", argument, now);
}

void AtModule::setExMode(const std::string& argument, TimePoint now) {
    answer(isNumber(argument) ? "OK" : "ERROR", now);
}

void AtModule::answerSetting(const std::string& prefix, const std::string& value, TimePoint now) {
    answer(isNumber(value) ? prefix + value : "ERROR", now);
}

void AtModule::readAr(const std::string&, TimePoint now) {
    answer("AR=1.2", now);
}

void AtModule::scan(const std::string&, TimePoint now) {
    if (settings_.isScanReady) {
        return answer("+INQE", now);
    }
    isScanning_ = true;
    if (!slaves_.empty()) {
        const auto step = kScanDuration / (slaves_.size() + 1);
        scan_ = Scan{.next = 0, .due = answerTime(now) + step, .step = step};
    }
    answer("OK", now);
}

void AtModule::readScanResults(const std::string&, TimePoint now) {
    if (slaves_.empty()) {
        return answer("OK", now);
    }
    answer(scanLine(0), now);
    for (std::size_t slave = 1; slave < std::min(slaves_.size(), kMaxScanResults); ++slave) {
        tell("answer", scanLine(slave), answerTime(now));
    }
}

std::string AtModule::scanLine(std::size_t slave) const {
    const Slave& found = slaves_[slave];
    return "SR=" + std::to_string(slave) + ":" + found.name + "," + found.address + "," +
           std::to_string(found.rssi);
}

void AtModule::connect(const std::string& address, TimePoint now) {
    if (linked_ || connecting_) {
        return answer("ERROR", now);
    }
    answer("OK", now);
    const auto slave = std::ranges::find_if(
        slaves_, [&](const Slave& s) { return isSameAddress(s.address, address); });
    if (slave != slaves_.end() && !settings_.faults.noLink) {
        connecting_ = static_cast<std::size_t>(slave - slaves_.begin());
        connectAt_ = answerTime(now) + kConnectDuration;
    }
}

void AtModule::endLink() {
    dropAt_.reset();
    isCarrying_ = false;
    if (const auto slave = std::exchange(linked_, std::nullopt)) {
        unlinked_(*slave);
    }
}

TimePoint AtModule::answerTime(TimePoint now) const {
    return now + settings_.delay + settings_.faults.atLate;
}

void AtModule::answer(const std::string& line, TimePoint now) {
    tell("answer", settings_.faults.atBlank ? std::string(kLineEnd) + line : line, answerTime(now));
}

void AtModule::tell(const std::string& words, const std::string& text, TimePoint due) {
    const std::size_t lineStart = text.starts_with(kLineEnd) ? kLineEnd.size() : 0;
    Outbox::Message message{.words = words + " " + text.substr(lineStart),
                            .bytes = toBytes(text + std::string(kLineEnd))};
    if (settings_.faults.atSplit) {
        message.firstPiece = message.bytes.size() / 2;
        message.pause = kAnswerSplitPause;
    }
    outbox_.send(std::move(message), due);
}

void AtModule::elapse(TimePoint now) {
    while (scan_ && scan_->due <= now) {
        tell("answer", scanLine(scan_->next), scan_->due);
        scan_->due += scan_->step;
        if (++scan_->next == slaves_.size()) {
            scan_.reset();
        }
    }
    if (connecting_ && connectAt_ <= now) {
        linked_ = std::exchange(connecting_, std::nullopt);
        isCarrying_ = true;
        recently_.clear();
        tell("tells", "+CONNECTED>>0x" + slaves_[*linked_].address, now);
    }
    if (dropAt_ && *dropAt_ <= now) {
        endLink();
        tell("tells", "+DISCONNECTED", now);
    }
}

std::optional<TimePoint> AtModule::deadline() const {
    std::optional<TimePoint> first = dropAt_;
    const auto consider = [&first](TimePoint due) { first = first ? std::min(*first, due) : due; };
    if (scan_) {
        consider(scan_->due);
    }
    if (connecting_) {
        consider(connectAt_);
    }
    return first;
}

void AtModule::powerOff() {
    endLink();
    connecting_.reset();
    scan_.reset();
    isScanning_ = false;
    line_.clear();
    recently_.clear();
}

}  // namespace vi::adapter
