// A wired instrument through the C++ classes.

#include <gtest/gtest.h>

#include <type_traits>

#include "cqapi/CQApi.hpp"
#include "peer/VirtualInstrument.h"

namespace {

using cqapi::Instrument;
using cqapi::MeasurementRecord;
using cqtest::VirtualInstrument;

static_assert(std::is_nothrow_move_constructible_v<Instrument> &&
              std::is_nothrow_move_assignable_v<Instrument> &&
              !std::is_copy_constructible_v<Instrument>);

/// What the call throws; CQ_NO_ERROR when it throws nothing.
template <class Call>
cqapi::Error errorOf(Call call) {
    try {
        call();
    } catch (const cqapi::Error& error) {
        return error;
    }
    return {CQ_NO_ERROR, "nothing was thrown"};
}

/// Which of its kind each of a virtual instrument's records is.
std::vector<int> numbers(std::span<const MeasurementRecord> records) {
    std::vector<int> result;
    for (const MeasurementRecord& record : records) {
        result.push_back(record.bytes[8]);
    }
    return result;
}

MeasurementRecord filledRecord(std::uint8_t value) {
    MeasurementRecord record;
    std::fill(std::begin(record.bytes), std::end(record.bytes), value);
    return record;
}

TEST(CppInstrument, TellsWhatItIs) {
    const VirtualInstrument peer("--serial 123456789012345 --capacity 300 --battery 55");
    Instrument instrument = Instrument::open(peer.portName());
    EXPECT_TRUE(instrument.isOpen());
    EXPECT_EQ(instrument.portName(), peer.portName());
    const cqapi::DeviceInfo info = instrument.deviceInfo();
    const std::vector texts{info.infoText3, info.infoText11, info.infoText4,
                            info.infoText7, info.infoText6,  info.infoText12};
    EXPECT_EQ(texts, (std::vector<std::string>{"VIRTUAL-31", "HW 1.0", "123456789012345",
                                               "Virtual spectrophotometer", "FW 1.0", "WT-0001"}));
    EXPECT_EQ(info.standardCapacity, 300U);
    EXPECT_EQ(instrument.status().item14, 55);
}

TEST(CppInstrument, MeasuresOnceCalibrated) {
    const VirtualInstrument peer;
    Instrument instrument = Instrument::open(peer.portName());
    const cqapi::Error refused = errorOf([&] { instrument.measureStandard(); });
    EXPECT_EQ(refused.code(), CQ_EXECUTE_COMMAND_FAILED);
    EXPECT_STREQ(refused.what(), "cqMeasureStandard: execute command failed (8)");
    instrument.calibrateWhite();
    instrument.calibrateBlack();
    const MeasurementRecord standard = instrument.measureStandard();
    EXPECT_EQ(standard.bytes[6], 0);
    EXPECT_EQ(instrument.measureTrial().bytes[6], 1);

    const cqapi::Color lab =
        cqapi::colorFromSpectrum(cqapi::spectrumAt(standard, 64), ColorSpaceLab);
    EXPECT_NEAR(lab[0], 37.5, 0.5);  // the chart's first patch
    EXPECT_NO_THROW(cqapi::spectrumAt(standard, 132));
    EXPECT_THROW(cqapi::spectrumAt(standard, 133), std::invalid_argument);
}

TEST(CppInstrument, UploadsAsManyAsThereAre) {
    const VirtualInstrument peer("--standards 7 --samples 5");
    Instrument instrument = Instrument::open(peer.portName());
    EXPECT_EQ(instrument.sampleCount(3), 5U);
    EXPECT_EQ(numbers(instrument.uploadStandards(5)), (std::vector{6, 7}));
    EXPECT_EQ(numbers(instrument.uploadSamples(0, 3)), (std::vector{4, 5}));
    EXPECT_EQ(numbers(instrument.uploadSamples(0, 0, 2)), (std::vector{1, 2}));

    std::vector<MeasurementRecord> places(9, filledRecord(0xEE));
    instrument.uploadStandards(std::span(places).first<8>(), 1);
    EXPECT_EQ(numbers(places), (std::vector{2, 3, 4, 5, 6, 7, 0xEE, 0xEE, 0xEE}));
    instrument.uploadSamples(std::span(places).first<8>(), 0, 1);
    EXPECT_EQ(numbers(places), (std::vector{2, 3, 4, 5, 0, 0, 0, 0, 0xEE}));
}

TEST(CppInstrument, WritesAndDeletes) {
    const VirtualInstrument peer("--standards 2 --samples 3 --capacity 4");
    Instrument instrument = Instrument::open(peer.portName());
    const std::vector<MeasurementRecord> written{filledRecord(0x11), filledRecord(0x22)};
    instrument.downloadStandards({});
    instrument.downloadStandards(written);
    EXPECT_EQ(errorOf([&] { instrument.downloadStandards(written); }).code(), CQ_NO_ENOUGH_STORAGE);
    ASSERT_EQ(instrument.totalStandards(), 4U);
    instrument.deleteStandard(2);
    EXPECT_EQ(instrument.uploadStandards(2).at(0).bytes[255], 0x22);
    instrument.deleteSample(0, 0);
    EXPECT_EQ(instrument.totalSamples(), 2U);
    EXPECT_THROW(instrument.deleteStandard(0x7FFFFFFF), std::invalid_argument);
    EXPECT_EQ(instrument.totalStandards(), 3U) << "a wrong index must not erase everything";
    instrument.deleteAllRecords();
    EXPECT_EQ(instrument.totalStandards() + instrument.totalSamples(), 0U);
}

TEST(CppInstrument, KeepsParameters) {
    const VirtualInstrument peer;
    Instrument instrument = Instrument::open(peer.portName());
    instrument.setMeasurementParameter(200, 255);
    EXPECT_EQ(instrument.measurementParameter(200), 255);
    cqapi::WhiteBoardParameter parameter = instrument.whiteBoardParameter();
    EXPECT_EQ(cqapi::fieldText(parameter.text), "WT-0001");
    std::memcpy(parameter.text, "WT-0002", 8);
    parameter.secondBlock[123] ^= 0x55;
    instrument.setWhiteBoardParameter(parameter);
    const cqapi::WhiteBoardParameter again = instrument.whiteBoardParameter();
    EXPECT_EQ(std::memcmp(&again, &parameter, sizeof parameter), 0);
}

TEST(CppInstrument, OwnsItsHandle) {
    const VirtualInstrument first;
    const VirtualInstrument second;
    Instrument instrument = Instrument::open(first.portName());
    Instrument other = Instrument::open(second.portName());
    const CqHandle replaced = instrument.handle();
    const CqHandle kept = other.handle();
    instrument = std::move(other);
    EXPECT_FALSE(cqIsValidHandle(replaced)) << "what is assigned to is closed first";
    EXPECT_EQ(instrument.portName(), second.portName());
    EXPECT_FALSE(other.isOpen());  // NOLINT(bugprone-use-after-move): it is told to say so
    EXPECT_EQ(errorOf([&] { other.status(); }).code(), CQ_NOT_SUPPORTED);
    EXPECT_EQ(errorOf([&] { other.setMeasurementHandler([](bool, const auto&) {}); }).code(),
              CQ_NOT_SUPPORTED);
    EXPECT_NO_THROW(other.rethrowHandlerException());

    instrument.close();
    instrument.close();
    EXPECT_FALSE(cqIsValidHandle(kept));
    EXPECT_EQ(errorOf([&] { instrument.portName(); }).code(), CQ_NOT_SUPPORTED);
    EXPECT_TRUE(Instrument::open(second.portName()).isOpen()) << "the port is free again";
    EXPECT_TRUE(Instrument::open(second.portName()).isOpen()) << "and at the end of its scope, too";
    EXPECT_STREQ(errorOf([] { Instrument::open("/dev/no-such-port"); }).what(),
                 "opening an instrument on /dev/no-such-port: fail to open (2)");
}

}  // namespace
