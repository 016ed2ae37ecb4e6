#include "instrument/VirtualInstrument.h"

#include "Failure.h"

namespace cqtool {

class VirtualInstrument::Process {};

VirtualInstrument::VirtualInstrument(const std::vector<std::string>&) {
    throw UsageError(
        "--virtual needs a pseudo-terminal, which Windows has not. With a pair of connected COM "
        "ports, say COM8 and COM9, run\n"
        "    cq-virtual-instrument --com COM8\n"
        "in a window of its own and give cq the other end: --port COM9");
}

VirtualInstrument::~VirtualInstrument() = default;

}  // namespace cqtool
