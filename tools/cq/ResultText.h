#pragma once

#include <cstdint>
#include <string>

namespace cqtool {

/// The operation that gave a result code.
enum class Operation {
    readDeviceInfo,
    readStatus,
    calibrateWhite,
    calibrateBlack,
    measureStandard,
    measureTrial,
    listenForMeasurements,
    computeColor,
    scan,
    countRecords,
    readStandards,
    readSamples,
    writeStandards,
    deleteStandard,
    deleteSample,
    deleteAllRecords,
    readWhiteBoard,
    writeWhiteBoard,
    readParameter,
    writeParameter,
};

/// What the user can do about this code from this operation. Never empty for a failure.
std::string advice(std::uint32_t code, Operation operation);

/// What failed, with the code's text and number, for a Failure.
std::string failureText(std::uint32_t code, Operation operation);

/// Throws a Failure with operation, text, code and advice unless the code is CQ_NO_ERROR.
void check(std::uint32_t code, Operation operation);

}  // namespace cqtool
