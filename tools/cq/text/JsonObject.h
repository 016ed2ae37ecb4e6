#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// \file
/// JSON to be printed. nlohmann's type, whose header takes every file seconds to compile, is left to
/// the files that read JSON, and to the one that prints this.

namespace cqtool {

class JsonValue;

using JsonMember = std::pair<std::string, JsonValue>;
using JsonList = std::vector<JsonValue>;

/// Members in the order in which they are added.
class JsonObject {
  public:
    JsonObject() = default;
    JsonObject(std::initializer_list<JsonMember> members);

    /// The member with this name, null if it is new.
    JsonValue& operator[](std::string_view name);
    /// Sets all members of the other one.
    void update(const JsonObject& other);
    void erase(std::string_view name);

    const std::vector<JsonMember>& members() const { return members_; }

  private:
    std::vector<JsonMember> members_;
};

/// Not-a-number and infinities are printed as null.
class JsonValue {
  public:
    using Content = std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double,
                                 std::string, JsonList, JsonObject>;

    JsonValue(std::nullptr_t = nullptr);
    template <std::integral Number>
    JsonValue(Number number) : content_(widest(number)) {}
    JsonValue(double number);
    JsonValue(const char* text);
    JsonValue(std::string_view text);
    JsonValue(std::string text);
    JsonValue(JsonList list);
    template <class Element>
    JsonValue(const std::vector<Element>& list) : JsonValue(JsonList(list.begin(), list.end())) {}
    JsonValue(JsonObject object);
    JsonValue(const std::map<std::string, std::string>& members);
    JsonValue(std::initializer_list<JsonMember> members);
    /// Null for nothing.
    template <class Value>
    JsonValue(const std::optional<Value>& value)
        : JsonValue(value ? JsonValue(*value) : JsonValue()) {}

    /// A member of an object, which null becomes.
    JsonValue& operator[](std::string_view name);

    const Content& content() const { return content_; }

  private:
    template <std::integral Number>
    static auto widest(Number number) {
        if constexpr (std::same_as<Number, bool>) {
            return number;
        } else if constexpr (std::unsigned_integral<Number>) {
            return std::uint64_t{number};
        } else {
            return std::int64_t{number};
        }
    }

    Content content_;
};

/// The text; null for none.
JsonValue orNull(const std::string& text);

/// For people: indented, ended by a line feed.
std::string pageOfJson(const JsonValue& json);
/// One line, with its line feed.
std::string lineOfJson(const JsonValue& json);

}  // namespace cqtool
