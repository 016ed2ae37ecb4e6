#include "instrument/WhiteBoard.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "Failure.h"
#include "text/JsonMembers.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr const char* kText = "text";
constexpr const char* kReserved = "reserved";
constexpr const char* kFirstBlock = "firstBlock";
constexpr const char* kSecondBlock = "secondBlock";

constexpr float kMostFloat = std::numeric_limits<float>::max();

template <std::size_t size>
JsonList blockJson(const std::uint8_t (&block)[size]) {
    JsonList values;
    for (std::size_t at = 0; at < size; at += sizeof(float)) {
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < sizeof bits; ++i) {
            bits |= std::uint32_t{block[at + i]} << (8 * i);
        }
        const float value = std::bit_cast<float>(bits);
        values.push_back(shortest(value));
    }
    return values;
}

/// Reads the members of a document; errors name the file and the member.
class BoardReader {
  public:
    BoardReader(std::string_view content, const std::string& source)
        : source_(source),
          document_(
              parsedObject(content, [this](const std::string& problem) { refuse(problem); })) {}

    template <std::size_t size>
    void readText(char (&field)[size]) const {
        const Json& text = member(kText);
        if (!text.is_string() || text.get_ref<const std::string&>().size() >= size) {
            refuse(std::string("must give '") + kText + "' as a text of at most " +
                   std::to_string(size - 1) + " bytes");
        }
        const auto& value = text.get_ref<const std::string&>();
        std::copy(value.begin(), value.end(), field);
    }

    template <std::size_t size>
    void readBytes(const char* name, std::uint8_t (&field)[size]) const {
        if (!document_.contains(name)) {
            return;
        }
        const Json& bytes = array(name, size);
        for (std::size_t i = 0; i < size; ++i) {
            const bool isByte = bytes[i].is_number_unsigned() && bytes[i] <= 0xFFU;
            if (!isByte) {
                refuse(placeOf(name, i) + " must be a whole number from 0 to 255");
            }
            field[i] = bytes[i].get<std::uint8_t>();
        }
    }

    template <std::size_t size>
    void readBlock(const char* name, std::uint8_t (&field)[size]) const {
        const Json& values = array(name, size / sizeof(float));
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double value = values[i].is_number() ? values[i].get<double>() : HUGE_VAL;
            // The shortest decimal form of the largest float is slightly above it.
            if (std::abs(value) > shortest(kMostFloat)) {
                refuse(placeOf(name, i) + " must be a number that a 32-bit float can hold");
            }
            const double most = kMostFloat;
            const auto bits =
                std::bit_cast<std::uint32_t>(static_cast<float>(std::clamp(value, -most, most)));
            for (std::size_t byte = 0; byte < sizeof bits; ++byte) {
                field[sizeof bits * i + byte] = static_cast<std::uint8_t>(bits >> (8 * byte));
            }
        }
    }

  private:
    [[noreturn]] void refuse(const std::string& problem) const {
        throw Failure("the white-board parameter " + source_ + ": " + problem,
                      "give a file written by cq whiteboard get");
    }

    static std::string placeOf(const char* name, std::size_t index) {
        return std::string(name) + "[" + std::to_string(index) + "]";
    }

    const Json& member(const char* name) const {
        const auto found = document_.find(name);
        if (found == document_.end()) {
            refuse(std::string("has no '") + name + "'");
        }
        return *found;
    }

    const Json& array(const char* name, std::size_t size) const {
        const Json& values = member(name);
        if (!values.is_array() || values.size() != size) {
            refuse(std::string("'") + name + "' must be a list of " + std::to_string(size) +
                   " numbers");
        }
        return values;
    }

    const std::string& source_;
    Json document_;
};

}  // namespace

JsonObject whiteBoardJson(const CqWhiteBoardParameter& parameter) {
    return {{kText, printableText(parameter.text, sizeof parameter.text)},
            {kReserved, JsonList(std::begin(parameter.reserved), std::end(parameter.reserved))},
            {kFirstBlock, blockJson(parameter.firstBlock)},
            {kSecondBlock, blockJson(parameter.secondBlock)}};
}

CqWhiteBoardParameter whiteBoardOfJson(std::string_view content, const std::string& source) {
    const BoardReader reader(content, source);
    CqWhiteBoardParameter parameter{};
    reader.readText(parameter.text);
    reader.readBytes(kReserved, parameter.reserved);
    reader.readBlock(kFirstBlock, parameter.firstBlock);
    reader.readBlock(kSecondBlock, parameter.secondBlock);
    return parameter;
}

std::string whiteBoardBytes(const CqWhiteBoardParameter& parameter) {
    std::string bytes(sizeof parameter, '\0');
    std::memcpy(bytes.data(), &parameter, sizeof parameter);
    return bytes;
}

CqWhiteBoardParameter whiteBoardOfBytes(std::string_view content, const std::string& source) {
    CqWhiteBoardParameter parameter{};
    if (content.size() != sizeof parameter) {
        throw Failure("the white-board parameter " + source + " has " +
                          counted(content.size(), "bytes") + ", it must have 280",
                      "give a file written by cq whiteboard get; JSON ends in .json");
    }
    std::memcpy(&parameter, content.data(), sizeof parameter);
    return parameter;
}

}  // namespace cqtool
