// The adapter's port is found by the friendly name that the system's registry gives its bridge.

#include <gtest/gtest.h>

#include <string>

#include "endtoend/win32/PluggedIn.h"
#include "endtoend/wireless/Wireless.h"

namespace cqtest {
namespace {

using namespace std::string_literals;

const std::string kBridge = "USB\\VID_1A86&PID_7523&REV_0254\0USB\\VID_1A86&PID_7523\0"s;

std::string device(int number) {
    return R"(VID_1A86&PID_7523\SIM000)" + std::to_string(number);
}

std::string bridgeAt(const std::string& port) {
    return "USB-SERIAL CH340 (" + port + ")";
}

TEST(AdapterDiscovery, TakesTheFirstBridgeWhoseModuleAnswers) {
    const Adapter unfit("--fault at-blank");
    const Adapter adapter("--calibrated");
    const PluggedIn other(device(0), kBridge, "CP2102 USB to UART Bridge (COM97)");
    const PluggedIn absent(device(1), kBridge, bridgeAt("COM98"));
    const PluggedIn tooHigh(device(2), kBridge, bridgeAt("COM255"));
    const PluggedIn first(device(3), kBridge, bridgeAt(unfit.portName()));
    const PluggedIn second(device(4), kBridge,
                           "usb-serial ch340 (" + std::string(adapter.portName()) + ")");

    const Handle handle(nullptr, kFirstAddress);
    ASSERT_NE(static_cast<CqHandle>(handle), nullptr);
    char port[16] = {};
    ASSERT_EQ(cqGetPortName(handle, port, sizeof(port) - 1), CQ_NO_ERROR);
    EXPECT_STREQ(port, adapter.portName());
    CqMeasurementRecord record;
    EXPECT_EQ(cqMeasureStandard(handle, &record), CQ_NO_ERROR);
    EXPECT_NE(Scan(unfit.portName()).code, CQ_FAIL_TO_OPEN) << "the other port is let go";
}

TEST(AdapterDiscovery, WithoutABridgeThereIsNoHandle) {
    EXPECT_EQ(cqOpenByBleDongle("", ""), nullptr);
}

}  // namespace
}  // namespace cqtest
