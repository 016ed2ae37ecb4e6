// Handles: opening, closing, and what a handle that is not open does.

#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

TEST(Connection, HandleIsValidUntilItIsClosed) {
    const Wired other;
    Wired wired;
    const CqHandle handle = wired.handle;
    EXPECT_TRUE(cqIsValidHandle(handle));
    EXPECT_FALSE(cqIsValidHandle(nullptr));

    cqClose(handle);
    EXPECT_FALSE(cqIsValidHandle(handle));
    cqClose(handle);  // the second time does nothing
    CqInstrumentStatus status;
    EXPECT_EQ(cqGetInstrumentStatus(handle, &status), CQ_NOT_SUPPORTED);
    EXPECT_EQ(cqGetInstrumentStatus(other.handle, &status), CQ_NO_ERROR);
}

TEST(Connection, PortThatCannotBeOpenedGivesNoHandle) {
    EXPECT_EQ(cqOpen("/dev/cqapi-no-such-port"), nullptr);
    EXPECT_EQ(cqOpen("COM250"), nullptr);
}

TEST(Connection, EveryCallOnAnUnknownHandleAnswersNotSupportedAndTouchesNothing) {
    int noInstrument = 0;
    for (const CqHandle handle : {CqHandle{nullptr}, CqHandle{&noInstrument}}) {
        const std::array<std::function<std::uint32_t()>, 20> calls{
            [&] { return cqSetMeasurementResultReceivedCallback(handle, nullptr, nullptr); },
            [&] { return cqGetDeviceInfo(handle, nullptr); },
            [&] { return cqGetInstrumentStatus(handle, nullptr); },
            [&] { return cqMeasureStandard(handle, nullptr); },
            [&] { return cqMeasureTrial(handle, nullptr); },
            [&] { return cqCalibrateWhite(handle); },
            [&] { return cqCalibrateBlack(handle); },
            [&] { return cqGetTotalStandards(handle, nullptr); },
            [&] { return cqGetTotalSamples(handle, nullptr); },
            [&] { return cqGetSampleCount(handle, 0, nullptr); },
            [&] { return cqUploadStandards(handle, nullptr, 0, 1); },
            [&] { return cqUploadSamples(handle, nullptr, 0, 0, 1); },
            [&] { return cqDownloadStandards(handle, nullptr, 1); },
            [&] { return cqGetWhiteBoardParameter(handle, nullptr); },
            [&] { return cqGetPortName(handle, nullptr, 0); },
            [&] { return cqDeleteStandard(handle, 0); },
            [&] { return cqDeleteAllRecords(handle); },
            [&] { return cqDeleteSample(handle, 0, 0); },
            [&] { return cqSetMeasurementParameter(handle, 0, 0); },
            [&] { return cqGetMeasurementParameter(handle, 0, nullptr); },
        };
        for (std::size_t i = 0; i < calls.size(); ++i) {
            EXPECT_EQ(calls[i](), CQ_NOT_SUPPORTED) << "call " << i;
        }
    }
    cqFree(nullptr);
}

TEST(Connection, PortNameIsCopiedByItsOddRules) {
    Wired wired;
    const std::string name = wired.instrument.portName();
    const auto size = static_cast<std::int32_t>(name.size());
    const auto copied = [&](std::int32_t room, std::size_t shown) {
        std::string buffer(256, '#');
        EXPECT_EQ(cqGetPortName(wired.handle, buffer.data(), room), CQ_NO_ERROR);
        return buffer.substr(0, shown);
    };
    EXPECT_EQ(copied(size, name.size() + 1), name + '#') << "no terminator";
    EXPECT_EQ(copied(size - 1, name.size() - 1), std::string(name.size() - 1, '\0'))
        << "a name one byte too long clears the buffer";
    EXPECT_EQ(copied(0, 5), std::string("\0\0\0\0#", 5)) << "four zeros whatever the size";
}

}  // namespace
}  // namespace cqtest
