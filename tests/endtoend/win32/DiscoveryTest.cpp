// The instrument's port is found by what the system's registry says of the devices that are
// present.

#include <gtest/gtest.h>

#include <string>

#include "endtoend/win32/PluggedIn.h"
#include "endtoend/Wired.h"

namespace cqtest {
namespace {

using namespace std::string_literals;

const std::string kIdentity = "USB\\VID_0483&PID_5740&REV_0200\0USB\\VID_0483&PID_5740\0"s;

TEST(Discovery, FindsTheInstrumentByItsUsbIdentity) {
    const VirtualInstrument instrument;
    const std::string name = "USB Serial Device (" + std::string(instrument.portName()) + ")";
    const PluggedIn other(R"(VID_1111&PID_2222\SIM0000)", "USB\\VID_1111&PID_2222\0"s,
                          "USB Serial Device (COM99)");
    const PluggedIn nameless(R"(VID_0483&PID_5740\SIM0001)", kIdentity, "A device without a port");
    const PluggedIn absent(R"(VID_0483&PID_5740\SIM0002)", kIdentity, "USB Serial Device (COM98)");
    const PluggedIn found(R"(VID_0483&PID_5740\SIM0003)", kIdentity, name);

    const Handle handle(static_cast<const char*>(nullptr));
    ASSERT_NE(static_cast<CqHandle>(handle), nullptr);
    char port[16] = {};
    ASSERT_EQ(cqGetPortName(handle, port, sizeof(port) - 1), CQ_NO_ERROR);
    EXPECT_STREQ(port, instrument.portName());
}

TEST(Discovery, EmptyNameSearchesToo) {
    const VirtualInstrument instrument;
    const PluggedIn found(R"(VID_0483&PID_5740\SIM0004)", "usb\\vid_0483&pid_5740\0"s,
                          "x (" + std::string(instrument.portName()) + ")");
    const Handle handle("");
    EXPECT_NE(static_cast<CqHandle>(handle), nullptr);
}

TEST(Discovery, WithoutAnInstrumentThereIsNoHandle) {
    EXPECT_EQ(cqOpen(nullptr), nullptr);
}

}  // namespace
}  // namespace cqtest
