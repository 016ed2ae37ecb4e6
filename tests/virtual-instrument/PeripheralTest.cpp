// A wireless instrument, from the far end of its link: packets worked out by hand.

#include <gmock/gmock.h>

#include "AdapterBench.h"

namespace vi::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

AdapterBench::Set stored() {
    AdapterBench::Set set;
    set.instrument.capacity = 3;
    set.instrument.standards = 2;
    set.instrument.samples = 3;  // of the first, the second, and the first standard
    return set;
}

std::size_t sizeOf(const std::string& reply) {
    return (reply.size() + 1) / 3;
}

TEST(Peripheral, AnswersEachCommand) {
    const std::string ok = " 02 00 4F 4B";
    const std::string fail = " 04 00 46 41 49 4C";
    const std::string inval = " 05 00 49 4E 56 41 4C";
    const std::string all = "FF FF FF FF";
    struct Case {
        std::string request;
        std::string reply;  // as it begins, behind the type and cmd of the request
    };
    const Case cases[] = {
        {"01 03 01 00 01", ok},
        {"01 03 01 00 02", inval},
        {"01 03 00 00", inval},
        {"01 04 01 00 00", " 00 01 56 4D 52 31 01 00 00 01"},
        {"01 04 01 00 01", " 00 01 56 4D 52 31 01 00 01 01"},
        {"01 04 01 00 02", inval},
        {"01 05 04 00 " + all, " 04 00 03 00 00 00"},
        {"01 05 04 00 00 00 00 00", " 04 00 02 00 00 00"},
        {"01 05 04 00 01 00 00 00", " 04 00 01 00 00 00"},
        {"01 05 04 00 02 00 00 00", inval},
        {"01 06 04 00 01 00 00 00", " 00 01 56 4D 52 31 01 00 00 02 02 00"},
        {"01 06 04 00 02 00 00 00", inval},
        {"01 07 08 00 00 00 00 00 01 00 00 00", " 00 01 56 4D 52 31 01 00 01 01 03 00"},
        {"01 07 08 00 " + all + " 01 00 00 00", " 00 01 56 4D 52 31 01 00 01 02 02 00"},
        {"01 07 08 00 01 00 00 00 01 00 00 00", inval},
        {"01 07 08 00 02 00 00 00 00 00 00 00", inval},
        {"01 08 02 00 11 22", inval},
        {"01 0A 08 00 00 00 00 00 00 00 00 00", ok},
        {"01 0A 08 00 00 00 00 00 01 00 00 00", inval},
        {"01 05 04 00 " + all, " 04 00 02 00 00 00"},
        {"01 09 04 00 05 00 00 00", inval},
        {"01 09 04 00 00 00 00 00", ok},
        {"02 01 00 00", " 04 00 01 00 00 00"},
        {"01 09 04 00 " + all, ok},
        {kCount, " 04 00 00 00 00 00"},
        {"02 00 00 00", " 01 00 01"},
        {"02 0E 00 00", " 01 00 64"},
        {"02 11 00 00", " 01 00 08"},
        {"02 03 00 00", " 0A 00 56 49 52 54"},
        {"02 04 00 00", " 09 00 56 49 2D 30 30 30 30 30 31"},
        {"02 0D 00 00", " F8 00 AE 47 61 3F"},
        {"02 17 06 00 54 49 4C 45 2D 37", ok},
        {"02 0C 00 00", " 06 00 54 49 4C 45 2D 37"},
        {"02 17 10 00 30 31 32 33 34 35 36 37 38 39 30 31 32 33 34 35", inval},
        {"02 18 08 00 10 20 30 40 50 60 70 00", ok},
        {"02 18 07 00 10 20 30 40 50 60 70", inval},
        {"02 0D 00 00", " F8 00 AE 47 61 3F"},
        {"02 63 00 00", fail},
        {"03 01 00 00", fail},
        {"01 02 00 00", ok},
    };
    AdapterBench bench(stored());
    bench.greeted();
    for (const Case& c : cases) {
        const std::string reply = bench.packet(c.request);
        EXPECT_THAT(reply, StartsWith(c.request.substr(0, 5) + c.reply)) << c.request;
        EXPECT_EQ(sizeOf(reply), 4U + get16(hex(reply), 2)) << "one packet, whole: " << c.request;
    }
}

TEST(Peripheral, RefusesWhatItCannotDoYet) {
    AdapterBench::Set set = stored();
    set.instrument.isCalibrated = false;
    AdapterBench bench(set);
    bench.greeted();
    EXPECT_EQ(bench.packet("01 04 01 00 00"), "01 04 04 00 46 41 49 4C");
    std::string write = "01 08 00 01";
    for (int i = 0; i < 256; ++i) {
        write += " 5A";
    }
    EXPECT_EQ(bench.packet(write), "01 08 02 00 4F 4B");
    EXPECT_EQ(bench.packet("01 06 04 00 02 00 00 00").substr(12, 8), "5A 5A 5A");
    EXPECT_EQ(bench.packet(write), "01 08 04 00 46 41 49 4C") << "full";
}

TEST(Peripheral, AnswersWhenItHasMeasured) {
    AdapterBench::Set set;
    set.instrument.measureTime = milliseconds(300);
    AdapterBench bench(set);
    bench.greeted();
    EXPECT_EQ(bench.packet("01 04 01 00 00", milliseconds(299)), "");
    EXPECT_EQ(sizeOf(AdapterBench::bytesOf(bench.after(milliseconds(1)))), 260U);
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
