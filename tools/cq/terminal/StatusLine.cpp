#include "terminal/StatusLine.h"

#include <algorithm>
#include <iostream>

#include "system/Terminal.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::chrono::milliseconds kProgressInterval{100};
constexpr std::size_t kBarWidth = 20;

}  // namespace

StatusLine::StatusLine() : isShown_(isTerminal(StandardStream::error)) {}

void StatusLine::show(const std::string& text) {
    if (!isShown_) {
        return;
    }
    const std::string line = shown(text);
    const std::size_t width = displayWidth(line);
    const std::size_t rest = width_ > width ? width_ - width : 0;
    // What is left of a longer text is overwritten, which every terminal can.
    std::cerr << '\r' << line << std::string(rest, ' ') << std::string(rest, '\b') << std::flush;
    width_ = width;
}

void StatusLine::progress(const std::string& what, std::size_t done, std::size_t total) {
    const auto now = std::chrono::steady_clock::now();
    if (done == total || now - lastProgress_ >= kProgressInterval) {
        lastProgress_ = now;
        show(progressText(what, done, total));
    }
}

void StatusLine::clear() {
    if (width_ > 0) {
        show("");
        std::cerr << '\r' << std::flush;
    }
}

std::string progressText(const std::string& what, std::size_t done, std::size_t total) {
    const std::size_t filled =
        total == 0 ? kBarWidth : std::min(kBarWidth, kBarWidth * done / total);
    return what + "  [" + std::string(filled, '#') + std::string(kBarWidth - filled, '-') + "]  " +
           std::to_string(done) + " of " + std::to_string(total);
}

}  // namespace cqtool
