#include <cmath>
#include <limits>

#include "Samples.h"
#include "text/Numbers.h"
#include "text/Text.h"
#include "text/TextTable.h"
#include "text/Time.h"

namespace cqtool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(Numbers, AreTheWholeText) {
    const struct {
        const char* text;
        std::optional<double> value;
    } cases[] = {
        {"0.061", 0.061}, {" 42\t", 42.0}, {"+7", 7.0}, {"-1.5e-3", -0.0015},
        {".5", 0.5},      {"", {}},        {" ", {}},   {"1.5x", {}},
        {"1 5", {}},      {"0x10", {}},    {"nan", {}}, {"inf", {}},
        {"1e999", {}},    {"--1", {}},     {"+-1", {}}, {"1,5", {}},
    };
    for (const auto& [text, value] : cases) {
        EXPECT_EQ(parseNumber(text), value) << "'" << text << "'";
    }
}

TEST(Numbers, AreWrittenWithTheDecimalsAskedFor) {
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        double value;
        int decimals;
        const char* text;
    } cases[] = {
        {37.546, 2, "37.55"},     {-0.001, 2, "0.00"},  {-0.004, 3, "-0.004"},  {7, 0, "7"},
        {std::nan(""), 2, "nan"}, {infinity, 1, "inf"}, {-infinity, 1, "-inf"},
    };
    for (const auto& [value, decimals, text] : cases) {
        EXPECT_EQ(fixed(value, decimals), text);
    }
    EXPECT_EQ(fixed(std::numeric_limits<double>::max(), 2).size(), 309 + 3);
}

TEST(Numbers, OfAFloatKeepItsShortForm) {
    EXPECT_EQ(digitsOf(0.1), "0.1");
    EXPECT_EQ(digitsOf(3600), "3600");
    EXPECT_EQ(digitsOf(std::nan("")), "nan");
    EXPECT_EQ(shortest(0.061F), 0.061);
    EXPECT_NE(double{0.061F}, 0.061);
    EXPECT_EQ(static_cast<float>(shortest(0.1F + 0.2F)), 0.1F + 0.2F);
    EXPECT_TRUE(std::isnan(shortest(std::nanf(""))));
}

TEST(Text, OfAnInstrumentIsSafeToPrint) {
    const struct {
        std::string field;
        const char* text;
    } cases[] = {
        {std::string("CQ-1\0rest", 9), "CQ-1"},
        {"no end", "no end"},
        {"a\x1b[2Jb\n", "a?[2Jb?"},              // a terminal must not obey it
        {"gr\xC3\xBCn 10\xC2\xB0", "grün 10°"},  // UTF-8 stays
        {"gr\xFCn", "gr?n"},                     // Latin-1 is none
        {"\xC0\xAF\xED\xA0\x80", "?????"},       // overlong, surrogate
        {"\xC2\x9B", "??"},                      // a control character of 8 bits
        {"cut \xE2\x82", "cut ??"},
        {"\xF0\x9F\x8E\xA8\xF5\x80\x80\x80", "🎨????"},
    };
    for (const auto& [field, text] : cases) {
        EXPECT_EQ(printableText(field.data(), field.size()), text);
    }
}

TEST(Text, SplitsIntoArgumentsAsAShellDoes) {
    EXPECT_THAT(splitArguments("  --seed 7\t--serial \"A B\" "),
                ElementsAre("--seed", "7", "--serial", "A B"));
    EXPECT_THAT(splitArguments(R"('it''s' "say \"so\"" a\ b '' '\n')"),
                ElementsAre("its", "say \"so\"", "a b", "", "\\n"));
    EXPECT_THAT(splitArguments(" "), IsEmpty());
    EXPECT_THAT(thrownBy<UsageError>([] { splitArguments("--serial 'A B"); }),
                HasSubstr("does not end"));
}

TEST(Text, TakesAsManyColumnsAsATerminalShows) {
    EXPECT_EQ(displayWidth("ΔE*ab"), 5U);
    EXPECT_EQ(displayWidth("\x1b[48;2;1;2;3m    \x1b[0m!"), 5U);
    EXPECT_EQ(displayWidth("\x1b[48;2"), 0U);
}

TEST(TextTable, AlignsCellsByTheirDisplayedWidth) {
    TextTable table(
        {{"name", TextTable::Align::left}, {"ΔE"}, {"note", TextTable::Align::left, 6}});
    const TextTable::Row first{"\x1b[2mblue flower\x1b[0m", "0.25", "x"};
    table.fit(first);
    EXPECT_EQ(table.titles(), "name           ΔE  note");
    EXPECT_EQ(table.line(first), "\x1b[2mblue flower\x1b[0m  0.25  x");
    EXPECT_EQ(table.line({"red", "12.50", ""}), "red          12.50");
    EXPECT_EQ(table.line({"red"}), "red");
}

TEST(Time, IsReadInItsOwnAndOthersForms) {
    EXPECT_EQ(secondsOf(timeText(1'700'000'000)), 1'700'000'000);
    EXPECT_EQ(secondsOf("2024-02-29T00:30:00.25+02:00"), secondsOf("2024-02-28T22:30:00Z"));
    for (const char* wrong : {"", "2024-05-01", "2024-05-01T10:00:00", "2023-02-29T10:00:00Z",
                              "2024-05-01T24:00:00Z", "2024-05-01T10:00:00+2", "1.5.2024 10:00"}) {
        EXPECT_FALSE(secondsOf(wrong)) << wrong;
    }
}

}  // namespace
}  // namespace cqtool
