#include <algorithm>
#include <cstring>

#include "exchange/Exchange.h"
#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr auto kCxf = ExchangeFormat::cxf;

RecordSet readCxfText(const std::string& content) {
    return parsedRecords(content, kCxf, "file");
}

/// A document with these objects, and specifications of two grids and lights.
std::string document(const std::string& objects) {
    const auto specification = [](const std::string& id, const std::string& light,
                                  const std::string& range) {
        return "<cc:ColorSpecification Id='" + id + "'><cc:TristimulusSpec><cc:Illuminant>" +
               light +
               "</cc:Illuminant><cc:Observer>2_Degree</cc:Observer></cc:TristimulusSpec>"
               "<cc:MeasurementSpec><cc:WavelengthRange " +
               range + "/></cc:MeasurementSpec></cc:ColorSpecification>";
    };
    return "<?xml version='1.0'?><!-- < -->\n<cc:CxF xmlns:cc='x'><cc:Resources>"
           "<cc:ObjectCollection>" +
           objects + "</cc:ObjectCollection><cc:ColorSpecificationCollection>" +
           specification("wide", "F11", "StartWL='380' Increment='5'") +
           specification("coarse", "TL84", "StartWL='400' Increment='20'") +
           "</cc:ColorSpecificationCollection></cc:Resources></cc:CxF>";
}

std::string object(const std::string& type, const std::string& values) {
    return "<cc:Object ObjectType='" + type +
           "' Name='a &amp; b' Id='i'><cc:CreationDate>"
           "2024-05-01T12:00:00+02:00</cc:CreationDate><cc:ColorValues>" +
           values + "</cc:ColorValues></cc:Object>";
}

std::string spectrum(const std::string& specification, int count) {
    std::string text = "<cc:ReflectanceSpectrum ColorSpecification='" + specification + "'>\n";
    for (int i = 0; i < count; ++i) {
        text += " " + std::to_string(i / 100.0);
    }
    return text + "</cc:ReflectanceSpectrum>";
}

std::string lab(const std::string& specification, const std::string& lightness = "50") {
    return "<cc:ColorCIELab ColorSpecification='" + specification + "'><cc:L>" + lightness +
           "</cc:L><cc:A>1</cc:A><cc:B>2</cc:B></cc:ColorCIELab>";
}

TEST(Cxf, GivesBackWhatWasWritten) {
    RecordSet set;
    set.title = "Lot <7> & more";
    set.instrument = "VIRTUAL-31";
    set.serial = "VI-000001";
    set.time = "2024-05-01T10:00:00Z";
    for (const auto light : {IlluminantA, IlluminantF4}) {
        set.viewing = {light, Observer2Degree};
        set.entries.clear();
        for (const bool isStandard : {true, false, false}) {
            set.entries.push_back(entryOf(recordOf(rampSpectrum()), 7, isStandard, {}, set.viewing,
                                          "\"foncé\" <&>\xEF\xBF\xBE\x01'\xFF"));
        }
        set.entries[1].time = "2024-04-30T10:00:00Z";
        set.entries[2].spectrum.reset();
        set.entries[2].record.reset();
        const std::string content = writtenRecords(set, kCxf);
        const RecordSet read = readCxfText(content);
        EXPECT_EQ(read.viewing.illuminant, light);
        EXPECT_EQ(read.title + read.instrument + read.serial + read.time,
                  set.title + set.instrument + set.serial + set.time);
        ASSERT_EQ(read.entries.size(), 3U);
        for (std::size_t i = 0; i < 3; ++i) {
            const RecordEntry& entry = read.entries[i];
            EXPECT_EQ(entry.name,
                      "\"foncé\" <&>?"
                      "?'?");
            EXPECT_EQ(entry.index, 7U);
            EXPECT_EQ(entry.isStandard, i == 0);
            EXPECT_EQ(entry.time, set.entries[i].time);
            EXPECT_EQ(entry.spectrum, set.entries[i].spectrum);
            EXPECT_TRUE(std::ranges::equal(entry.lab->values, set.entries[i].lab->values));
            ASSERT_EQ(entry.record.has_value(), i != 2);
        }
        EXPECT_EQ(std::memcmp(read.entries[0].record->bytes, set.entries[0].record->bytes, 256), 0);
    }
    set.entries[2].lab->values[0] = -1;
    EXPECT_THAT(thrownBy<Failure>([&] { writtenRecords(set, kCxf); }),
                HasSubstr("CxF cannot hold"));
}

TEST(Cxf, ReadsTristimulusValues) {
    // Half the light of F11 for 2 degrees, CIE 15:2018, table T.8.2: a neutral with L* 76.07.
    const RecordSet set = readCxfText(
        document(object("Sample",
                        "<cc:ColorCIEXYZ ColorSpecification='wide'><cc:X>50.48</cc:X><cc:Y>50"
                        "</cc:Y><cc:Z>32.18</cc:Z></cc:ColorCIEXYZ>")));
    EXPECT_EQ(set.viewing.illuminant, IlluminantF11);
    const auto& values = set.entries.at(0).lab->values;
    EXPECT_NEAR(values[0], 76.07, 0.02);
    EXPECT_NEAR(values[1], 0, 0.1);
    EXPECT_NEAR(values[2], 0, 0.1);
}

TEST(Cxf, ReadsFilesOfOtherPrograms) {
    const RecordSet set =
        readCxfText(document(object("Target", spectrum("wide", 71)) + object("Colorant", "") +
                             object("Sample", lab("wide"))));
    ASSERT_EQ(set.entries.size(), 2U);
    EXPECT_TRUE(set.entries[0].isStandard && !set.entries[1].isStandard);
    EXPECT_EQ(set.entries[0].name, "a & b");
    EXPECT_EQ(set.entries[0].time, "2024-05-01T10:00:00Z");
    EXPECT_FLOAT_EQ(set.entries[0].spectrum->at(0), 0.04F);
    EXPECT_FLOAT_EQ(set.entries[0].spectrum->at(30), 0.64F);
    EXPECT_FLOAT_EQ(set.entries[1].lab->values[2], 2);
    EXPECT_EQ(set.viewing.illuminant, IlluminantF11);
    // The light matters only where there is no spectrum.
    EXPECT_EQ(
        readCxfText(document(object("Trial", spectrum("none", 31) + lab("coarse")))).entries.size(),
        1U);
}

TEST(Cxf, SaysWhatIsWrong) {
    std::string deep;
    for (int i = 0; i < 1'000'000; ++i) {
        deep += "<a>";
    }
    const std::string good = document(object("Trial", lab("wide")));
    const struct {
        std::string content;
        const char* says;
    } cases[] = {
        {"", "there is no element"},
        {"L,a,b\n", "file line 1: this is not XML"},
        {"<html/>", "not a CxF3 file: its root is html"},
        {deep, "file line 1: elements are nested more than 64 deep"},
        {"<CxF><!-- </a></a> --><a b='</a>'>" + deep, "nested more than 64 deep"},
        {"<!DOCTYPE x [<!ENTITY a 'aaaa'>]><x>&a;</x>", "document types are not taken"},
        {"<CxF>\n<!-- open", "file line 2: this does not end"},
        {"<CxF>\n<a b='", "file line 2: this does not end"},
        {good.substr(0, good.size() - 5), "this does not end"},
        {good.substr(0, good.size() - 9), "this is not XML, or it is truncated"},
        {std::string("<CxF\0/>", 7), "UTF-8"},
        {document(object("Trial", "")), "file has no object"},
        {document(object("Trial", spectrum("coarse", 16))), "nothing at 410 nm"},
        {document(object("Trial", spectrum("none", 30))), "'a & b': no specification gives"},
        {document(object("Trial", lab("wide", "x"))), "L must be a number, not 'x'"},
        {document(object("Trial", lab("wide", "300"))), "no surface has L* 300"},
        {document(object("Trial", lab("coarse"))), "no illuminant is called 'TL84'"},
        {document(object("Trial", lab("wide")) + object("Trial", lab("none"))),
         "its colour is for D65/10° where others are for F11/2°"},
    };
    for (const auto& one : cases) {
        EXPECT_THAT(thrownBy<Failure>([&] { readCxfText(one.content); }), HasSubstr(one.says));
    }
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_THAT(thrownBy<Failure>([&] { readCxfText(good.substr(0, size)); }), Not(""));
    }
}

}  // namespace
}  // namespace cqtool
