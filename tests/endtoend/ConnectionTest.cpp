// Handles: opening, closing, and what a handle that is not open does.

#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

TEST(Connection, OpensAndClosesTheSameInstrumentAgainAndAgain) {
    const VirtualInstrument instrument;
    for (int round = 0; round < 20; ++round) {
        Handle handle(instrument.portName());
        ASSERT_NE(static_cast<CqHandle>(handle), nullptr) << "round " << round;
        std::uint32_t count = 1;
        EXPECT_EQ(cqGetTotalStandards(handle, &count), CQ_NO_ERROR);
        EXPECT_EQ(count, 0U);
    }
}

TEST(Connection, HandleIsValidUntilItIsClosed) {
    Wired wired;
    const CqHandle handle = wired.handle;
    EXPECT_TRUE(cqIsValidHandle(handle));
    EXPECT_FALSE(cqIsValidHandle(nullptr));

    cqClose(handle);
    EXPECT_FALSE(cqIsValidHandle(handle));
    cqClose(handle);  // the second time does nothing
    CqInstrumentStatus status;
    EXPECT_EQ(cqGetInstrumentStatus(handle, &status), CQ_NOT_SUPPORTED);
}

TEST(Connection, PortThatCannotBeOpenedGivesNoHandle) {
    EXPECT_EQ(cqOpen("/dev/cqapi-no-such-port"), nullptr);
    EXPECT_EQ(cqOpen("COM250"), nullptr);
}

TEST(Connection, GoodbyeOfTheInstrumentEndsTheSessionButNotTheHandle) {
    Wired wired("--fault disconnect:3");
    std::uint32_t count = 0;
    std::uint32_t code = CQ_NO_ERROR;
    for (int attempt = 0; attempt < 10 && code == CQ_NO_ERROR; ++attempt) {
        code = cqGetTotalStandards(wired.handle, &count);
    }
    EXPECT_TRUE(code == CQ_NO_SESSION || code == CQ_SENDING_TIMEOUT) << code;
    EXPECT_EQ(cqGetTotalStandards(wired.handle, &count), CQ_NO_SESSION);
    EXPECT_TRUE(cqIsValidHandle(wired.handle));
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

    std::array<char, 256> buffer;
    buffer.fill('#');
    EXPECT_EQ(cqGetPortName(wired.handle, buffer.data(), size), CQ_NO_ERROR);
    EXPECT_EQ(std::string(buffer.data(), name.size()), name);
    EXPECT_EQ(buffer[name.size()], '#') << "no terminator";

    buffer.fill('#');
    EXPECT_EQ(cqGetPortName(wired.handle, buffer.data(), size - 1), CQ_NO_ERROR);
    EXPECT_EQ(std::string(buffer.data(), name.size() - 1), std::string(name.size() - 1, '\0'))
        << "a name one byte too long clears the buffer";

    buffer.fill('#');
    EXPECT_EQ(cqGetPortName(wired.handle, buffer.data(), 0), CQ_NO_ERROR);
    EXPECT_EQ(std::string(buffer.data(), 5), std::string("\0\0\0\0#", 5))
        << "four zeros whatever the size";
}

}  // namespace
}  // namespace cqtest
