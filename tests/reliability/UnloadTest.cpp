// A host loads the library as a plug-in, uses it and unloads it. What must survive: the host, with no
// thread more than before, and a library that can be loaded again.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "cqapi/CQApi.h"
#include "peer/OpenWireless.h"
#include "peer/VirtualInstrument.h"
#include "peer/WaitUntil.h"
#include "reliability/SharedLibrary.h"

namespace cqtest {
namespace {

const std::string kLibrary = CQAPI_TEST_LIBRARY;

using Open = CqHandle (*)(const SharedLibrary&, const char* port);

CqHandle openWired(const SharedLibrary& library, const char* port) {
    return library.find<decltype(cqOpen)>("cqOpen")(port);
}

CqHandle openAdapter(const SharedLibrary& library, const char* port) {
    return openWireless(port, kFirstAddress,
                        library.find<decltype(cqOpenByBleDongle)>("cqOpenByBleDongle"));
}

void measureAndUnload(const VirtualInstrument& instrument, Open open) {
    std::thread([] {}).join();  // a sanitizer starts a thread of its own with the first one
    const std::size_t before = countThreads();
    {
        const SharedLibrary library(kLibrary);
        const CqHandle handle = open(library, instrument.portName());
        ASSERT_NE(handle, nullptr);
        EXPECT_GT(countThreads(), before);
        CqMeasurementRecord record;
        EXPECT_EQ(library.find<decltype(cqMeasureStandard)>("cqMeasureStandard")(handle, &record),
                  CQ_NO_ERROR);
        library.find<decltype(cqClose)>("cqClose")(handle);
    }
    EXPECT_FALSE(SharedLibrary::isLoaded(kLibrary));
    // The system may show a thread for a moment after it was joined.
    waitUntil([&] { return countThreads() == before; }, std::chrono::seconds(1));
    EXPECT_EQ(countThreads(), before);
}

TEST(Unload, LibraryMayBeLoadedAgain) {
    const VirtualInstrument instrument("--calibrated");
    for (int round = 0; round < 3; ++round) {
        SCOPED_TRACE(round);
        measureAndUnload(instrument, openWired);
    }
}

TEST(UnloadAfter, Wired) {
    measureAndUnload(VirtualInstrument("--calibrated"), openWired);
}

TEST(UnloadAfter, Wireless) {
    measureAndUnload(VirtualInstrument("--adapter --calibrated"), openAdapter);
}

}  // namespace
}  // namespace cqtest
