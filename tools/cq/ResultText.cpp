#include "ResultText.h"

#include "cqapi/CQApi.h"
#include "Failure.h"

namespace cqtool {
namespace {

constexpr const char* kCalibrateFirst =
    "calibrate first: cq calibrate white, then cq calibrate black";

const char* nameOf(Operation operation) {
    switch (operation) {
        case Operation::readDeviceInfo:
            return "reading the device information";
        case Operation::readStatus:
            return "reading the status";
        case Operation::calibrateWhite:
            return "calibrating on white";
        case Operation::calibrateBlack:
            return "calibrating on black";
        case Operation::measureStandard:
            return "measuring a standard";
        case Operation::measureTrial:
            return "measuring a trial";
        case Operation::listenForMeasurements:
            return "listening for measurements";
        case Operation::computeColor:
            return "computing a colour";
        case Operation::scan:
            return "scanning for wireless instruments";
        case Operation::countRecords:
            return "counting the stored records";
        case Operation::readStandards:
            return "reading stored standards";
        case Operation::readSamples:
            return "reading stored samples";
        case Operation::writeStandards:
            return "writing standards";
        case Operation::deleteStandard:
            return "deleting a standard";
        case Operation::deleteSample:
            return "deleting a sample";
        case Operation::deleteAllRecords:
            return "deleting all records";
        case Operation::readWhiteBoard:
            return "reading the white-board parameter";
        case Operation::writeWhiteBoard:
            return "writing the white-board parameter";
        case Operation::readParameter:
            return "reading a measurement parameter";
        case Operation::writeParameter:
            return "writing a measurement parameter";
    }
    return "the operation";
}

/// What helps if an instrument refuses this operation, as far as its host can know.
const char* adviceForRefusal(Operation operation) {
    switch (operation) {
        case Operation::measureStandard:
        case Operation::measureTrial:
            return "calibrate first: cq calibrate white, then cq calibrate black; an instrument "
                   "that is calibrated refuses while it is busy or shows a menu: wait and repeat; "
                   "its own error number is in the log that --debug-log writes";
        case Operation::calibrateWhite:
            return "put the instrument on its white tile, aperture flat and clean, and calibrate "
                   "again";
        case Operation::calibrateBlack:
            return "put the instrument on its black trap and calibrate again";
        default:
            return "the instrument refused; its own error number is in the log that --debug-log "
                   "writes";
    }
}

/// A scan involves only the adapter: no instrument takes part in its failures.
std::string adviceForScan(std::uint32_t code) {
    switch (code) {
        case CQ_FAIL_TO_OPEN:
            return "plug the adapter in, end any other program that uses its port, and check the "
                   "port's name";
        case CQ_SYSTEM_ERROR:
            return "no adapter answers on this port: check that it is the adapter's; unplug the "
                   "adapter, plug it in again and repeat the scan";
        case CQ_INVALID_PARAMETER:
            return "name the adapter's port with --adapter";
        default:
            return "unplug the adapter, plug it in again and repeat the scan";
    }
}

}  // namespace

std::string advice(std::uint32_t code, Operation operation) {
    if (operation == Operation::scan) {
        return adviceForScan(code);
    }
    switch (code) {
        case CQ_CANNOT_FOUND_DEVICE:
        case CQ_FAIL_TO_OPEN:
            return "plug the instrument in and switch it on, or name its port with --port";
        case CQ_DEVICE_IS_CLOSED:
            return "the port is gone: check the cable, plug the instrument in again and repeat the "
                   "command";
        case CQ_NO_SESSION:
            return "the instrument has ended the connection: switch it on and repeat the command";
        case CQ_DEVICE_IS_BUSY:
            return "wait until the instrument has finished and repeat the command; end any other "
                   "program that uses it";
        case CQ_RECEIVING_TIMEOUT:
            return "the instrument did not answer in time: wake it, bring it near the adapter and "
                   "repeat the command";
        case CQ_SENDING_TIMEOUT:
            return "the instrument did not answer in time: wake it, check the cable and repeat the "
                   "command";
        case CQ_EXECUTE_COMMAND_FAILED:
            return adviceForRefusal(operation);
        case CQ_UNCALIBRATED:
            return kCalibrateFirst;
        case CQ_FAIL_TO_CALIBRATE:
            return "clean the tile and the aperture, place the instrument again and recalibrate";
        case CQ_THE_STORAGE_IS_FULL:
        case CQ_NO_ENOUGH_STORAGE:
            return "list what is stored with cq standards list, and make room with cq standards "
                   "delete";
        case CQ_INVALID_PACKET:
        case CQ_UNEXPECTED_COMMAND:
            return "repeat the command; if the answer stays wrong, the library does not know this "
                   "model of instrument: --debug-log records what it sent";
        case CQ_INVALID_PARAMETER:
            return "the instrument has no such index or value: see with cq standards list and cq "
                   "samples list what is stored";
        case CQ_NOT_SUPPORTED:
            return "the instrument or its kind of connection cannot do this, or the connection has "
                   "been closed";
        default:
            return "repeat the command with --debug-log and read the log beside the library";
    }
}

std::string failureText(std::uint32_t code, Operation operation) {
    return std::string(nameOf(operation)) + " failed: " + cqGetResultText(code) + " (" +
           std::to_string(code) + ")";
}

void check(std::uint32_t code, Operation operation) {
    if (code != CQ_NO_ERROR) {
        throw Failure(failureText(code, operation), advice(code, operation));
    }
}

}  // namespace cqtool
