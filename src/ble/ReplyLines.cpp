#include "ble/ReplyLines.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace ovk {
namespace {

constexpr std::string_view kLineEnd = "\r\n";

}  // namespace

void ReplyLines::append(std::span<const std::uint8_t> chunk) {
    chunk = chunk.first(std::min(chunk.size(), kMaxBytes - size_));
    if (chunk.empty()) {
        return;
    }
    size_ += chunk.size();
    // An open line is split anew together with the chunk: its line end may have come in two pieces.
    std::string text;
    if (isLastLineOpen_) {
        text = std::move(lines_.back());
        lines_.pop_back();
    }
    text.append(chunk.begin(), chunk.end());

    std::string_view rest = text;
    for (auto end = rest.find(kLineEnd); end != rest.npos; end = rest.find(kLineEnd)) {
        lines_.emplace_back(rest.substr(0, end));
        rest.remove_prefix(end + kLineEnd.size());
    }
    isLastLineOpen_ = !rest.empty();
    if (isLastLineOpen_) {
        lines_.emplace_back(rest);
    }
}

}  // namespace ovk
