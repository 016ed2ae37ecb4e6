#include "Publisher.h"

#include "Failure.h"

namespace station {

struct Publisher::Impl {};

Publisher::Publisher(const Broker&, std::string, const std::filesystem::path&, Jobs&,
                     const States&) {
    throw cqtool::Failure("--mqtt is not there on Windows",
                          "run the station on Linux, or leave --mqtt out");
}

Publisher::~Publisher() = default;

}  // namespace station
