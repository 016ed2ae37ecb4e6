#include "text/JsonObject.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>

#include "text/Json.h"

namespace cqtool {
namespace {

/// JSON itself escapes the control characters up to U+001F; this does it with U+007F to U+009F.
std::string withoutControls(const std::string& json) {
    std::string text;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const bool isTwoBytes = json[i] == '\xC2' && i + 1 < json.size();
        const auto code = static_cast<unsigned char>(json[isTwoBytes ? i + 1 : i]);
        if (json[i] == '\x7F' || (isTwoBytes && code < 0xA0)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(code));
            text += escape;
            i += isTwoBytes ? 1 : 0;
        } else {
            text += json[i];
        }
    }
    return text;
}

std::string printed(const JsonValue& json, int indent) {
    return withoutControls(
               readable(json).dump(indent, ' ', false, Json::error_handler_t::replace)) +
           '\n';
}

auto positionOf(auto& members, std::string_view name) {
    return std::find_if(members.begin(), members.end(),
                        [name](const JsonMember& member) { return member.first == name; });
}

}  // namespace

JsonObject::JsonObject(std::initializer_list<JsonMember> members) : members_(members) {}

JsonValue& JsonObject::operator[](std::string_view name) {
    const auto found = positionOf(members_, name);
    return found != members_.end() ? found->second : members_.emplace_back(name, nullptr).second;
}

void JsonObject::update(const JsonObject& other) {
    for (const auto& [name, value] : other.members_) {
        (*this)[name] = value;
    }
}

void JsonObject::erase(std::string_view name) {
    if (const auto found = positionOf(members_, name); found != members_.end()) {
        members_.erase(found);
    }
}

JsonValue::JsonValue(std::nullptr_t) : content_(nullptr) {}
JsonValue::JsonValue(double number) : content_(number) {}
JsonValue::JsonValue(const char* text) : content_(std::string(text)) {}
JsonValue::JsonValue(std::string_view text) : content_(std::string(text)) {}
JsonValue::JsonValue(std::string text) : content_(std::move(text)) {}
JsonValue::JsonValue(JsonList list) : content_(std::move(list)) {}
JsonValue::JsonValue(JsonObject object) : content_(std::move(object)) {}
JsonValue::JsonValue(std::initializer_list<JsonMember> members) : content_(JsonObject(members)) {}

JsonValue::JsonValue(const std::map<std::string, std::string>& members) : content_(JsonObject()) {
    for (const auto& [name, text] : members) {
        (*this)[name] = text;
    }
}

JsonValue& JsonValue::operator[](std::string_view name) {
    if (std::holds_alternative<std::nullptr_t>(content_)) {
        content_ = JsonObject();
    }
    return std::get<JsonObject>(content_)[name];
}

JsonValue orNull(const std::string& text) {
    return text.empty() ? JsonValue() : JsonValue(text);
}

Json readable(const JsonValue& value) {
    return std::visit(
        [](const auto& content) -> Json {
            using Content = std::decay_t<decltype(content)>;
            if constexpr (std::is_same_v<Content, JsonList>) {
                Json list = Json::array();
                for (const JsonValue& element : content) {
                    list.push_back(readable(element));
                }
                return list;
            } else if constexpr (std::is_same_v<Content, JsonObject>) {
                Json object = Json::object();
                for (const auto& [name, member] : content.members()) {
                    object[name] = readable(member);
                }
                return object;
            } else {
                return content;
            }
        },
        value.content());
}

std::string pageOfJson(const JsonValue& json) {
    return printed(json, 2);
}

std::string lineOfJson(const JsonValue& json) {
    return printed(json, -1);
}

}  // namespace cqtool
