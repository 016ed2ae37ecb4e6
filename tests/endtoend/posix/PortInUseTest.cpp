// A port belongs to one host. (Wine lets a second one in, where Windows does not, so this is tested
// natively.)

#include <gtest/gtest.h>

#include "endtoend/Wired.h"

namespace cqtest {
namespace {

TEST(PortInUse, GivesNoHandleAndDisturbsNobody) {
    Wired wired;
    EXPECT_EQ(cqOpen(wired.instrument.portName()), nullptr);
    CqInstrumentStatus status;
    EXPECT_EQ(cqGetInstrumentStatus(wired.handle, &status), CQ_NO_ERROR);
}

}  // namespace
}  // namespace cqtest
