#include "text/IndexList.h"

#include <charconv>
#include <functional>
#include <set>

#include "Failure.h"

namespace cqtool {
namespace {

constexpr std::uint32_t kHighestIndex = 999'999;

[[noreturn]] void refuseIndex(const std::string& text) {
    throw UsageError("an index must be a whole number from 0 to " + std::to_string(kHighestIndex) +
                     ", or a range such as 3-7, not '" + text + "'");
}

std::uint32_t indexOf(const std::string& digits, const std::string& text) {
    std::uint32_t index = 0;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), index);
    if (parsed.ec != std::errc{} || parsed.ptr != digits.data() + digits.size() ||
        index > kHighestIndex) {
        refuseIndex(text);
    }
    return index;
}

}  // namespace

std::vector<std::uint32_t> indicesOf(const std::vector<std::string>& texts) {
    std::set<std::uint32_t, std::greater<>> indices;
    for (const std::string& text : texts) {
        const std::size_t dash = text.find('-');
        const std::uint32_t first = indexOf(text.substr(0, dash), text);
        const std::uint32_t last =
            dash == std::string::npos ? first : indexOf(text.substr(dash + 1), text);
        if (last < first) {
            refuseIndex(text);
        }
        for (std::uint32_t index = first; index <= last; ++index) {
            indices.insert(index);
        }
    }
    return {indices.begin(), indices.end()};
}

std::string rangeText(std::uint32_t first, std::uint32_t count) {
    const std::string text = std::to_string(first);
    return count == 1 ? text : text + " to " + std::to_string(first + count - 1);
}

}  // namespace cqtool
