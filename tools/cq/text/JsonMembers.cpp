#include "text/JsonMembers.h"

#include <algorithm>
#include <utility>

namespace cqtool {
namespace {

constexpr std::size_t kLongestShown = 60;  // in bytes

}  // namespace

JsonMembers::JsonMembers(const Json& object, std::string where)
    : object_(object), where_(std::move(where)) {
    if (!object.is_object()) {
        throw WrongMember((where_.empty() ? "it" : where_) + " must be an object");
    }
}

std::string JsonMembers::placeOf(const char* name) const {
    return (where_.empty() ? "\"" : where_ + ": \"") + name + '"';
}

const Json* JsonMembers::find(const char* name) const {
    const auto found = object_.find(name);
    return found == object_.end() || found->is_null() ? nullptr : &*found;
}

std::string JsonMembers::text(const char* name) const {
    const Json* const member = find(name);
    if (member == nullptr) {
        return {};
    }
    if (!member->is_string()) {
        refuse(name, "must be a text");
    }
    return member->get<std::string>();
}

std::vector<std::string> JsonMembers::texts(const char* name) const {
    const Json* const member = find(name);
    if (member == nullptr) {
        return {};
    }
    const auto isText = [](const Json& element) { return element.is_string(); };
    if (!member->is_array() || !std::all_of(member->begin(), member->end(), isText)) {
        refuse(name, "must be a list of texts");
    }
    return member->get<std::vector<std::string>>();
}

std::optional<std::uint64_t> JsonMembers::count(const char* name) const {
    const Json* const member = find(name);
    if (member == nullptr) {
        return std::nullopt;
    }
    if (!member->is_number_unsigned()) {
        refuse(name, "must be a whole number from 0");
    }
    return member->get<std::uint64_t>();
}

std::optional<double> JsonMembers::number(const char* name) const {
    const Json* const member = find(name);
    if (member == nullptr) {
        return std::nullopt;
    }
    if (!member->is_number()) {
        refuse(name, "must be a number");
    }
    return member->get<double>();
}

void JsonMembers::refuse(const char* name, const std::string& demand) const {
    const Json* const member = find(name);
    const std::string found = member != nullptr ? member->dump() : std::string();
    const bool isShown = !found.empty() && found.size() <= kLongestShown;
    throw WrongMember(placeOf(name) + ' ' + demand + (isShown ? ", not " + found : ""));
}

Json parsedObject(std::string_view text, const std::function<void(const std::string&)>& refuse) {
    Json document;
    try {
        document = Json::parse(text);
    } catch (const Json::parse_error& error) {
        refuse("is not JSON (at byte " + std::to_string(error.byte) + ")");
    } catch (const Json::exception&) {
        refuse("holds a number that is too large");
    }
    if (!document.is_object()) {
        refuse("is not a JSON object");
    }
    return document;
}

}  // namespace cqtool
