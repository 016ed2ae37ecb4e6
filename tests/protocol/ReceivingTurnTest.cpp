#include "CQCommProtocol/ReceivingTurn.h"

#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <thread>

#include "peer/WaitUntil.h"

namespace ovk {
namespace {

using namespace std::chrono_literals;
using cqtest::kPatience;
using Clock = ReceivingTurn::Clock;

TEST(ReceivingTurn, goesBackToTheThreadAfterTheLastCall) {
    ReceivingTurn turn;
    ASSERT_TRUE(turn.takeForThread());
    turn.leave();
    std::atomic<bool> isOver{false};
    EXPECT_TRUE(turn.await(isOver, Clock::now() + kPatience, [&] {
        EXPECT_TRUE(turn.isWithCall());
        isOver = true;
        return true;
    }));
    EXPECT_FALSE(turn.isWithCall());
    const auto start = Clock::now();
    EXPECT_TRUE(turn.takeForThread());
    EXPECT_GE(Clock::now() - start, ReceivingTurn::kReserve - 1ms);
}

TEST(ReceivingTurn, isFreeAgainWhenACallFails) {
    ReceivingTurn turn;
    const std::atomic<bool> isOver{false};
    const auto fail = []() -> bool { throw std::runtime_error("no memory"); };
    EXPECT_THROW(turn.await(isOver, Clock::now() + kPatience, fail), std::runtime_error);
    EXPECT_TRUE(turn.takeForThread());
}

// A call that can go on no longer lets the next one, or the thread, try.
TEST(ReceivingTurn, isHandedOnByWhoCannotReceive) {
    ReceivingTurn turn;
    std::atomic<bool> isOver{false};
    std::atomic<int> tries{0};
    const auto giveUp = [&tries] {
        ++tries;
        return false;
    };
    std::vector<std::future<bool>> calls;
    for (int i = 0; i < 3; ++i) {
        calls.push_back(std::async(std::launch::async, [&] {
            return turn.await(isOver, Clock::now() + kPatience, giveUp);
        }));
    }
    while (tries < 3) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(turn.takeForThread());
    isOver = true;
    turn.leave();
    for (std::future<bool>& call : calls) {
        EXPECT_TRUE(call.get());
    }
    EXPECT_EQ(tries, 3);
}

TEST(ReceivingTurn, wakesTheThreadForOtherThings) {
    ReceivingTurn turn;
    std::atomic<bool> isOver{false};
    std::promise<void> isReceiving;
    auto call = std::async(std::launch::async, [&] {
        return turn.await(isOver, Clock::now() + kPatience, [&] {
            isReceiving.set_value();
            while (!isOver) {
                std::this_thread::sleep_for(1ms);
            }
            return true;
        });
    });
    isReceiving.get_future().wait();
    auto thread = std::async(std::launch::async, [&] { return turn.takeForThread(); });
    // Long enough for the thread to have gone to sleep until the call ends.
    EXPECT_EQ(thread.wait_for(3 * ReceivingTurn::kReserve), std::future_status::timeout);
    turn.wakeThread();
    EXPECT_FALSE(thread.get());

    thread = std::async(std::launch::async, [&] { return turn.takeForThread(); });
    EXPECT_EQ(thread.wait_for(3 * ReceivingTurn::kReserve), std::future_status::timeout);
    isOver = true;
    EXPECT_TRUE(call.get());
    EXPECT_TRUE(thread.get());
}

}  // namespace
}  // namespace ovk
