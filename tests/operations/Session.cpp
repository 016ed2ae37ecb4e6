#include "operations/Session.h"

#include <cstring>

#include "endtoend/NumberedRecords.h"
#include "operations/Contents.h"

namespace cqtest {
namespace {

std::vector<Held> measured(std::uint32_t count) {
    std::vector<Held> records;
    for (std::uint32_t number = 1; number <= count; ++number) {
        records.push_back({true, number});
    }
    return records;
}

}  // namespace

bool Held::is(const CqMeasurementRecord& record, RecordKind kind) const {
    return isMeasured ? isMeasuredRecord(record, kind, number)
                      : isSame(record, numberedRecord(number));
}

Model::Model(std::uint32_t standardCount, std::uint32_t sampleCount)
    : standards(measured(standardCount)),
      samples(measured(sampleCount)),
      lastStandard(standardCount),
      lastTrial(sampleCount),
      whiteBoard(firstWhiteBoard()) {}

std::string Session::options() const {
    const auto option = [](const char* name, std::size_t value) {
        return std::string(name) + std::to_string(value);
    };
    return std::string(isWired() ? "" : "--adapter ") + "--calibrated" +
           option(" --capacity ", model.capacity) +
           option(" --standards ", model.standards.size()) +
           option(" --samples ", model.samples.size()) + ' ';
}

void Session::open() {
    // The first wireless instrument within reach has the serial number of the wired one.
    handle = isWired() ? cqOpen(instrument->portName())
                       : cqOpenByBleDongle(instrument->portName(), kFirstAddress);
}

void checkHeld(Session& s) {
    const auto areHeld = [](const std::vector<CqMeasurementRecord>& records,
                            const std::vector<Held>& held, RecordKind kind) {
        return std::ranges::equal(held, records, [kind](const Held& one, const auto& record) {
            return one.is(record, kind);
        });
    };
    std::vector<CqMeasurementRecord> standards(s.model.standards.size());
    std::vector<CqMeasurementRecord> samples(s.model.samples.size());
    const auto sizeOf = [](const auto& list) { return static_cast<std::uint32_t>(list.size()); };
    s.check(cqUploadStandards(s.handle, standards.data(), 0, sizeOf(standards)) == CQ_NO_ERROR &&
                areHeld(standards, s.model.standards, RecordKind::standard),
            "the standards are not those that must be there");
    s.check(cqUploadSamples(s.handle, samples.data(), s.isWired() ? 0 : CQ_ALL_RECORDS, 0,
                            sizeOf(samples)) == CQ_NO_ERROR &&
                areHeld(samples, s.model.samples, RecordKind::trial),
            "the samples are not those that must be there");
    CqWhiteBoardParameter board{};
    s.check(cqGetWhiteBoardParameter(s.handle, &board) == CQ_NO_ERROR &&
                isSame(board, expectedWhiteBoard(s, 0)),
            "the white-board parameter is not what must be there");
    for (std::size_t i = 0; s.isWired() && i < s.model.parameters.size(); ++i) {
        std::uint32_t value = 0;
        const auto number = static_cast<std::uint8_t>(i);
        s.check(cqGetMeasurementParameter(s.handle, number, &value) == CQ_NO_ERROR &&
                    value == s.model.parameters[i],
                "parameter " + std::to_string(i) + " is not what must be there");
    }
}

}  // namespace cqtest
