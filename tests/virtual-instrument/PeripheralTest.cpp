// A wireless instrument, from the far end of its link: packets worked out by hand.

#include <gmock/gmock.h>

#include "AdapterBench.h"

namespace vi::test {
namespace {

using testing::HasSubstr;

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
    bench.greeted();
    for (const auto& [request, reply] : cases) {
        EXPECT_EQ(bench.packet(request), request.substr(0, 5) + reply) << request;
    }
}

/// Nothing but silence separates packets on this line: a notification that followed a reply at once
/// would be lost, and the reply with it.
TEST(Peripheral, TellsOfItsButtonOnlyWhileTheLineIsQuiet) {
    AdapterBench bench;
    EXPECT_EQ(bench.press(Kind::standard), Error::none);
    bench.linked();
    EXPECT_EQ(bench.press(Kind::standard), Error::none);
    EXPECT_TRUE(bench.after(milliseconds(1000)).empty()) << "nobody has greeted it";

    bench.packet(kHello);
    bench.press(Kind::standard);
    bench.press(Kind::trial);
    auto pieces = bench.after(milliseconds(1000));
    ASSERT_EQ(pieces.size(), 2U);
    EXPECT_EQ(pieces[0].at, milliseconds(50));
    EXPECT_EQ(pieces[0].text.substr(0, 4), std::string("\1\4\0\1", 4));
    EXPECT_EQ(pieces[1].at, milliseconds(100));
    EXPECT_EQ(pieces[1].text.substr(0, 4), std::string("\1\5\0\1", 4));

    bench.press(Kind::trial);
    bench.after(milliseconds(10));
    EXPECT_EQ(bench.packet(kCount), "") << "the reply keeps its distance, too";
    pieces = bench.after(milliseconds(1000));
    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_EQ(pieces[0].at, milliseconds(40));
    EXPECT_EQ(bench.packet("02 01 00 00"), "02 01 04 00 03 00 00 00") << "all were stored";
    EXPECT_THAT(bench.log(), HasSubstr("host < notification type=1 cmd=5"));

    EXPECT_EQ(bench.packet(kGoodbye), "01 02 02 00 4F 4B");
    bench.press(Kind::trial);
    EXPECT_TRUE(bench.after(milliseconds(1000)).empty()) << "it has said goodbye";
}

}  // namespace
}  // namespace vi::test
