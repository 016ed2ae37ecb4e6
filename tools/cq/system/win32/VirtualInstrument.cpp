#include "instrument/VirtualInstrument.h"

#include "Failure.h"

namespace cqtool {

class VirtualInstrument::Process {};

VirtualInstrument::VirtualInstrument(Kind kind, const std::vector<std::string>&) {
    const bool isAdapter = kind == Kind::adapter;
    throw UsageError(
        std::string(
            "--virtual needs a pseudo-terminal, which Windows has not. With a pair of connected "
            "COM ports, say COM8 and COM9, run\n"
            "    cq-virtual-instrument --com COM8") +
        (isAdapter ? " --adapter" : "") + "\nin a window of its own and give cq the other end: " +
        (isAdapter ? "--adapter" : "--port") + " COM9");
}

VirtualInstrument::~VirtualInstrument() = default;

}  // namespace cqtool
