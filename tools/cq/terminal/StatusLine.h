#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace cqtool {

/// A status line on standard error, if that is a terminal. It is erased with the object, or when a
/// failure is reported. One at a time.
class StatusLine {
  public:
    StatusLine();
    explicit StatusLine(const std::string& text) : StatusLine() { show(text); }
    ~StatusLine() { clear(); }
    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    void show(const std::string& text);
    /// Shows progress with a bar, updated at most ten times a second.
    void progress(const std::string& what, std::size_t done, std::size_t total);
    void clear();

  private:
    bool isShown_;
    std::size_t width_ = 0;
    std::chrono::steady_clock::time_point lastProgress_{};
};

/// As in "reading standards  [#####---------------]  250 of 1000".
std::string progressText(const std::string& what, std::size_t done, std::size_t total);

}  // namespace cqtool
