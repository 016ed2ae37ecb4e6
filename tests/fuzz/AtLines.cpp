// Text that an adapter's module may reply, and names that strangers' peripherals may have.
//
// Held to be true:
//
// - the lines are those of the whole text, however it is cut into pieces, and never more than the
//   limit holds; a reply is complete when enough lines are there and the last one has ended;
// - a scan line is read as the regular expression of docs/wireless-protocol.md reads it;
// - nothing throws.
//
// An input is the size of the pieces (1 byte, 0 for all at once), how many lines are awaited, a byte
// of which E0..FF say how often the text comes (once if the pieces are small), then the text.

#include <charconv>
#include <regex>
#include <string>

#include "ble/ReplyLines.h"
#include "ble/SlaveDevice.h"
#include "fuzz/Script.h"

namespace ovk::fuzz {
namespace {

/// std::regex recurses once a character.
constexpr std::size_t kMaxReferenceLine = 80;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (auto end = text.find("\r\n"); end != text.npos; end = text.find("\r\n", start)) {
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    if (start < text.size()) {
        lines.push_back(text.substr(start));
    }
    return lines;
}

void checkReply(const std::string& text, std::size_t pieceSize, std::size_t awaited) {
    ReplyLines reply;
    Script pieces({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    while (!pieces.isAtEnd()) {
        reply.append(pieceSize == 0 ? pieces.takeAll() : pieces.take(pieceSize));
    }
    const std::string kept = text.substr(0, ReplyLines::kMaxBytes);
    require(reply.lines() == linesOf(kept), "the lines are those of the text");
    require(reply.isFull() == (text.size() >= ReplyLines::kMaxBytes), "a full reply says so");
    const bool hasEnded = kept.ends_with("\r\n");
    require(reply.isComplete(awaited) == (hasEnded && reply.lines().size() >= awaited),
            "a reply is complete when enough lines are there and the last one has ended");
}

void checkScanLine(const std::string& line) {
    static const std::regex form(R"(^SR=(\d+):([\S\x20]+),([0-9a-fA-F]+),(-\d+))");
    const auto device = parseScanLine(line);
    if (!line.starts_with("SR=")) {
        return require(!device, "a scan line begins with SR=");
    }
    if (line.size() > kMaxReferenceLine) {
        return;
    }
    std::smatch match;
    std::int32_t rssi = 0;
    bool isDevice = std::regex_search(line, match, form);
    if (isDevice) {
        const std::string number = match[4];
        isDevice =
            std::from_chars(number.data(), number.data() + number.size(), rssi).ec == std::errc{};
    }
    require(device.has_value() == isDevice, "a scan line is one that the expression takes");
    require(!device || (device->name == match[2] && device->address == match[3] &&
                        device->rssi == rssi && rssi <= 0),
            "a scan line's parts are those of the expression");
}

}  // namespace
}  // namespace ovk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ovk::fuzz;
    Script script({data, size});
    const std::size_t pieceSize = script.byte();
    const std::size_t awaited = script.byte() % 16U;
    constexpr std::size_t kSmallPiece = 64;
    constexpr std::size_t kEnough = ovk::ReplyLines::kMaxBytes;
    constexpr unsigned kFewestRepetitions = 0xE0;
    const unsigned asked = script.byte();
    const bool isRepeated =
        asked >= kFewestRepetitions && (pieceSize == 0 || pieceSize >= kSmallPiece);
    const BytesView bytes = script.takeAll();
    const std::string once(bytes.begin(), bytes.end());
    std::string text;
    for (unsigned i = 0; i < (isRepeated ? asked : 1) && text.size() <= kEnough; ++i) {
        text += once;
    }
    checkReply(text, pieceSize, awaited);
    for (const std::string& line : linesOf(once)) {
        checkScanLine(line);
    }
    return 0;
}
