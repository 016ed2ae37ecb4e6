// A named pipe in place of a serial port: everything that a host does with a COM port, done there.

#include <gtest/gtest.h>

#include "endtoend/Received.h"
#include "endtoend/win32/PipeInstrument.h"

namespace cqtest {
namespace {

constexpr const char* kCalibrated = "--calibrated --measure-time 1";

TEST(Pipe, ServesHostAfterHost) {
    const PipeInstrument instrument(kCalibrated);
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        const Handle handle(instrument.portName());
        ASSERT_NE(static_cast<CqHandle>(handle), nullptr);
        CqMeasurementRecord record;
        ASSERT_EQ(cqMeasureStandard(handle, &record), CQ_NO_ERROR);
        EXPECT_EQ(record.bytes[7], round + 1) << "the chart's patches in their order";
    }
}

TEST(Pipe, CarriesMoreThanItHolds) {
    const PipeInstrument instrument("--max-packet 1024");
    const Handle handle(instrument.portName());
    const auto sent = numberedRecords(600);
    ASSERT_EQ(cqDownloadStandards(handle, sent.data(), 600), CQ_NO_ERROR);
    std::vector<CqMeasurementRecord> read(600);
    ASSERT_EQ(cqUploadStandards(handle, read.data(), 0, CQ_ALL_RECORDS), CQ_NO_ERROR);
    EXPECT_EQ(read, sent);
}

TEST(Pipe, IsForOneHostAtATime) {
    const PipeInstrument instrument;
    const Handle first(instrument.portName());
    EXPECT_NE(static_cast<CqHandle>(first), nullptr);
    EXPECT_EQ(cqOpen(instrument.portName()), nullptr);
    EXPECT_EQ(cqOpen(R"(\\.\pipe\cqapi-test-no-such-pipe)"), nullptr);
    CqInstrumentStatus status;
    EXPECT_EQ(cqGetInstrumentStatus(first, &status), CQ_NO_ERROR);
}

TEST(Pipe, ThatBreaksIsARemovedDevice) {
    PipeInstrument instrument;
    const Handle handle(instrument.portName());
    CqInstrumentStatus status;
    instrument.press('u');
    std::uint32_t code = CQ_NO_ERROR;
    for (int call = 0; call < 1000 && code == CQ_NO_ERROR; ++call) {
        code = cqGetInstrumentStatus(handle, &status);
    }
    EXPECT_NE(code, CQ_NO_ERROR);
    EXPECT_EQ(cqGetInstrumentStatus(handle, &status), CQ_NO_SESSION);

    instrument.press('p');
    instrument.waitUntilServed();
    const Handle again(instrument.portName());
    EXPECT_EQ(cqGetInstrumentStatus(again, &status), CQ_NO_ERROR);
}

TEST(Pipe, IsClosedWhileACallWaits) {
    const PipeInstrument instrument("--calibrated --measure-time 10000");
    const CqHandle handle = cqOpen(instrument.portName());
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(closeWhileMeasuring(handle, [] { Sleep(200); }), CQ_NO_ERROR);
}

TEST(Pipe, BringsWhatIsMeasuredWithTheButton) {
    Received received;
    PipeInstrument instrument(kCalibrated);
    const Handle handle(instrument.portName());
    received.listenTo(handle);
    instrument.press('t');
    const auto measured = received.waitFor(1);
    ASSERT_EQ(measured.size(), 1U);
    EXPECT_FALSE(measured[0].first);
}

TEST(Pipe, LeadsToAnAdapter) {
    const PipeInstrument adapter("--adapter --calibrated --measure-time 1");
    CqBleSlave* slaves = nullptr;
    ASSERT_EQ(cqScanBleSlaves(adapter.portName(), &slaves), CQ_NO_ERROR);
    ASSERT_NE(slaves, nullptr);
    const std::string address = slaves[0].address;
    cqFree(slaves);
    const Handle handle(adapter.portName(), address.c_str());
    CqMeasurementRecord record;
    EXPECT_EQ(cqMeasureStandard(handle, &record), CQ_NO_ERROR);
    EXPECT_EQ(record.bytes[7], 1);
}

}  // namespace
}  // namespace cqtest
