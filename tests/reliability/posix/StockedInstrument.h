#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "endtoend/Wired.h"
#include "reliability/posix/StockRecords.h"

namespace cqtest {

/// Knows byte for byte what an instrument must hold, whatever became of the hosts that used it.
class Stock {
  public:
    /// Empties the instrument and fills it with what is known.
    void renew(CqHandle handle) {
        known_ = stockedRecords();
        ASSERT_EQ(cqDeleteAllRecords(handle), CQ_NO_ERROR);
        ASSERT_EQ(cqDownloadStandards(handle, known_.data(), size()), CQ_NO_ERROR);
    }

    /// Nothing is lost or changed, and what a killed host has added is whole records in their order.
    /// \param addedAtOnce how many of the added records the instrument takes all or none of.
    void check(CqHandle handle, std::size_t addedAtOnce) {
        std::uint32_t count = 0;
        ASSERT_EQ(cqGetTotalStandards(handle, &count), CQ_NO_ERROR);
        ASSERT_GE(count, size());
        EXPECT_EQ((count - size()) % addedAtOnce, 0U);
        std::vector<CqMeasurementRecord> held(count);
        ASSERT_EQ(cqUploadStandards(handle, held.data(), 0, count), CQ_NO_ERROR);
        const auto added = addedRecords();
        for (std::size_t i = 0; known_.size() < count; ++i) {
            known_.push_back(added[i % added.size()]);
        }
        EXPECT_EQ(held, known_);
        if (count > 5 * stockedRecords().size()) {
            renew(handle);
        }
    }

  private:
    std::uint32_t size() const { return static_cast<std::uint32_t>(known_.size()); }

    std::vector<CqMeasurementRecord> known_;
};

/// A trial measured now: not the standard that an earlier host was waiting for, nor an old trial.
inline void expectNewTrial(CqHandle handle, std::uint32_t& lastNumber) {
    constexpr std::size_t kKindOffset = 6;
    constexpr std::size_t kNumberOffset = 8;
    CqMeasurementRecord record;
    ASSERT_EQ(cqMeasureTrial(handle, &record), CQ_NO_ERROR);
    EXPECT_EQ(std::memcmp(record.bytes, "VMR1", 4), 0);
    EXPECT_EQ(record.bytes[kKindOffset], 1) << "a trial";
    std::uint32_t number = 0;
    std::memcpy(&number, record.bytes + kNumberOffset, sizeof(number));
    EXPECT_GT(number, lastNumber);
    lastNumber = number;
}

}  // namespace cqtest
