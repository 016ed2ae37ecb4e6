#pragma once

#include <string>
#include <string_view>

namespace cqtool {

/// The content of a file as UTF-8, without a byte-order mark: as it is if it is valid, otherwise
/// taken for Latin-1.
std::string utf8Of(std::string_view content);

/// UTF-8 text in the encoding that older programs expect: Latin-1 if that has all its characters
/// and utf8Of() gives the text back, otherwise UTF-8.
std::string latin1Of(const std::string& text);

}  // namespace cqtool
