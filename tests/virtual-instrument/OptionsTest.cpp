// What the command line and the list of slaves refuse, and what they say then.

#include "Options.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "adapter/Slave.h"
#include "wired/FaultPlan.h"

namespace vi::test {
namespace {

struct Parsed {
    explicit Parsed(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "cq-virtual-instrument");
        std::vector<char*> pointers;
        pointers.reserve(arguments.size());
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        options = parseCommandLine(static_cast<int>(pointers.size()), pointers.data(), exitCode);
        out = testing::internal::GetCapturedStdout();
        error = testing::internal::GetCapturedStderr();
    }

    int exitCode = -1;
    std::optional<Options> options;
    std::string out;
    std::string error;
};

TEST(Options, AreRefusedWithWhatToDo) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--max-packet", "12"}, "13"},
        {{"--noise", "nan"}, "[0 - 1]"},
        {{"--keep-alive", "0.0001"}, "[0.001 - 86400]"},
        {{"--serial", "sixteen letters!"}, "15 characters"},
        {{"--capacity", "1", "--standards", "2"}, "--capacity, which is 1"},
        {{"--press-every", "0"}, "0.001"},
        {{"--press-every", "1:button"}, "':standard' or ':trial'"},
        {{"--fault", "rust"}, "there is no fault 'rust'"},
        {{"--com", "COM6x"}, "--com"},
        {{"--pipe", "x", "--com", "COM6"}, "--com"},
        {{"--colour"}, "--colour"},
        {{"--scan-ready"}, "requires --adapter"},
        {{"--adapter", "--max-packet", "64"}, "excludes --adapter"},
        {{"--adapter", "--slaves", "/no/such/file"}, "/no/such/file: cannot be read"},
        {{"--adapter", "--fault", "bad-crc"}, "leave out --adapter"},
        {{"--fault", "no-link"}, "needs --adapter"},
        {{"--fleet", "0"}, "--fleet"},
        {{"--fleet", "2", "--adapter"}, "excludes"},
        {{"--fleet", "11", "--serial", "fourteen lette"}, "15 characters"},
    };
    for (const auto& [arguments, error] : cases) {
        SCOPED_TRACE(arguments.front() + " " + arguments.back());
        const Parsed parsed(arguments);
        EXPECT_FALSE(parsed.options);
        EXPECT_EQ(parsed.exitCode, 2);
        EXPECT_THAT(parsed.error, testing::HasSubstr(error));
    }
}

TEST(FaultPlan, TellsWhatIsWrongWithATextAndKeepsThePlan) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "there is no fault ''"},
        {"badcrc", "choose from bad-crc, lost-ack"},
        {"bad-crc:", "not ''"},
        {"bad-crc:0", "from 1 to"},
        {"bad-crc:1x", "not '1x'"},
        {"abort-reply:0x10000", "from 0 to 65535"},
        {"one-byte:1", "takes no number"},
    };
    for (const auto& [text, problem] : cases) {
        wired::FaultPlan plan;
        EXPECT_THAT(wired::addFault(plan, text), testing::HasSubstr(problem)) << text;
        EXPECT_TRUE(plan.badCrc.empty() && !plan.oneByte && !plan.abortReply) << text;
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
        {entry(R"("address": "AB", "rssi": 18446744073709551615)"), "whole number"},
        {entry(R"("address": "AB", "rssi": -5, "standards": 1001)"), "0 to 1000"},
        {entry(R"("address": "AB", "rssi": -5, "calibrated": 1)"), "true or false"},
        {entry(R"("address": "AB", "rssi": -5, "colour": 1)"), "\"colour\" is not a field"},
        {R"([{"name": "A\nB", "address": "AA", "rssi": -5}])", "control"},
    };
    for (const auto& [json, problem] : cases) {
        try {
            adapter::parseSlaves(json, {});
            ADD_FAILURE() << "taken: " << json;
        } catch (const std::invalid_argument& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(problem)) << json;
        }
    }
}

}  // namespace
}  // namespace vi::test
