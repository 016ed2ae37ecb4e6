#pragma once

#include <string_view>

namespace station {

/// A file of the page, as it is in page/.
struct PageFile {
    std::string_view path;  ///< "/page.js"
    std::string_view type;  ///< "text/javascript"
    std::string_view content;
};

/// \return null if there is none.
const PageFile* pageFile(std::string_view path);

}  // namespace station
