#include "doctor/Findings.h"

#include "Samples.h"

namespace cqtool {
namespace {

using testing::HasSubstr;

constexpr UsbIdentity kInstrumentUsb{0x0483, 0x5740};
constexpr UsbIdentity kAdapterUsb{0x1A86, 0x7523};

PortFacts healthy() {
    PortInfo port;
    port.name = "/dev/none/ttyACM0";
    port.kind = PortKind::instrument;
    port.usb = kInstrumentUsb;
    return {{port},
            {kInstrumentUsb},
            {true, "root", ""},
            {"cdc_acm", true, "load it"},
            {"ch341", true, "load it"}};
}

Diagnosis findingAbout(const std::string& subject, const PortFacts& facts) {
    for (const Diagnosis& finding : portFindings(facts)) {
        if (finding.subject == subject) {
            return finding;
        }
    }
    ADD_FAILURE() << "nothing about " << subject;
    return {};
}

void expectProblem(const Diagnosis& finding, const std::string& text) {
    EXPECT_EQ(finding.level, Diagnosis::Level::problem);
    EXPECT_THAT(finding.text, HasSubstr(text));
}

TEST(Doctor, FindsNothingWrongWithAHealthyMachine) {
    for (const Diagnosis& finding : portFindings(healthy())) {
        EXPECT_NE(finding.level, Diagnosis::Level::problem) << finding.text;
    }
    EXPECT_EQ(findingAbout("instrument", healthy()).level, Diagnosis::Level::works);
    EXPECT_EQ(findingAbout("adapter", healthy()).level, Diagnosis::Level::note);
    EXPECT_EQ(colorFinding().level, Diagnosis::Level::works);
}

TEST(Doctor, NamesWhatKeepsAPortFromBeingOpened) {
    PortFacts facts = healthy();
    facts.ports[0].heldBy = "minicom (process 1234)";
    expectProblem(findingAbout("instrument", facts), "in use by minicom (process 1234)");

    facts.ports[0].isAccessible = false;
    facts.ports[0].accessProblem = "no permission";
    expectProblem(findingAbout("instrument", facts), "no permission");
    EXPECT_FALSE(findingAbout("instrument", facts).advice.empty());
}

TEST(Doctor, TellsAMissingDriverFromAMissingDevice) {
    PortFacts facts = healthy();
    facts.usb.push_back(kAdapterUsb);
    facts.adapterDriver.isThere = false;
    expectProblem(findingAbout("adapter", facts), "1a86:7523 is plugged in");
    expectProblem(findingAbout("adapter", facts), "no driver ch341");
    EXPECT_EQ(findingAbout("drivers", facts).level, Diagnosis::Level::note);
}

TEST(Doctor, LeavesTheLogAsItIs) {
    const auto library = std::filesystem::temp_directory_path() / "cq-doctor-test.so";
    auto log = library;
    log += ".log";
    std::filesystem::remove(log);
    EXPECT_EQ(logFinding(library).level, Diagnosis::Level::works);
    EXPECT_FALSE(std::filesystem::exists(log));
    EXPECT_THAT(logFinding(library / "none").text, HasSubstr("cannot be written"));
}

}  // namespace
}  // namespace cqtool
