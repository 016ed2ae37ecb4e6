#include "adapter/Slave.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <utility>

namespace vi::adapter {
namespace {

using Json = nlohmann::json;

constexpr std::size_t kMaxName = 248;  // the limit of an advertisement
constexpr std::size_t kMaxAddress = 32;
constexpr std::size_t kMaxSerial = 15;
constexpr int kMinRssi = -127;
constexpr int kMaxRssi = -1;

/// Reads the fields of one entry; errors name the field.
class Entry {
  public:
    Entry(const Json& json, std::size_t index)
        : json_(json), where_("entry " + std::to_string(index + 1)) {
        if (!json.is_object()) {
            throw std::invalid_argument(where_ + " is not an object {...}");
        }
    }

    [[noreturn]] void fail(const std::string& field, const std::string& wanted) const {
        throw std::invalid_argument(where_ + ": \"" + field + "\" " + wanted);
    }

    void allowOnly(const std::set<std::string>& fields) const {
        for (const auto& item : json_.items()) {
            if (!fields.contains(item.key())) {
                fail(item.key(), "is not a field of an instrument");
            }
        }
    }

    void require(const char* field) const {
        if (!json_.contains(field)) {
            fail(field, "is missing");
        }
    }

    std::string text(const char* field, std::size_t max, const std::string& otherwise) const {
        const auto found = json_.find(field);
        if (found == json_.end()) {
            return otherwise;
        }
        const auto* const value = found->get_ptr<const Json::string_t*>();
        if (value == nullptr || value->empty() || value->size() > max) {
            fail(field, "must be a text of 1 to " + std::to_string(max) + " bytes");
        }
        return *value;
    }

    std::int64_t number(const char* field, std::int64_t min, std::int64_t max,
                        std::int64_t otherwise) const {
        const auto found = json_.find(field);
        if (found == json_.end()) {
            return otherwise;
        }
        // A number beyond int64 is kept unsigned or as a fraction, and is out of range here.
        const bool isWhole = found->is_number_integer() && (!found->is_number_unsigned() ||
                                                            found->get<std::uint64_t>() <= kLimit);
        if (!isWhole || found->get<std::int64_t>() < min || found->get<std::int64_t>() > max) {
            fail(field, "must be a whole number from " + std::to_string(min) + " to " +
                            std::to_string(max));
        }
        return found->get<std::int64_t>();
    }

    bool flag(const char* field, bool otherwise) const {
        const auto found = json_.find(field);
        if (found == json_.end()) {
            return otherwise;
        }
        if (!found->is_boolean()) {
            fail(field, "must be true or false");
        }
        return found->get<bool>();
    }

  private:
    static constexpr std::uint64_t kLimit = 0x7FFFFFFF;

    const Json& json_;
    std::string where_;
};

bool isHexDigit(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

bool isControl(char c) {
    return std::iscntrl(static_cast<unsigned char>(c)) != 0;
}

Slave readSlave(const Entry& entry, const Instrument::Settings& settings) {
    entry.allowOnly({"name", "address", "rssi", "calibrated", "standards", "samples", "serial"});
    for (const char* field : {"name", "address", "rssi"}) {
        entry.require(field);
    }
    Slave slave{.name = entry.text("name", kMaxName, {}),
                .address = entry.text("address", kMaxAddress, {}),
                .rssi = static_cast<int>(entry.number("rssi", kMinRssi, kMaxRssi, 0)),
                .instrument = settings};
    if (std::ranges::any_of(slave.name, isControl)) {
        entry.fail("name", "must not contain line ends or other control characters");
    }
    if (!std::ranges::all_of(slave.address, isHexDigit)) {
        entry.fail("address", "must be hexadecimal digits alone");
    }
    Instrument::Settings& instrument = slave.instrument;
    const auto count = [&](const char* field, std::uint32_t otherwise) {
        return static_cast<std::uint32_t>(entry.number(field, 0, settings.capacity, otherwise));
    };
    instrument.standards = count("standards", settings.standards);
    instrument.samples = count("samples", settings.samples);
    instrument.isCalibrated = entry.flag("calibrated", settings.isCalibrated);
    instrument.serial = entry.text("serial", kMaxSerial, settings.serial);
    return slave;
}

std::string upper(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

}  // namespace

std::vector<Slave> defaultSlaves(const Instrument::Settings& settings) {
    std::vector<Slave> slaves{{"Virtual 31 A", "C4BE84A1B2C3", -67, settings},
                              {"Virtual 31 B", "C4BE84A1B2C4", -52, settings},
                              {"Virtual 31 C", "C4BE84A1B2C5", -80, settings}};
    for (std::size_t i = 0; i < slaves.size(); ++i) {
        slaves[i].instrument.serial = "VI-00000" + std::to_string(i + 1);
    }
    return slaves;
}

std::vector<Slave> parseSlaves(std::string_view json, const Instrument::Settings& settings) {
    Json list;
    try {
        list = Json::parse(json);
    } catch (const Json::parse_error& error) {
        // Skips the parser's own numbering.
        const std::string what = error.what();
        throw std::invalid_argument("not JSON: " + what.substr(what.find("] ") + 2));
    }
    if (!list.is_array()) {
        throw std::invalid_argument("not a list [...] of instruments");
    }
    std::vector<Slave> slaves;
    std::set<std::string> addresses;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const Entry entry(list[i], i);
        Slave slave = readSlave(entry, settings);
        if (!addresses.insert(upper(slave.address)).second) {
            entry.fail("address", "is another instrument's already");
        }
        slaves.push_back(std::move(slave));
    }
    return slaves;
}

std::vector<Slave> readSlaves(const std::string& path, const Instrument::Settings& settings) {
    std::ifstream file(path, std::ios::binary);
    try {
        if (!file) {
            throw std::invalid_argument("cannot be read");
        }
        const std::string json{std::istreambuf_iterator<char>(file), {}};
        return parseSlaves(json, settings);
    } catch (const std::ios_base::failure&) {  // a folder can be opened, but not read
        throw std::invalid_argument(path + ": cannot be read");
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(path + ": " + error.what());
    }
}

}  // namespace vi::adapter
