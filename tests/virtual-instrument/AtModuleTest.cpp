// The adapter's module: what it answers to each command and when, and whose bytes the line carries.

#include <gmock/gmock.h>

#include "AdapterBench.h"

namespace vi::test {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(AtModule, AnswersEachCommand) {
    AdapterBench bench;
    const std::pair<std::string, std::string> cases[] = {
        {kEscape, "BY=00"},
        {"AT+EX=3C9A", "ERROR"},
        {"AT+EX=3C9A0E57B21D4F8861A7C5E09D2B74FX", "ERROR"},
        {"AT+DC", "+DISCONNECT"},
        {"AT+MT=1", "MT=1"},
        {"AT+BY=02", "BY=02"},
        {"AT+EXM=0", "OK"},
        {"AT+EXM", "ERROR"},
        {"AT+EXL=16", "EXL=16"},
        {"AT+EXL=", "ERROR"},
        {"AT+AR", "AR=1.2"},
        {"AT+CT=112233445566", "OK"},
        {"AT+XY", "ERROR"},
        {"hello\x1b[2J", "ERROR"},
        {"", "ERROR"},
    };
    for (const auto& [command, answer] : cases) {
        EXPECT_EQ(bench.at(command, milliseconds(19)), "") << command;
        EXPECT_EQ(AdapterBench::text(bench.after(milliseconds(1))), answer) << command;
    }
    EXPECT_THAT(bench.log(), HasSubstr("host > command AT+BY=02 : 41 54"));
    EXPECT_THAT(bench.log(), HasSubstr("host > command hello?[2J : 68"));
    EXPECT_THAT(bench.log(), HasSubstr("host < answer BY=02 : 42 59"));
}

TEST(AtModule, TellsOfTenAtMost) {
    AdapterBench::Set set;
    set.isScanReady = true;
    for (int i = 10; i < 22; ++i) {
        set.slaves.push_back({"M", "AABBCCDDEE" + std::to_string(i), -i, {}});
    }
    const std::string found = AdapterBench(set).at("AT+SR");
    EXPECT_THAT(found, HasSubstr("SR=9:M,AABBCCDDEE19,-19"));
    EXPECT_THAT(found, Not(HasSubstr("SR=10")));
}

TEST(AtModule, CarriesPacketsUntilTheEscape) {
    AdapterBench bench;
    EXPECT_EQ(bench.at("AT+CT=c4be84a1b2c4", milliseconds(1000)), "OK|+CONNECTED>>0xC4BE84A1B2C4");
    EXPECT_EQ(bench.at("AT+MT=1"), "") << "the instrument's, now";
    bench.after(milliseconds(400));
    EXPECT_EQ(bench.at(kEscape), "BY=00");
    EXPECT_EQ(bench.packet(kCount), "") << "the module's, now";
    EXPECT_EQ(bench.at("AT+CT=C4BE84A1B2C3", milliseconds(500)), "ERROR") << "the link is still up";
}

/// A killed host leaves a link and perhaps half a packet behind; the next one must get through.
TEST(AtModule, HearsTheEscapeBehindAnything) {
    for (const std::string left :
         {"", "01 02 00 00", "01 08 00 01 41 54 2B", "41 54 2B 45 58 3D"}) {
        AdapterBench bench;
        bench.greeted().packet(left);
        EXPECT_EQ(bench.at(kEscape), "BY=00") << left;
        EXPECT_FALSE(bench.protocol().hasSession());
        EXPECT_EQ(bench.at("AT+DC"), "+DISCONNECT") << left;
    }
}

TEST(AtModule, LosesItsLinkWhenTheLineOrTheInstrumentGoes) {
    AdapterBench bench;
    EXPECT_FALSE(bench.protocol().disconnect(kStart));
    bench.greeted();
    bench.protocol().lineLost();
    EXPECT_FALSE(bench.protocol().hasSession());
    EXPECT_EQ(bench.at("AT+MT=1"), "MT=1");

    bench.greeted();
    EXPECT_TRUE(bench.protocol().hasSession());
    EXPECT_TRUE(bench.protocol().disconnect(kStart));
    EXPECT_EQ(AdapterBench::text(bench.after(milliseconds(0))), "+DISCONNECTED");
    EXPECT_EQ(bench.packet(kCount), "");
    EXPECT_EQ(bench.at("AT+MT=1"), "MT=1") << "also behind what was meant for the instrument";
}

}  // namespace
}  // namespace vi::test
