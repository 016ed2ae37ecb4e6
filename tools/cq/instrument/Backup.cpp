#include "instrument/Backup.h"

#include <algorithm>
#include <cstring>

#include "Failure.h"
#include "instrument/Records.h"
#include "instrument/WhiteBoard.h"
#include "text/Json.h"
#include "text/Text.h"
#include "text/Time.h"

namespace cqtool {
namespace {

constexpr const char* kFormat = "cq-backup";
constexpr int kVersion = 1;
constexpr std::size_t kParameterCount = 256;

/// What an instrument answers that has no such thing: all else is a connection in trouble.
bool isRefusal(std::uint32_t code) {
    return code == CQ_EXECUTE_COMMAND_FAILED || code == CQ_INVALID_PARAMETER ||
           code == CQ_NOT_SUPPORTED;
}

void readParameters(Backup& backup, const Connection& connection, const BackupProgress& progress) {
    std::size_t refused = 0;
    for (std::size_t number = 0; number < kParameterCount; ++number) {
        progress("reading parameters", number, kParameterCount);
        std::uint32_t value = 0;
        const std::uint32_t code = cqGetMeasurementParameter(
            connection.handle(), static_cast<std::uint8_t>(number), &value);
        if (isRefusal(code)) {
            ++refused;
            continue;
        }
        if (code == CQ_RECEIVING_TIMEOUT && number == 0 && !connection.isInterrupted()) {
            backup.missing.push_back(failureText(code, Operation::readParameter));
            return;
        }
        connection.check(code, Operation::readParameter);
        backup.parameters[static_cast<std::uint8_t>(number)] = static_cast<std::uint8_t>(value);
    }
    if (refused > 0) {
        backup.missing.push_back(std::to_string(refused) +
                                 " of 256 measurement parameters: the instrument refused them");
    }
}

void readWhiteBoard(Backup& backup, const Connection& connection, const BackupProgress& progress) {
    progress("reading the white tile's values", 0, 1);
    CqWhiteBoardParameter parameter{};
    const std::uint32_t code = cqGetWhiteBoardParameter(connection.handle(), &parameter);
    if (isRefusal(code)) {
        backup.missing.push_back(failureText(code, Operation::readWhiteBoard));
        return;
    }
    connection.check(code, Operation::readWhiteBoard);
    backup.whiteBoard = parameter;
}

/// The bytes of a record, which order it among others.
std::string_view bytesOf(const CqMeasurementRecord& record) {
    return {reinterpret_cast<const char*>(record.bytes), sizeof record.bytes};
}

template <typename Record>
std::string hexOf(const Record& record) {
    std::uint8_t bytes[sizeof record];
    std::memcpy(bytes, &record, sizeof record);
    return hexText(bytes, sizeof bytes);
}

template <typename Record>
Record recordOf(const Json& json, const std::string& where) {
    std::uint8_t bytes[sizeof(Record)];
    if (!bytesOfHex(json.get_ref<const std::string&>(), bytes)) {
        throw Failure(where + " must be " + std::to_string(2 * sizeof bytes) +
                      " hexadecimal digits");
    }
    Record record;
    std::memcpy(&record, bytes, sizeof record);
    return record;
}

JsonObject deviceJson(const Backup& backup) {
    JsonObject json;
    for (const auto& [name, text] : textsOf(backup.device)) {
        json[name] = text;
    }
    json["bytes"] = hexOf(backup.device);
    return json;
}

void readMembers(Backup& backup, const Json& document, const std::string& source) {
    backup.time = document.at("time");
    backup.isWireless = document.at("connection") == "wireless";
    backup.device = recordOf<CqDeviceInfo>(document.at("device").at("bytes"), source + ": device");
    for (const Json& standard : document.at("standards")) {
        backup.standards.push_back(recordOf<CqMeasurementRecord>(
            standard, source + ": standards[" + std::to_string(backup.standards.size()) + "]"));
    }
    for (const Json& sample : document.at("samples")) {
        const Json& standard = sample.at("standard");
        backup.samples.push_back(
            {standard.is_null() ? std::nullopt : std::optional(standard.get<std::uint32_t>()),
             recordOf<CqMeasurementRecord>(
                 sample.at("record"),
                 source + ": samples[" + std::to_string(backup.samples.size()) + "]")});
    }
    const Json& parameters = document.at("parameters");
    for (std::size_t number = 0; number < kParameterCount; ++number) {
        const auto found = parameters.find(std::to_string(number));
        if (found == parameters.end()) {
            continue;
        }
        if (!found->is_number_unsigned() || *found >= kParameterCount) {
            throw Failure(source + ": parameter " + std::to_string(number) +
                          " must be a whole number from 0 to 255");
        }
        backup.parameters[static_cast<std::uint8_t>(number)] = found->get<std::uint8_t>();
    }
    if (const Json& whiteBoard = document.at("whiteBoard"); !whiteBoard.is_null()) {
        backup.whiteBoard =
            recordOf<CqWhiteBoardParameter>(whiteBoard.at("bytes"), source + ": whiteBoard");
    }
    backup.missing = document.at("missing").get<std::vector<std::string>>();
}

}  // namespace

Backup readSettings(Connection& connection, const BackupProgress& progress) {
    Backup backup;
    backup.time = nowText();
    backup.isWireless = connection.isWireless();
    backup.device = connection.deviceInfo();
    backup.standards =
        Storage(connection).read({}, 0, CQ_ALL_RECORDS, [&](std::size_t done, std::size_t total) {
            progress("reading standards", done, total);
        });
    if (backup.isWireless) {
        backup.missing.emplace_back("measurement parameters: a wireless instrument has none");
    } else {
        readParameters(backup, connection, progress);
    }
    readWhiteBoard(backup, connection, progress);
    return backup;
}

std::vector<Backup::Sample> readSamples(Connection& connection, std::size_t standards,
                                        const BackupProgress& progress) {
    const Storage storage(connection);
    const RecordList everything{.isStandards = false, .standard = {}};
    std::vector<Backup::Sample> samples;
    const std::uint32_t stored = storage.count(everything);
    const auto isReading = [&](std::size_t, std::size_t) {
        progress("reading samples", samples.size(), stored);
    };
    std::vector<CqMeasurementRecord> known;
    for (std::uint32_t standard = 0;
         connection.isWireless() && standard < standards && samples.size() < stored; ++standard) {
        isReading(0, 0);
        const RecordList list{.isStandards = false, .standard = standard};
        for (const CqMeasurementRecord& record : storage.read(list, 0, CQ_ALL_RECORDS, isReading)) {
            known.push_back(record);
            samples.push_back({standard, record});
        }
    }
    if (samples.size() < stored) {
        const auto all = storage.read(
            everything, 0, CQ_ALL_RECORDS,
            [&](std::size_t done, std::size_t total) { progress("reading samples", done, total); });
        for (const CqMeasurementRecord& record : recordsMissing(all, known)) {
            samples.push_back({std::nullopt, record});
        }
    }
    return samples;
}

std::vector<CqMeasurementRecord> recordsMissing(const std::vector<CqMeasurementRecord>& wanted,
                                                const std::vector<CqMeasurementRecord>& there) {
    std::map<std::string_view, std::size_t> left;
    for (const CqMeasurementRecord& record : there) {
        ++left[bytesOf(record)];
    }
    std::vector<CqMeasurementRecord> missing;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(missing),
                 [&left](const CqMeasurementRecord& record) {
                     const auto found = left.find(bytesOf(record));
                     const bool isThere = found != left.end() && found->second > 0;
                     if (isThere) {
                         --found->second;
                     }
                     return !isThere;
                 });
    return missing;
}

std::string textOf(const Backup& backup) {
    JsonList standards;
    for (const CqMeasurementRecord& record : backup.standards) {
        standards.push_back(hexOf(record));
    }
    JsonList samples;
    for (const Backup::Sample& sample : backup.samples) {
        samples.push_back({{"standard", sample.standard}, {"record", hexOf(sample.record)}});
    }
    JsonObject parameters;
    for (const auto& [number, value] : backup.parameters) {
        parameters[std::to_string(number)] = value;
    }
    std::optional<JsonObject> whiteBoard;
    if (backup.whiteBoard) {
        whiteBoard = whiteBoardJson(*backup.whiteBoard);
        (*whiteBoard)["bytes"] = hexOf(*backup.whiteBoard);
    }
    return pageOfJson({{"format", kFormat},
                       {"version", kVersion},
                       {"program", std::string("cq ") + CQAPI_VERSION_STRING},
                       {"time", backup.time},
                       {"connection", backup.isWireless ? "wireless" : "wired"},
                       {"device", deviceJson(backup)},
                       {"whiteBoard", whiteBoard},
                       {"parameters", std::move(parameters)},
                       {"missing", backup.missing},
                       {"standards", std::move(standards)},
                       {"samples", std::move(samples)}});
}

Backup backupOf(std::string_view content, const std::string& source) {
    const std::string advice = "give a file that cq backup has written";
    try {
        const Json document = Json::parse(content);
        if (!document.is_object() || document.value("format", Json()) != kFormat) {
            throw Failure(source + " is no backup", advice);
        }
        if (document.at("version") != kVersion) {
            throw Failure(source + " is a backup of version " + document.at("version").dump() +
                              ", this program reads version " + std::to_string(kVersion),
                          "use the version of cq that wrote it, or a later one");
        }
        Backup backup;
        readMembers(backup, document, source);
        return backup;
    } catch (const Json::exception& error) {
        const std::string text = error.what();
        const std::size_t end = text.find("] ");  // behind the error's number
        throw Failure(source + " is no whole backup: " +
                          (end == std::string::npos ? text : text.substr(end + 2)),
                      advice);
    }
}

}  // namespace cqtool
