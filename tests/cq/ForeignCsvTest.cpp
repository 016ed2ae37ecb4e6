#include <algorithm>
#include <sstream>

#include "exchange/Exchange.h"
#include "Samples.h"
#include "text/Numbers.h"

namespace cqtool {
namespace {

using testing::HasSubstr;

RecordSet readTable(const std::string& content) {
    return parsedRecords(content, ExchangeFormat::csv, "file", {});
}

/// A line of fields from the first to the last wavelength; '#' of the pattern is the wavelength.
std::string titles(const std::string& pattern, int first, int last, int step, char delimiter) {
    std::string line;
    for (int nm = first; nm <= last; nm += step) {
        std::string title = pattern;
        title.replace(title.find('#'), 1, std::to_string(nm));
        line += delimiter + title;
    }
    return line;
}

/// Reflectances that are a thousandth of the wavelength.
std::string reflectances(int first, int last, int step, char delimiter, char mark, bool isPercent) {
    std::string line;
    for (int nm = first; nm <= last; nm += step) {
        std::string digits = fixed(nm / (isPercent ? 10.0 : 1000.0), 3);
        std::replace(digits.begin(), digits.end(), '.', mark);
        line += delimiter + digits;
    }
    return line;
}

TEST(ForeignCsv, TakesSpectraByTheirTitles) {
    const struct {
        const char* above;
        const char* name;
        const char* pattern;
        int first, last, step;
        char delimiter, mark;
        bool isPercent;
    } cases[] = {
        {"", "Name", "r#", 400, 700, 10, ',', '.', false},
        {"", "Sample Name", "R_#nm", 400, 700, 10, ',', '.', false},
        {"", "ID", "# nm", 400, 700, 10, ';', ',', false},
        {"", "Sample", "#", 360, 740, 10, ';', '.', false},
        {"", "Name", "SPECTRAL_#", 380, 730, 10, '\t', '.', false},
        {"", "Name", "SPECTRAL_NM#", 400, 700, 5, '\t', ',', true},
        {"", "Data Name", "nm#", 360, 740, 10, ',', '.', true},
        {"", "Name", "#,0", 400, 700, 10, ';', ',', true},
        {"", "Name", "#.00 nm", 400, 700, 10, ',', '.', false},
        {"", "Name", "R(#)", 400, 700, 10, ',', '.', false},
        {"", "Name", "#nm(SCI)", 360, 740, 10, ',', '.', true},
        {"", "Name", "Reflectance # nm [%]", 400, 700, 10, ',', '.', true},
        {"Instrument: X\nDate;2024-05-01\n\n", "Name", "R #", 400, 700, 10, ';', ',', true},
        {"\"a \"b\n24\" monitor, x\n", "Name", "R#", 400, 700, 10, '\t', '.', false},
    };
    for (const auto& [above, name, pattern, first, last, step, delimiter, mark, isPercent] :
         cases) {
        SCOPED_TRACE(pattern);
        const RecordSet set =
            readTable(above + std::string(name) + titles(pattern, first, last, step, delimiter) +
                      "\nred" + reflectances(first, last, step, delimiter, mark, isPercent) + "\n");
        ASSERT_EQ(set.entries.size(), 1U);
        EXPECT_EQ(set.entries[0].name, "red");
        EXPECT_FLOAT_EQ(set.entries[0].spectrum->front(), 0.4F);
        EXPECT_FLOAT_EQ(set.entries[0].spectrum->back(), 0.7F);
    }
}

TEST(ForeignCsv, TakesColorsByTheirTitles) {
    const struct {
        const char* titles;
        std::int32_t illuminant = IlluminantD65;
        std::int32_t observer = Observer10Degree;
    } cases[] = {
        {"Name;L*;a*;b*"},
        {"Name;LAB_L;LAB_A;LAB_B"},
        {"Name;CIE L*;CIE a*;CIE b*"},
        {"Name;CIELAB_L;CIELAB_A;CIELAB_B"},
        {"Name;L*(10/D65);a*(10/D65);b*(10/D65)"},
        {"Name;L* (A/2\xB0);a* (A/2\xB0);b* (A/2\xB0)", IlluminantA, Observer2Degree},
        {"Name;L* D50/2;a* D50/2;b* D50/2", IlluminantD50, Observer2Degree},
        {"Name;L*[F11];a*[F11];b*[F11]", IlluminantF11},
        {"Name;L_star;a_star;b_star"},
    };
    for (const auto& one : cases) {
        // Differences are no colours; the first line may hold units.
        const std::string header = std::string(one.titles) + ";ΔL*;dL*\n";
        const RecordSet set = readTable(header + ";-;-;-;;\nred;50,5;-20;30;9;9\n");
        ASSERT_EQ(set.entries.size(), 1U) << one.titles;
        EXPECT_FLOAT_EQ(set.entries[0].lab->values[0], 50.5F) << one.titles;
        EXPECT_FLOAT_EQ(set.entries[0].lab->values[2], 30) << one.titles;
        EXPECT_EQ(set.viewing.illuminant, one.illuminant) << one.titles;
        EXPECT_EQ(set.viewing.observer, one.observer) << one.titles;
    }
    EXPECT_FLOAT_EQ(readTable("ΔL*,Δa*,Δb*,L*,a*,b*\n9,9,9,50,1,2\n").entries[0].lab->values[0],
                    50);
    EXPECT_FLOAT_EQ(readTable("L,a,b\n\"50,25\",\"1,5\",2\n").entries[0].lab->values[0], 50.25F);
}

TEST(ForeignCsv, TellsTrialsByColumns) {
    const RecordSet set = readTable(
        "Standard;Batch;L;a;b\nwine;;50;1;2\nwine;early;51;1;2\n;late;52;1;2\nmoss;;53;1;2\n");
    const char* names[] = {"wine", "early", "late", "moss"};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(set.entries.at(i).name, names[i]);
        EXPECT_EQ(set.entries[i].isStandard, i == 0 || i == 3);
    }
    EXPECT_THAT(
        thrownBy<Failure>([] { readTable("Standard;Batch;L;a;b\nwine;;5;1;2\nmoss;x;5;1;2\n"); }),
        HasSubstr("file line 3: the standard of this trial is 'moss'"));
    const RecordSet typed =
        readTable("ID,Type,L,a,b\n4006381333931,Target,5,1,2\n7,Sample,5,1,2\n");
    EXPECT_EQ(typed.entries[0].name, "4006381333931");
    EXPECT_TRUE(typed.entries[0].isStandard && !typed.entries[1].isStandard);
    EXPECT_EQ(typed.entries[1].index, 7U);
}

TEST(ForeignCsv, TellsWhatIsAssumed) {
    const std::string percent = reflectances(400, 700, 10, ';', '.', true);
    const struct {
        std::string content;
        const char* told;
    } cases[] = {
        {"Name" + titles("R#", 400, 700, 10, ';') + "\nx" + percent + "\n",
         "cq: file does not say it: assumed that its reflectances, most of them above 2, are in "
         "percent\n"},
        {"Name" + titles("R# %", 400, 700, 10, ';') + "\nx" + percent + "\n", ""},
        {"L,a,b\n50,1,2\n",
         "cq: file does not say it: assumed that its L*, a*, b* are for D65/10°\n"},
        {"L*(A/2),a*(A/2),b*(A/2)\n50,1,2\n", ""},
        {"L,a,b,illuminant,observer\n50,1,2,A,2\n", ""},
    };
    for (const auto& [content, told] : cases) {
        std::ostringstream notes;
        parsedRecords(content, ExchangeFormat::csv, "file",
                      {.isPercent = false, .layout = {}, .notes = &notes});
        EXPECT_EQ(notes.str(), told);
    }
}

TEST(ForeignCsv, DoesNotGuess) {
    const std::string header = "Name" + titles("R#", 400, 700, 10, ';') + "\n";
    const auto dark = [&](const char* first) {
        std::string row = reflectances(400, 700, 10, ';', '.', false);
        return row.replace(1, 5, first);
    };
    // All could be fractions: they are.
    EXPECT_FLOAT_EQ(readTable(header + "x" + dark("1.900") + "\n").entries[0].spectrum->at(0),
                    1.9F);
    for (const char* wrong : {"4.000", "0,400", "1.2,3"}) {
        EXPECT_THAT(thrownBy<Failure>([&] { readTable(header + "x" + dark(wrong) + "\n"); }),
                    HasSubstr("file line 2: R4"))
            << wrong;
    }
}

TEST(ForeignCsv, IsWrittenWithDecimalCommas) {
    RecordSet set;
    set.entries = {entryOf(recordOf(rampSpectrum()), 0, true, {}, {}, "a;b, c")};
    const std::string content = writtenRecords(set, ExchangeFormat::csv, {.hasDecimalComma = true});
    EXPECT_THAT(content, HasSubstr(";0,1;0,120000005;0,14;"));
    const RecordSet read = readTable(content);
    EXPECT_EQ(read.entries[0].name, "a;b, c");
    EXPECT_EQ(read.entries[0].spectrum, set.entries[0].spectrum);
}

}  // namespace
}  // namespace cqtool
