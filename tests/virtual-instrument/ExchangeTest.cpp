// The worked exchanges of the documentation, played against the instrument.

#include <gmock/gmock.h>

#include <fstream>

#include "AdapterBench.h"

namespace vi::test {
namespace {

struct Line {
    bool isHosts;
    std::string text;  // without the remark behind it
};

/// The lines of the block that follows this text.
std::vector<Line> exchangeBehind(const std::string& file, const std::string& heading) {
    std::ifstream document(VI_DOCS "/" + file);
    std::vector<Line> lines;
    bool isBehind = false;
    for (std::string line; std::getline(document, line);) {
        isBehind = isBehind || line.starts_with(heading);
        const auto at = line.find_first_not_of(' ');
        const bool isLine = at != line.npos && (line[at] == '>' || line[at] == '<');
        if (isBehind && isLine) {
            const std::string text = line.substr(at + 2);
            const auto remark = text.find("     ");
            lines.push_back({line[at] == '>', text.substr(0, remark)});
        } else if (!lines.empty() && line.starts_with('#')) {
            break;
        } else if (!lines.empty() && line.starts_with("```")) {
            break;
        }
    }
    EXPECT_FALSE(lines.empty()) << file << " has no exchange behind " << heading;
    return lines;
}

/// Plays an exchange of a wired instrument.
void play(Bench& bench, const std::vector<Line>& lines) {
    constexpr std::size_t kHeader = 10;
    Bytes sent;  // by the instrument, and not yet looked at
    for (const Line& line : lines) {
        SCOPED_TRACE(line.text);
        if (line.isHosts) {
            EXPECT_THAT(sent, testing::IsEmpty());
            sent = hex(bench.host(line.text));
            continue;
        }
        if (line.text.starts_with("AA 55 A8")) {
            EXPECT_TRUE(bench.protocol.requestKeepAlive(bench.now));
            sent = hex(bench.after(milliseconds(0)));
        }
        // Of a record the header counts; of the answer to the shake-hands what all instruments share.
        const auto record = line.text.find("..");
        Bytes expected = hex(line.text.substr(0, record));
        std::size_t size = expected.size();
        if (record != line.text.npos) {
            size = kHeader + expected[8];
            expected.resize(kHeader);
        } else if (line.text.starts_with("AA 55 A2")) {
            expected.resize(6);
        }
        ASSERT_GE(sent.size(), size);
        EXPECT_EQ(hexText(ByteView(sent).first(expected.size())), hexText(expected));
        sent.erase(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(size));
    }
    EXPECT_THAT(sent, testing::IsEmpty());
}

TEST(Exchange, OfAVirtualInstrumentsSession) {
    Bench bench;
    play(bench, exchangeBehind("virtual-instrument.md", "## A session, byte by byte"));
}

Bench::Set calibrated() {
    Bench::Set set;
    set.instrument.isCalibrated = true;
    set.instrument.measureTime = milliseconds(0);
    return set;
}

/// On an instrument that has had so many sessions that the next one is that of the documentation.
void playInSession7(Bench::Set set, const std::string& heading, bool isOpen) {
    Bench bench(std::move(set));
    for (int session = 1; session < (isOpen ? 8 : 7); ++session) {
        bench.host(kShakeHands);
    }
    if (isOpen) {
        bench.host("55 AA A3 07");
    }
    play(bench, exchangeBehind("wired-protocol.md", heading));
}

TEST(Exchange, OfTheWiredProtocol) {
    playInSession7({}, "**Beginning and end of a session**", false);
    playInSession7(calibrated(), "**A measurement of a trial**", true);
    playInSession7({}, "**A refusal**", true);
}

TEST(Exchange, OfTheWirelessProtocol) {
    AdapterBench::Set set;
    set.instrument.standards = 2;
    AdapterBench bench(std::move(set));
    std::string sent;
    for (const Line& line : exchangeBehind("wireless-protocol.md", "## 3. A session")) {
        SCOPED_TRACE(line.text);
        const bool isText =
            line.text.find_first_not_of("0123456789ABCDEF +bytes") != line.text.npos;
        if (line.isHosts) {
            EXPECT_EQ(sent, "");
            const Bytes bytes = hex(line.text);
            sent =
                bench.write(isText ? line.text + "\r\n" : std::string(bytes.begin(), bytes.end()));
            continue;
        }
        if (sent.empty()) {
            if (!isText) {
                bench.press(Kind::trial);
            }
            sent = bench.after(milliseconds(2000));
        }
        const auto record = line.text.find(" + ");
        const Bytes bytes = hex(line.text.substr(0, record));
        const std::string expected =
            isText ? line.text + "\r\n" : std::string(bytes.begin(), bytes.end());
        EXPECT_EQ(sent.substr(0, expected.size()), expected);
        sent.erase(0, expected.size() + (record == line.text.npos ? 0 : 256));
    }
    EXPECT_EQ(sent, "");
}

}  // namespace
}  // namespace vi::test
