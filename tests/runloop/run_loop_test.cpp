#include "orbuutil/ttimer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <glib.h>

namespace {

using Clock = std::chrono::steady_clock;

int ticks = 0;
int count(void*) {
    ticks += 1;
    return 0;
}

// A loop of this thread's own, which the timers are to find.
class RunLoop : public testing::Test {
protected:
    RunLoop() {
        g_main_context_push_thread_default(context);
        ticks = 0;
    }
    ~RunLoop() override {
        TTimer::removeAll();
        TTimer::setManualClock(false, 15);
        TTimer::cancelSytemTimer();
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }

    // Milliseconds until the loop has something to do, or -1 when nothing is on it.
    int untilNext() {
        gint priority = 0, timeout = 0;
        GPollFD fds[8];
        EXPECT_TRUE(g_main_context_acquire(context));
        g_main_context_prepare(context, &priority);
        g_main_context_query(context, priority, &timeout, fds, 8);
        g_main_context_release(context);
        return timeout;
    }

    // The moment of the next tick that counts.
    double secondsToNextTick() {
        const Clock::time_point start = Clock::now();
        for (const int before = ticks; ticks == before;) {
            g_main_context_iteration(context, TRUE);
        }
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    GMainContext* const context = g_main_context_new();
};

TEST_F(RunLoop, TicksFirstAfterTwoSecondsAndThenByItsPeriod) {
    TTimer::setManualClock(false, 1);
    TTimer::cancelSytemTimer();
    EXPECT_EQ(untilNext(), -1);
    const int id = TTimer::add(0, count, nullptr, true);
    const double first = secondsToNextTick();
    EXPECT_GE(first, 1.9);
    EXPECT_LT(first, 10.0);
    const double second = secondsToNextTick();
    EXPECT_GE(second, 0.9);
    EXPECT_LT(second, 10.0);
    EXPECT_TRUE(TTimer::remove(id));
    EXPECT_EQ(untilNext(), -1);
}

TEST_F(RunLoop, IsOnTheLoopWhileThereAreTimers) {
    const auto freshlySetUp = [this] {
        const int next = untilNext();
        return next > 1000 && next <= 2000;
    };
    const int first = TTimer::add(0, count, nullptr, true);
    const int second = TTimer::add(0, count, nullptr, true);
    EXPECT_TRUE(freshlySetUp());
    TTimer::remove(first);
    EXPECT_TRUE(freshlySetUp());
    TTimer::remove(second);
    EXPECT_EQ(untilNext(), -1);
    TTimer::add(0, count, nullptr, true);
    EXPECT_TRUE(freshlySetUp());

    // A change of mode reaches the loop, a new period alone does not.
    TTimer::setManualClock(true, 77);
    EXPECT_TRUE(TTimer::getManualClock());
    EXPECT_EQ(untilNext(), -1);
    TTimer::setManualClock(false, 1);
    EXPECT_TRUE(freshlySetUp());
    TTimer::setManualClock(false, 3600);
    secondsToNextTick();
    EXPECT_LE(untilNext(), 1000);
    TTimer::InitializeTimers(false);
    EXPECT_LE(untilNext(), 1000);
    TTimer::InitializeTimers(true);
    EXPECT_GT(untilNext(), 1000);

    TTimer::cancelSytemTimer();
    EXPECT_EQ(untilNext(), -1);
    TTimer own(7, 0, count, nullptr, true);
    EXPECT_TRUE(freshlySetUp());
}

TEST_F(RunLoop, MayBeTakenDownFromItsOwnTick) {
    TTimer::setManualClock(false, 0); // one tick, and no more
    TTimer::InitializeTimers(true);
    TTimer::add(0, count, nullptr, true);
    secondsToNextTick();
    EXPECT_EQ(untilNext(), -1);

    TTimer::setManualClock(false, 1);
    TTimer::InitializeTimers(true);
    TTimer::add(
        0,
        [](void*) {
            TTimer::removeAll();
            return 0;
        },
        nullptr, true);
    secondsToNextTick();
    EXPECT_EQ(untilNext(), -1);
}

} // namespace
