#include "serial/OperationGate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace ovk {
namespace {

using namespace std::chrono_literals;

TEST(OperationGate, letsThreadsInOnlyWhileItIsOpen) {
    OperationGate gate;
    EXPECT_FALSE(OperationGate::Pass(gate));
    EXPECT_FALSE(gate.shut());
    gate.open();
    EXPECT_TRUE(OperationGate::Pass(gate));
    EXPECT_TRUE(gate.isOpen());
    EXPECT_TRUE(gate.shut());
    EXPECT_FALSE(OperationGate::Pass(gate));
    EXPECT_FALSE(gate.shut());
    gate.waitUntilEmpty();
    gate.open();
    EXPECT_TRUE(OperationGate::Pass(gate));
}

TEST(OperationGate, isEmptyWhenTheLastHasLeft) {
    OperationGate gate;
    gate.open();
    auto first = std::make_unique<OperationGate::Pass>(gate);
    auto second = std::make_unique<OperationGate::Pass>(gate);
    gate.shut();
    // Who was refused does not count as one who leaves.
    { const OperationGate::Pass refused(gate); }

    std::atomic<bool> isEmpty{false};
    std::thread closer([&] {
        gate.waitUntilEmpty();
        isEmpty = true;
    });
    first.reset();
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(isEmpty);
    second.reset();
    closer.join();
    EXPECT_TRUE(isEmpty);
}

// What the gate is for: a resource is never taken away while a thread uses it.
TEST(OperationGate, keepsTheResourceWhileItIsUsed) {
    OperationGate gate;
    std::atomic<bool> resource{false};
    std::atomic<int> uses{0};
    std::atomic<int> faults{0};
    std::atomic<bool> mustStop{false};
    std::vector<std::thread> users;
    for (int i = 0; i < 3; ++i) {
        users.emplace_back([&] {
            while (!mustStop) {
                const OperationGate::Pass pass(gate);
                if (pass) {
                    ++uses;
                    faults += resource ? 0 : 1;
                    std::this_thread::yield();
                    faults += resource ? 0 : 1;
                }
                std::this_thread::sleep_for(10us);
            }
        });
    }
    for (int round = 0; round < 200 || uses < 200; ++round) {
        resource = true;
        gate.open();
        std::this_thread::sleep_for(50us);
        gate.shut();
        gate.waitUntilEmpty();
        resource = false;
    }
    mustStop = true;
    for (std::thread& user : users) {
        user.join();
    }
    EXPECT_EQ(faults, 0);
}

}  // namespace
}  // namespace ovk
