// A host loads the library as a plug-in, uses it and unloads it. What must survive: the host, with no
// thread more than before, and a library that can be loaded again.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "cqapi/CQApi.h"
#include "peer/VirtualInstrument.h"
#include "peer/WaitUntil.h"
#include "reliability/SharedLibrary.h"

namespace cqtest {
namespace {

const std::string kLibrary = CQAPI_TEST_LIBRARY;

/// The system may show a thread for a moment after it was joined.
std::size_t threadsAfterAMoment(std::size_t expected) {
    std::size_t count = countThreads();
    waitUntil(
        [&] {
            count = countThreads();
            return count == expected;
        },
        std::chrono::seconds(1));
    return count;
}

void measureOnce(const SharedLibrary& library, CqHandle handle) {
    CqMeasurementRecord record;
    EXPECT_EQ(library.find<decltype(cqMeasureStandard)>("cqMeasureStandard")(handle, &record),
              CQ_NO_ERROR);
}

TEST(Unload, LibraryMayBeLoadedAgain) {
    const VirtualInstrument instrument("--calibrated");
    for (int round = 0; round < 3; ++round) {
        {
            const SharedLibrary library(kLibrary);
            const CqHandle handle = library.find<decltype(cqOpen)>("cqOpen")(instrument.portName());
            ASSERT_NE(handle, nullptr) << "round " << round;
            measureOnce(library, handle);
            library.find<decltype(cqClose)>("cqClose")(handle);
        }
        EXPECT_FALSE(SharedLibrary::isLoaded(kLibrary));
    }
}

struct Connection {
    const char* name;
    const char* options;
    std::function<CqHandle(const SharedLibrary&, const char*)> open;
};

class UnloadAfter : public testing::TestWithParam<Connection> {};

TEST_P(UnloadAfter, LeavesNoThread) {
    const VirtualInstrument instrument(GetParam().options);
    std::thread([] {}).join();  // a sanitizer starts a thread of its own with the first one
    const std::size_t before = countThreads();
    {
        const SharedLibrary library(kLibrary);
        const CqHandle handle = GetParam().open(library, instrument.portName());
        ASSERT_NE(handle, nullptr);
        EXPECT_GT(countThreads(), before);
        measureOnce(library, handle);
        library.find<decltype(cqClose)>("cqClose")(handle);
    }
    EXPECT_FALSE(SharedLibrary::isLoaded(kLibrary));
    EXPECT_EQ(threadsAfterAMoment(before), before);
}

INSTANTIATE_TEST_SUITE_P(
    Each, UnloadAfter,
    testing::Values(Connection{"wired", "--calibrated",
                               [](const SharedLibrary& library, const char* port) {
                                   return library.find<decltype(cqOpen)>("cqOpen")(port);
                               }},
                    Connection{"wireless", "--adapter --at-delay 2 --calibrated",
                               [](const SharedLibrary& library, const char* port) {
                                   return library.find<decltype(cqOpenByBleDongle)>(
                                       "cqOpenByBleDongle")(port, "C4BE84A1B2C3");
                               }}),
    [](const testing::TestParamInfo<Connection>& each) { return each.param.name; });

}  // namespace
}  // namespace cqtest
