#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Failure.h"
#include "text/Json.h"

namespace cqtool {

/// What is not what was asked for: the message names its place and says what stands there.
class WrongMember : public Failure {
  public:
    using Failure::Failure;
};

/// Reads the members of a JSON object; null counts as not there. Throws WrongMember.
class JsonMembers {
  public:
    /// \param object must live as long as this does.
    /// \param where its place, such as "records.json: entries[2]"; empty if whoever catches adds it.
    explicit JsonMembers(const Json& object, std::string where = {});

    const std::string& where() const { return where_; }
    std::string placeOf(const char* name) const;

    /// Null if there is no such member.
    const Json* find(const char* name) const;
    /// Empty if there is none, as are the lists.
    std::string text(const char* name) const;
    std::vector<std::string> texts(const char* name) const;
    std::optional<std::uint64_t> count(const char* name) const;
    std::optional<double> number(const char* name) const;

    /// \param demand what the member must be: "must be a text".
    [[noreturn]] void refuse(const char* name, const std::string& demand) const;

  private:
    const Json& object_;
    std::string where_;
};

/// The object that a text is.
/// \param refuse throws; it is given what is wrong with the text: "is not JSON (at byte 3)".
Json parsedObject(std::string_view text, const std::function<void(const std::string&)>& refuse);

}  // namespace cqtool
