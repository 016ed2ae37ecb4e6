// Each fault of the adapter and of the instruments behind it, seen from the host's end.

#include <gmock/gmock.h>

#include "AdapterBench.h"

namespace vi::test {
namespace {

using testing::HasSubstr;

/// Two answers under a fault.
struct AdapterCase {
    const char* fault;
    std::string first;
    std::string second;
};

TEST(AdapterFault, SpoilsTheModulesAnswersAsItSays) {
    const AdapterCase cases[] = {
        {"at-silent", "", ""},
        {"at-silent:2", "MT=1", ""},
        {"at-error", "ERROR", "OK|+CONNECTED>>0xC4BE84A1B2C3"},
        {"at-error:2", "MT=1", "ERROR"},
        {"at-blank", "|MT=1", "|OK|+CONNECTED>>0xC4BE84A1B2C3"},
        {"at-split", "MT=1", "OK|+CONNECTED>>0xC4BE84A1B2C3"},
        {"at-late:90", "", "MT=1|OK|+CONNECTED>>0xC4BE84A1B2C3"},
        {"no-link", "MT=1", "OK"},
    };
    for (const AdapterCase& c : cases) {
        AdapterBench bench({c.fault});
        EXPECT_EQ(bench.at("AT+MT=1", milliseconds(100)), c.first) << c.fault;
        EXPECT_EQ(bench.at("AT+CT=C4BE84A1B2C3", milliseconds(1000)), c.second) << c.fault;
    }
}

TEST(AdapterFault, SpoilsTheInstrumentsRepliesAsItSays) {
    const std::string fail = "02 01 04 00 46 41 49 4C";
    const std::string inval = "02 01 05 00 49 4E 56 41 4C";
    const AdapterCase cases[] = {
        {"ble-silent", "", ""},
        {"ble-silent:2", kNone, ""},
        {"ble-fail:2", fail, kNone},
        {"ble-inval:3", kNone, inval},
        {"ble-length:2", "02 01 03 00 00 00 00", kNone},
        {"ble-joined:3", kNone, kNone + " " + kNone},
        {"ble-late:20", "", kNone + " " + kNone},
        {"link-drop:2", kNone, "2B 44 49 53 43 4F 4E 4E 45 43 54 45 44 0D 0A"},
    };
    for (const AdapterCase& c : cases) {
        AdapterBench bench({c.fault});
        bench.linked().packet(kHello, milliseconds(500));
        EXPECT_EQ(bench.packet(kCount, milliseconds(10)), c.first) << c.fault;
        EXPECT_EQ(bench.packet(kCount, milliseconds(200)), c.second) << c.fault;
    }
}

TEST(AdapterFault, CutsPacketsAndLinesInTwo) {
    const std::string half = "02 01 04 00";
    const std::string rest = "00 00 00 00";
    AdapterBench paused({"ble-pause:2"});
    paused.greeted();
    EXPECT_EQ(paused.packet(kCount, milliseconds(1199)), half);
    EXPECT_EQ(AdapterBench::bytesOf(paused.after(milliseconds(1))), rest);
    EXPECT_EQ(paused.packet(kCount), kNone) << "once";

    AdapterBench split({"ble-split", "at-split"});
    EXPECT_EQ(split.at("AT+MT=1", milliseconds(49)), "MT=");
    EXPECT_EQ(AdapterBench::text(split.after(milliseconds(1))), "1");
    split.linked().packet(kHello, milliseconds(500));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(split.packet(kCount, milliseconds(99)), half);
        EXPECT_EQ(AdapterBench::bytesOf(split.after(milliseconds(1))), rest);
    }
}

TEST(Slaves, TellWhatIsWrongAndWhere) {
    const auto entry = [](const std::string& fields) {
        return R"([{"name": "A", "address": "AA", "rssi": -5}, {"name": "B", )" + fields + "}]";
    };
    const std::pair<std::string, const char*> cases[] = {
        {"", "line 1"},
        {"[\n{]", "line 2"},
        {"{}", "list"},
        {"[1]", "entry 1"},
        {entry(R"("rssi": -5)"), "entry 2: \"address\" is missing"},
        {entry(R"("address": "AX", "rssi": -5)"), "hexadecimal"},
        {entry(R"("address": "aa", "rssi": -5)"), "another"},
        {entry(R"("address": "AB", "rssi": 5)"), "-127 to -1"},
        {entry(R"("address": "AB", "rssi": -5.5)"), "whole number"},
        {entry(R"("address": "AB", "rssi": 18446744073709551615)"), "whole number"},
        {entry(R"("address": 12, "rssi": -5)"), "must be a text"},
        {entry(R"("address": "AB", "rssi": -5, "standards": 1001)"), "0 to 1000"},
        {entry(R"("address": "AB", "rssi": -5, "calibrated": 1)"), "true or false"},
        {entry(R"("address": "AB", "rssi": -5, "serial": "sixteen letters!")"), "15"},
        {entry(R"("address": "AB", "rssi": -5, "colour": 1)"), "\"colour\" is not a field"},
        {R"([{"name": "A\nB", "address": "AA", "rssi": -5}])", "control"},
    };
    for (const auto& [json, problem] : cases) {
        try {
            adapter::parseSlaves(json, {});
            ADD_FAILURE() << "taken: " << json;
        } catch (const std::invalid_argument& error) {
            EXPECT_THAT(error.what(), HasSubstr(problem)) << json;
        }
    }
}

}  // namespace
}  // namespace vi::test
