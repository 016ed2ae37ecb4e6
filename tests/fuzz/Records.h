#pragma once

#include <cstdint>
#include <cstring>
#include <memory>

#include "cqapi/CQApi.h"
#include "fuzz/Script.h"

namespace ovk::fuzz {

/// A record in memory that ends where it ends, filled with a byte that tells what is not written.
template <class Record>
class GuardedRecord {
  public:
    static constexpr std::uint8_t kUntouched = 0xA5;

    GuardedRecord() { std::memset(record_.get(), kUntouched, sizeof(Record)); }

    Record* get() const { return record_.get(); }
    BytesView bytes() const {
        return {reinterpret_cast<const std::uint8_t*>(record_.get()), sizeof(Record)};
    }
    bool isUntouched(std::size_t first = 0, std::size_t size = sizeof(Record)) const {
        const auto part = bytes().subspan(first, size);
        return std::all_of(part.begin(), part.end(),
                           [](std::uint8_t byte) { return byte == kUntouched; });
    }

  private:
    std::unique_ptr<Record> record_ = std::make_unique<Record>();
};

constexpr std::size_t kRecordSize = sizeof(CqMeasurementRecord);

/// Makes the calls of an input, up to a number that takes no time to speak of.
template <class Host>
void playCalls(Host& host, Script& script) {
    for (unsigned calls = 0; calls < 24 && !script.isAtEnd(); ++calls) {
        host.call();
    }
}

inline bool isSame(BytesView left, BytesView right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
}

/// The input is what is asked of a wired instrument, through the exported functions.
void runWired(Script& script);

/// The input is what is asked of a wireless instrument's driver.
void runWireless(Script& script);

}  // namespace ovk::fuzz
