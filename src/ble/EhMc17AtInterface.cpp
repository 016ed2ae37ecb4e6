#include "ble/EhMc17AtInterface.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "api/DebugLog.h"
#include "ble/CumulativeTimeout.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Lines = EhMc17AtInterface::Lines;

/// The module's code of 32 bytes, the first 16 of which are the usual argument of AT+EX.
constexpr std::string_view kDefaultExCodeLong =
    "3C9A0E57B21D4F8861A7C5E09D2B74F18E64B0D35A17C92F40E6D1B8753AF02C";
constexpr std::string_view kDefaultExCode = kDefaultExCodeLong.substr(0, 32);

constexpr std::string_view kExAnswer = "BY=00";

constexpr std::string_view kExLength = "16";
constexpr std::string_view kMt = "1";

/// What follows the first "=" of the line; empty if there is none.
std::string valueOf(const std::string& line) {
    const auto equals = line.find('=');
    return equals == line.npos ? std::string() : line.substr(equals + 1);
}

void appendDevice(std::vector<SlaveDevice>& devices, std::string_view line) {
    if (auto device = parseScanLine(line)) {
        devices.push_back(std::move(*device));
    }
}

std::vector<SlaveDevice> devicesOf(const Lines& lines) {
    std::vector<SlaveDevice> devices;
    for (const std::string& line : lines) {
        appendDevice(devices, line);
    }
    return devices;
}

void readQueued(SerialPort& port, ReplyLines& reply) {
    do {
        const auto chunk = port.readAvailable();
        reply.append(chunk);
        if (chunk.empty()) {
            return;
        }
    } while (!reply.isFull() && port.queuedBytes().value_or(0) > 0);
}

void logExchange(std::string_view text, const Lines& lines) {
    if (!debuglog::isOpen()) {
        return;
    }
    std::string joined;
    for (const std::string& line : lines) {
        joined += " \"" + line + '"';
    }
    debuglog::write("%.*s ->%s\r\n", static_cast<int>(text.size()), text.data(), joined.c_str());
}

/// How long a scan listens.
constexpr auto kScanTime = 2000ms;

/// A module that takes no bytes for this long will not answer either.
constexpr auto kWriteTimeout = 500ms;

}  // namespace

std::shared_ptr<SerialPort> makeAdapterPort(const std::string& portName) {
    auto port = std::make_shared<SerialPort>(portName);
    port->setWriteTimeout(kWriteTimeout);
    return port;
}

Lines EhMc17AtInterface::sendCommand(std::string_view command, std::string_view argument,
                                     std::size_t lineCount, std::chrono::milliseconds timeout) {
    if (port_ == nullptr || deadline_.isOver()) {
        return {};
    }
    port_->setWriteTimeout(deadline_.limit(kWriteTimeout));
    std::string text(command);
    if (!argument.empty()) {
        text.append("=").append(argument);
    }
    port_->discardReceived();
    const std::string sent = text + "\r\n";
    if (port_->write(std::vector<std::uint8_t>(sent.begin(), sent.end())) < 0) {
        return {};
    }
    ReplyLines reply;
    CumulativeTimeout time(deadline_.limit(timeout), Clock::now());
    while (!time.isUsedUp() && port_->waitForData(time.remaining())) {
        readQueued(*port_, reply);
        time.subtractElapsed(Clock::now());
        if (reply.isComplete(lineCount) || reply.isFull()) {
            break;
        }
    }
    logExchange(text, reply.lines());
    return reply.lines();
}

std::string EhMc17AtInterface::firstLine(std::string_view command, std::string_view argument,
                                         std::chrono::milliseconds timeout) {
    const Lines lines = sendCommand(command, argument, 1, timeout);
    return lines.empty() ? std::string() : lines.front();
}

// A link that a killed host has left in the middle of a reply may put the rest of that before the
// answer.
bool EhMc17AtInterface::setExCode(std::string_view code) {
    return firstLine("AT+EX", code.empty() ? kDefaultExCode : code, 1000ms).ends_with(kExAnswer);
}

bool EhMc17AtInterface::setExLength() {
    const std::string line = firstLine("AT+EXL", kExLength, 100ms);
    return !line.starts_with("ER") && valueOf(line) == kExLength;
}

bool EhMc17AtInterface::setExMode() {
    return firstLine("AT+EXM", "0", 1000ms) == "OK";
}

bool EhMc17AtInterface::setBy() {
    constexpr long kBy = 2;
    const std::string value = valueOf(firstLine("AT+BY", "02", 1000ms));
    return std::strtol(value.c_str(), nullptr, 10) == kBy;
}

bool EhMc17AtInterface::setMt() {
    return valueOf(firstLine("AT+MT", kMt, 3000ms)) == kMt;
}

std::string EhMc17AtInterface::readAr() {
    return valueOf(firstLine("AT+AR", {}, 1000ms));
}

std::vector<SlaveDevice> EhMc17AtInterface::scan() {
    const auto start = Clock::now();
    const Lines lines = sendCommand("AT+SC", {}, 1, kScanTime);
    if (lines.empty()) {
        return {};
    }
    if (lines.front() == "+INQE") {
        return readScanResults();
    }
    if (lines.front() != "OK") {
        return {};
    }
    auto devices = devicesOf(lines);  // a quick module's first results come together with the OK
    CumulativeTimeout time(deadline_.limit(kScanTime), start);
    for (time.subtractElapsed(Clock::now()); !time.isUsedUp(); time.subtractElapsed(Clock::now())) {
        appendDevice(devices, port_->readLine(time.remaining()));
    }
    sendCommand("AT+SC", {}, 1, 1000ms);
    return devices;
}

std::vector<SlaveDevice> EhMc17AtInterface::readScanResults() {
    return devicesOf(sendCommand("AT+SR", {}, 10, 500ms));
}

bool EhMc17AtInterface::connect(std::string_view address) {
    const Lines lines = sendCommand("AT+CT", address, 2, 1000ms);
    const bool isLinked =
        lines.size() >= 2 && lines[0] == "OK" && lines[1].starts_with("+CONNECTED>>");
    isConnected_ = isConnected_ || isLinked;
    return isLinked;
}

bool EhMc17AtInterface::disconnect() {
    const bool isDropped = firstLine("AT+DC", {}, 1000ms) == "+DISCONNECT";
    isConnected_ = isConnected_ && !isDropped;
    return isDropped;
}

bool EhMc17AtInterface::configure() {
    if (setExCode({})) {
        disconnect();
    }
    return setMt() && setBy() && setExMode() && setExLength();
}

}  // namespace ovk
