// The command line: what it sets, and what it refuses.

#include "Options.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "Bench.h"

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

TEST(Options, ReachTheInstrumentTheProtocolAndTheLine) {
    const Parsed parsed(
        {"--capacity",     "5",        "--standards",   "2",         "--battery", "50",
         "--max-packet",   "1024",     "--line-rate",   "9600",      "--latency", "1.5",
         "--measure-time", "20",       "--fault",       "bad-crc:3", "--fault",   "bad-crc:5",
         "--fault",        "one-byte", "--press-every", "0.5:trial"});
    ASSERT_TRUE(parsed.options) << parsed.error;
    const Options& options = *parsed.options;
    EXPECT_EQ(options.instrument.capacity, 5U);
    EXPECT_EQ(options.instrument.battery, 50);
    EXPECT_EQ(options.instrument.measureTime, milliseconds(20));
    EXPECT_EQ(options.protocol.engine.maxPacket, 1024);
    EXPECT_THAT(options.protocol.faults.badCrc, testing::ElementsAre(3U, 5U));
    EXPECT_EQ(options.fromHost.perByte, std::chrono::nanoseconds(1'041'667));
    EXPECT_EQ(options.fromHost.latency, std::chrono::microseconds(1500));
    EXPECT_TRUE(options.toHost.isByteByByte);
    EXPECT_FALSE(options.fromHost.isByteByByte);
    EXPECT_EQ(options.press->kind, Kind::trial);
    EXPECT_EQ(options.press->period, milliseconds(500));
    // An acknowledgement needs its own time on such a line.
    EXPECT_EQ(options.protocol.engine.acknowledgementPatience,
              std::chrono::seconds(1) + options.fromHost.latency + 8 * options.fromHost.perByte);
}

TEST(Options, AreRefusedWithWhatToDo) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"--max-packet", "12"}, "13"},
        {{"--max-packet", "65536"}, "65535"},
        {{"--noise", "nan"}, "[0 - 1]"},
        {{"--latency", "-1"}, "[0 - 60000]"},
        {{"--keep-alive", "0.0001"}, "[0.001 - 86400]"},
        {{"--serial", "sixteen letters!"}, "15 characters"},
        {{"--capacity", "1", "--standards", "2"}, "--capacity, which is 1"},
        {{"--press-every", "0"}, "0.001"},
        {{"--press-every", "1:button"}, "':standard' or ':trial'"},
        {{"--fault", "rust"}, "there is no fault 'rust'"},
        {{"--com", "COM6x"}, "--com"},
        {{"--pipe", R"(\\.\pipe\x)"}, "--pipe"},
        {{"--pipe", "x", "--com", "COM6"}, "--com"},
        {{"--colour"}, "--colour"},
        {{"--scan-ready"}, "requires --adapter"},
        {{"--at-delay", "5"}, "requires --adapter"},
        {{"--adapter", "--max-packet", "64"}, "excludes --adapter"},
        {{"--adapter", "--slaves", "/no/such/file"}, "/no/such/file: cannot be read"},
        {{"--adapter", "--fault", "bad-crc"}, "leave out --adapter"},
        {{"--fault", "no-link"}, "needs --adapter"},
    };
    for (const auto& [arguments, error] : cases) {
        SCOPED_TRACE(arguments.front() + " " + arguments.back());
        const Parsed parsed(arguments);
        EXPECT_FALSE(parsed.options);
        EXPECT_EQ(parsed.exitCode, 2);
        EXPECT_THAT(parsed.error, testing::HasSubstr(error));
    }
}

TEST(Options, HelpNamesEveryFaultAndKey) {
    const Parsed parsed({"--help"});
    EXPECT_FALSE(parsed.options);
    EXPECT_EQ(parsed.exitCode, 0);
    for (const char* text : {"wrong-sequence", "abort-send", "ble-pause", "at-late",
                             "press the trial button", "--until-eof"}) {
        EXPECT_THAT(parsed.out, testing::HasSubstr(text));
    }
}

}  // namespace
}  // namespace vi::test
