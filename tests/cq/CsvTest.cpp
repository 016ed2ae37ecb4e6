#include <ctime>
#include <sstream>

#include "Samples.h"
#include "text/Csv.h"

namespace cqtool {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

CsvTable tableOf(const std::string& text) {
    std::istringstream stream(text);
    return readCsv(stream, "colours.csv");
}

std::vector<std::vector<std::string>> fieldsOf(const std::string& text) {
    std::vector<std::vector<std::string>> fields;
    for (const CsvRow& row : tableOf(text).rows) {
        fields.push_back(row.fields);
    }
    return fields;
}

TEST(Csv, FindsItsDelimiter) {
    const struct {
        const char* text;
        char delimiter;
    } cases[] = {
        {"a,b c,d\n", ','},    {"a;1,5;2,5\n", ';'},   {"a\t1,5\t2\n", '\t'},
        {"50 -20  30\n", ' '}, {"\"a;b\",1,2\n", ','}, {"# a;b\n\n1,2\n", ','},
    };
    for (const auto& [text, delimiter] : cases) {
        EXPECT_EQ(tableOf(text).delimiter, delimiter) << text;
    }
    EXPECT_TRUE(tableOf("a;1,5\n").mayHaveDecimalComma());
    EXPECT_FALSE(tableOf("a,1.5\n").mayHaveDecimalComma());
}

TEST(Csv, ReadsFields) {
    using Fields = std::vector<std::vector<std::string>>;
    const struct {
        const char* text;
        Fields fields;
    } cases[] = {
        {"a,b\r\nc,d", Fields{{"a", "b"}, {"c", "d"}}},
        {"\xEF\xBB\xBF"
         "a, b ,\n",
         Fields{{"a", "b", ""}}},
        {"\"x, y\",\"say \"\"so\"\"\"\n", Fields{{"x, y", "say \"so\""}}},
        {"\"two\nlines\" ,1\n2,3\n", Fields{{"two\nlines", "1"}, {"2", "3"}}},
        {"  50   -20 30 \n 1 2 3\n", Fields{{"50", "-20", "30"}, {"1", "2", "3"}}},
        {"a\t\tb\n", Fields{{"a", "", "b"}}},
        {"\n# note\n  \n", Fields{}},
        {"", Fields{}},
    };
    for (const auto& [text, fields] : cases) {
        EXPECT_EQ(fieldsOf(text), fields) << text;
    }
}

TEST(Csv, KnowsTheLinesOfItsRows) {
    const CsvTable table = tableOf("# note\n\na,1\n\"b\nb\",2\nc,3\n");
    ASSERT_EQ(table.rows.size(), 3U);
    EXPECT_EQ(table.rows[0].line, 3U);
    EXPECT_EQ(table.rows[1].line, 4U);
    EXPECT_EQ(table.rows[2].line, 6U);
}

TEST(Csv, RefusesBrokenQuotations) {
    EXPECT_THAT(thrownBy<Failure>([] { tableOf("a,b\n\"c,d\n"); }),
                HasSubstr("colours.csv line 2: a field that begins with \" does not end"));
    EXPECT_THAT(thrownBy<Failure>([] { tableOf("\"a\"b,1\n"); }),
                HasSubstr("colours.csv line 1: text after a closing \""));
}

TEST(Csv, WritesFieldsThatItReadsBack) {
    for (const std::string text : {"plain", "with, comma", "say \"so\"", "two\nlines", " spaces ",
                                   "#1", "it's", "'quoted'"}) {
        EXPECT_THAT(fieldsOf(csvField(text) + ",2\n"), ElementsAre(ElementsAre(text, "2")));
    }
    // What a spreadsheet would compute is marked as text.
    for (const std::string text : {"=1+1", "+1", "-x", "@sum", "'=1", "''-1", "\t=1", "=a,\"b\""}) {
        EXPECT_THAT(csvField(text), testing::ContainsRegex("^\"?'"));
        EXPECT_THAT(fieldsOf(csvField(text) + ",2\n"), ElementsAre(ElementsAre(text, "2")));
    }
}

TEST(Csv, TakesTimeInProportionToItsSize) {
    const std::clock_t began = std::clock();
    for (const std::string piece : {"x\n", "a,", "1 "}) {
        std::string text;
        while (text.size() < 1'500'000) {
            text += piece;
        }
        EXPECT_FALSE(tableOf(text).rows.empty());
    }
    // Of the processor, which a busy machine does not stretch.
    EXPECT_LT(std::clock() - began, 10 * CLOCKS_PER_SEC);
}

}  // namespace
}  // namespace cqtool
