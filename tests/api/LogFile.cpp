#include "api/LogFile.h"

#include <regex>

namespace ovk::test {

std::vector<std::string> LogFile::messages() const {
    static const std::regex kTime(R"(\[\d+:\d+:\d+\.\d+\])");
    const std::string all = text();
    std::vector<std::string> found;
    std::size_t begin = 0;
    for (std::sregex_iterator time(all.begin(), all.end(), kTime), end; time != end; ++time) {
        if (time->position() > 0) {
            found.push_back(all.substr(begin, time->position() - begin));
        }
        begin = time->position() + time->length();
    }
    if (!all.empty()) {
        found.push_back(all.substr(begin));
    }
    return found;
}

}  // namespace ovk::test
