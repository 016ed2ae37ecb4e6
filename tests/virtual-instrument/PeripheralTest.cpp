// A wireless instrument, from the far end of its link: packets worked out by hand.

#include <gmock/gmock.h>

#include "AdapterBench.h"

namespace vi::test {
namespace {

AdapterBench::Set stored() {
    AdapterBench::Set set;
    set.instrument.capacity = 3;
    set.instrument.standards = 2;
    set.instrument.samples = 3;  // of the first, the second, and the first standard
    return set;
}

/// What the library asks for and gets is seen in its own tests: this is what it does not ask for.
TEST(Peripheral, RefusesWhatIsWrong) {
    const std::string fail = " 04 00 46 41 49 4C";
    const std::string inval = " 05 00 49 4E 56 41 4C";
    const std::pair<std::string, std::string> cases[] = {
        {"01 03 01 00 02", inval},
        {"01 03 00 00", inval},
        {"01 04 01 00 02", inval},
        {"01 05 04 00 02 00 00 00", inval},
        {"01 06 04 00 02 00 00 00", inval},
        {"01 07 08 00 01 00 00 00 01 00 00 00", inval},
        {"01 07 08 00 02 00 00 00 00 00 00 00", inval},
        {"01 08 02 00 11 22", inval},
        {"01 0A 08 00 00 00 00 00 02 00 00 00", inval},
        {"01 09 04 00 05 00 00 00", inval},
        {"02 17 10 00 30 31 32 33 34 35 36 37 38 39 30 31 32 33 34 35", inval},
        {"02 18 07 00 10 20 30 40 50 60 70", inval},
        {"02 63 00 00", fail},
        {"03 01 00 00", fail},
    };
    AdapterBench bench(stored());
    bench.write("AT+CT=C4BE84A1B2C3\r\n");
    bench.packet("01 01 00 00");
    for (const auto& [request, reply] : cases) {
        EXPECT_EQ(bench.packet(request), request.substr(0, 5) + reply) << request;
    }
}

}  // namespace
}  // namespace vi::test
