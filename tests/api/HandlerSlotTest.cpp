#include "api/HandlerSlot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace ovk {
namespace {

using namespace std::chrono_literals;

// One thread calls without a pause while another replaces the handler: once a replacement has
// returned, the handler that it replaced is neither running nor called again.
TEST(HandlerSlot, AReplacedHandlerHasEnded) {
    HandlerSlot<int> slot;
    std::atomic<bool> mustEnd{false};
    std::thread caller([&] {
        while (!mustEnd.load()) {
            slot.call(1);
            std::this_thread::yield();
        }
    });
    for (int round = 0; round < 100; ++round) {
        struct Flags {
            std::atomic<bool> isReplaced{false};
            std::atomic<bool> wasCalled{false};
        };
        const auto flags =
            std::make_shared<Flags>();  // a handler that runs too long still finds it
        slot.set([flags](int) {
            EXPECT_FALSE(flags->isReplaced);
            flags->wasCalled = true;
            std::this_thread::sleep_for(1ms);
            EXPECT_FALSE(flags->isReplaced);
        });
        while (!flags->wasCalled) {
            std::this_thread::yield();
        }
        slot.set({});
        flags->isReplaced = true;
    }
    mustEnd.store(true);
    caller.join();
}

}  // namespace
}  // namespace ovk
