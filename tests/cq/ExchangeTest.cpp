#include "exchange/Exchange.h"

#include <algorithm>
#include <cstring>

#include "Samples.h"
#include "system/Files.h"

namespace cqtool {
namespace {

using enum ExchangeFormat;
using testing::HasSubstr;

CqMeasurementRecord recordNumber(int number) {
    CqMeasurementRecord record = recordOf(rampSpectrum());
    record.bytes[0] = static_cast<std::uint8_t>(number);
    record.bytes[255] = 0xA5;
    return record;
}

/// A standard and two trials, with names that formats must take care of.
RecordSet sampleSet() {
    RecordSet set;
    set.title = "Batch 7, \"red\"";
    set.instrument = "VIRTUAL-31";
    set.serial = "VI-000001";
    set.time = "2024-05-01T10:00:00Z";
    set.viewing = {IlluminantA, Observer2Degree};
    set.entries = {entryOf(recordNumber(1), 4, true, {}, set.viewing, "Rouge, foncé"),
                   entryOf(recordNumber(2), 5, false, {}, set.viewing, "two\twords"),
                   entryOf(recordNumber(3), 6, false, {}, set.viewing)};
    return set;
}

RecordSet throughFormat(const RecordSet& set, ExchangeFormat format) {
    return parsedRecords(writtenRecords(set, format), format, "file");
}

void expectSameMeasurement(const RecordEntry& entry, const RecordEntry& expected) {
    ASSERT_TRUE(entry.record && entry.spectrum && entry.lab);
    EXPECT_EQ(std::memcmp(entry.record->bytes, expected.record->bytes, 256), 0);
    EXPECT_EQ(*entry.spectrum, *expected.spectrum);
    EXPECT_TRUE(std::ranges::equal(entry.lab->values, expected.lab->values));
}

std::string refusalOf(const std::string& content, ExchangeFormat format) {
    return thrownBy<Failure>([&] { parsedRecords(content, format, "file"); });
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

TEST(Exchange, GivesBackWhatWasWritten) {
    const RecordSet set = sampleSet();
    for (const auto format : {csv, json, cgats}) {
        SCOPED_TRACE(static_cast<int>(format));
        const RecordSet read = throughFormat(set, format);
        EXPECT_EQ(read.viewing.illuminant, IlluminantA);
        EXPECT_EQ(read.viewing.observer, Observer2Degree);
        ASSERT_EQ(read.entries.size(), 3U);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(read.entries[i].index, 4 + i);
            EXPECT_EQ(read.entries[i].isStandard, i == 0);
            expectSameMeasurement(read.entries[i], set.entries[i]);
        }
        EXPECT_EQ(read.entries[0].name, "Rouge, foncé");
        EXPECT_EQ(read.entries[2].name, "trial 6");
    }
    EXPECT_EQ(throughFormat(set, json).entries[1].name, "two\twords");
    EXPECT_EQ(throughFormat(set, json).title, set.title);
    const RecordSet read = throughFormat(set, cgats);
    EXPECT_EQ(read.title, "Batch 7, 'red'");
    EXPECT_EQ(read.serial + read.time + read.instrument, set.serial + set.time + set.instrument);
}

TEST(Exchange, RawIsTheRecordsAndNothingElse) {
    const RecordSet set = sampleSet();
    const std::string content = writtenRecords(set, raw);
    ASSERT_EQ(content.size(), 3U * 256U);
    EXPECT_EQ(std::memcmp(content.data() + 256, set.entries[1].record->bytes, 256), 0);
    const RecordSet read = parsedRecords(content, raw, "file");
    ASSERT_EQ(recordsOf(read, "file").size(), 3U);
    EXPECT_EQ(read.entries[1].spectrum, rampSpectrum());
    EXPECT_EQ(read.entries[1].name, "record 1");
    EXPECT_THAT(refusalOf(content + "x", raw), HasSubstr("769 bytes"));
}

TEST(Exchange, KeepsWhatRecordsAndInstrumentsTell) {
    CqMeasurementRecord record = recordNumber('V');
    std::memcpy(record.bytes, "VMR1", 4);
    record.bytes[6] = 1;
    store(record, 12, std::uint32_t{1'700'000'000});
    std::memcpy(record.bytes + 16, "moss\x1b", 5);
    RecordSet set = sampleSet();
    set.entries = {entryOf(record, 0, std::nullopt, {}, set.viewing)};
    for (const auto format : {raw, csv, json, cgats}) {
        SCOPED_TRACE(static_cast<int>(format));
        const RecordSet read = throughFormat(set, format);
        EXPECT_FALSE(read.entries.at(0).isStandard);
        EXPECT_EQ(read.entries[0].name, "moss?");
        EXPECT_EQ(read.entries[0].time, "2023-11-14T22:13:20Z");
        EXPECT_EQ(read.instrument + read.serial, format == raw ? "" : "VIRTUAL-31VI-000001");
    }
}

TEST(Exchange, LeavesOutWhatIsNotKnown) {
    RecordSet set = sampleSet();
    set.entries[1].record.reset();
    set.entries[1].spectrum.reset();
    set.entries[2].lab.reset();
    for (const auto format : {csv, json}) {
        const RecordSet read = throughFormat(set, format);
        EXPECT_FALSE(read.entries[1].record || read.entries[1].spectrum);
        EXPECT_TRUE(read.entries[1].lab && read.entries[2].record && !read.entries[2].lab);
    }
    EXPECT_THAT(thrownBy<Failure>([&] { writtenRecords(set, cgats); }),
                HasSubstr("'trial 6' has no L*, a*, b*"));
    EXPECT_THAT(thrownBy<Failure>([&] { writtenRecords(set, raw); }),
                HasSubstr("no instrument's record for 'two\twords'"));
}

TEST(Exchange, ReadsFilesOfOtherPrograms) {
    const RecordSet table = parsedRecords("Name;L;a;b\nred;41,5;60;30,25\n", csv, "f");
    EXPECT_EQ(table.entries.at(0).name, "red");
    EXPECT_FLOAT_EQ(table.entries[0].lab->values[2], 30.25F);

    for (const char* titles : {"L*,a*,b*", "LAB_L,LAB_A,LAB_B", "CIE L*,CIE a*,CIE b*"}) {
        const RecordSet set = parsedRecords(titles + std::string("\n41,60,30\n"), csv, "f");
        EXPECT_FLOAT_EQ(set.entries.at(0).lab->values[1], 60) << titles;
    }
    const std::string spectra = writtenRecords(sampleSet(), csv);
    EXPECT_FLOAT_EQ(parsedRecords(spectra, csv, "f", {.isPercent = true, .layout = {}})
                        .entries.at(0)
                        .spectrum->at(30),
                    0.007F);

    const RecordSet chart = parsedRecords(
        "IT8.7/2\nORIGINATOR \"x\"\n# a remark\nNUMBER_OF_FIELDS 4\nBEGIN_DATA_FORMAT\n"
        "SAMPLE_ID LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\nNUMBER_OF_SETS 2\nBEGIN_DATA\n"
        "A1 50 1 2\nA2 60\n3 4\nEND_DATA\n",
        cgats, "f");
    ASSERT_EQ(chart.entries.size(), 2U);
    EXPECT_EQ(chart.entries[1].name, "A2");
    EXPECT_EQ(chart.entries[1].index, 1U);
    EXPECT_FLOAT_EQ(chart.entries[1].lab->values[2], 4);
    EXPECT_EQ(chart.viewing.illuminant, IlluminantD50);
    EXPECT_EQ(chart.viewing.observer, Observer2Degree);
}

TEST(Exchange, SaysWhereAFileIsWrong) {
    const RecordSet set = sampleSet();
    const std::string goodCsv = writtenRecords(set, csv);
    const std::string goodJson = writtenRecords(set, json);
    const std::string goodCgats = writtenRecords(set, cgats);
    const struct {
        ExchangeFormat format;
        std::string content;
        const char* says;
    } cases[] = {
        {csv, "", "file is empty"},
        {csv, "1,2,3\n", "file line 1: no column holds"},
        {csv, "lot,gloss\n1,2\n", "there are: lot, gloss"},
        {csv, "L,a,b\n50,0,0\n500,0,0\n", "file line 3: no surface has L* 500"},
        {json, R"({"entries": [{"lab": {"L": 50, "a": 999, "b": 0}}]})", "has a* 999"},
        {csv, replaced(goodCsv, "R550", "X"), "file line 1: 1 of the 31 columns"},
        {csv, replaced(goodCsv, ",trial,", ",other,"), "file line 3: the kind must be"},
        {csv, replaced(goodCsv, "\n5,", "\n-5,"), "file line 3: index must be a whole"},
        {csv, replaced(goodCsv, "0.1,0.12", "10,12"), "file line 2: R400 with 10 is no"},
        {csv, replaced(goodCsv, "0.1,0.12", "x,0.12"), "R400 must be a number, not 'x'"},
        {csv, replaced(goodCsv, "A,2,", "A,10,"), "file line 3: '2' where line 2 has"},
        {csv, goodCsv.substr(0, goodCsv.size() - 9), "line 4: a record must be 512"},
        {json, goodJson.substr(0, goodJson.size() / 2), "this is not JSON, or it is truncated"},
        {json, "[]", "file must be an object"},
        {json, "{\"title\": \"x\"}", "no array \"entries\""},
        {json, R"({"entries": [{"name": "x"}]})", "entries[0] has neither"},
        {json, replaced(goodJson, "\"L\":", "\"M\":"), R"(entries[0]: "lab": "L" must be)"},
        {json, replaced(goodJson, "\"observer\": 2", "\"observer\": 3"), "2 or 10"},
        {json, replaced(goodJson, "\"step\": 10", "\"step\": 5"), "31 values from 400"},
        {cgats, "<html>", "is not a CGATS file"},
        {cgats, goodCgats.substr(0, goodCgats.size() - 9), "ends where END_DATA is"},
        {cgats, replaced(goodCgats, "SETS\t3", "SETS\t4"), "NUMBER_OF_SETS is 4, but"},
        {cgats, replaced(goodCgats, "\ttrial\t", "\t"), "a row of 38 fields is expected"},
        {cgats, replaced(goodCgats, "\"VIRTUAL-31\"", "\"VIRTUAL"), "does not end on"},
        {cgats, replaced(goodCgats, "\"A\"", "\"Z\""), "no illuminant is called 'Z'"},
        {html, "<html>", "not read back"},
    };
    for (const auto& one : cases) {
        EXPECT_THAT(refusalOf(one.content, one.format), HasSubstr(one.says));
    }
}

TEST(Exchange, TellsTheFormatByTheName) {
    EXPECT_EQ(exchangeFormatFor("a/b.CSV"), csv);
    EXPECT_EQ(exchangeFormatFor("b.txt"), cgats);
    EXPECT_EQ(exchangeFormatFor("b.txt", "Json"), json);
    EXPECT_THAT(thrownBy<UsageError>([] { exchangeFormatFor("b.xls"); }), HasSubstr("--format"));
    EXPECT_THAT(thrownBy<UsageError>([] { exchangeFormatFor("b.csv", "xml"); }),
                HasSubstr("csv, json, cgats, qtx, cxf, html, raw"));
    EXPECT_THAT(nowText(), testing::MatchesRegex("20..-..-..T..:..:..Z"));
}

}  // namespace
}  // namespace cqtool
