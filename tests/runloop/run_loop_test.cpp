#include "orbuutil/ttimer.h"
#include "support/runLoop.h"

#include <gmock/gmock.h>

#include <chrono>

namespace {

using testing::AllOf, testing::Ge, testing::Le, testing::Lt;

int ticks = 0;
int count(void*) { return ++ticks; }

// A loop of this thread's own, which the timers are to find, and a clock that will tick each second. What
// is measured has its lower bound from before the call, so that a machine that stalls does not fail a test.
class RunLoop : public testing::Test {
protected:
    using Clock = std::chrono::steady_clock;

    RunLoop() {
        g_main_context_push_thread_default(context);
        TTimer::setManualClock(false, 1);
        TTimer::cancelSytemTimer();
    }
    ~RunLoop() override {
        TTimer::removeAll();
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }

    int untilNext() { return ::untilNext(context); }

    static double millisecondsSince(Clock::time_point start) {
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    }

    // Whether the call puts the clock on the loop anew.
    template <typename Call>
    bool setsUp(Call call) {
        const Clock::time_point start = Clock::now();
        call();
        const int next = untilNext();
        return next >= 0 && next <= 2000 && millisecondsSince(start) + next >= 1999;
    }

    void waitForTick() {
        for (const int before = ticks; ticks == before;) {
            g_main_context_iteration(context, TRUE);
        }
    }

    GMainContext* const context = g_main_context_new();
};

TEST_F(RunLoop, TicksFirstAfterTwoSecondsAndThenByItsPeriod) {
    const Clock::time_point start = Clock::now();
    const int id = TTimer::add(0, count, nullptr, true);
    waitForTick();
    EXPECT_THAT(millisecondsSince(start), AllOf(Ge(1999), Lt(12000)));
    // A new period alone does not reach a clock that runs.
    TTimer::setManualClock(false, 3600);
    TTimer::InitializeTimers(false);
    EXPECT_THAT(untilNext(), AllOf(Ge(0), Le(1000)));
    waitForTick();
    EXPECT_GE(millisecondsSince(start), 2998);
    EXPECT_TRUE(TTimer::remove(id));
    EXPECT_EQ(untilNext(), -1);
}

TEST_F(RunLoop, IsOnTheLoopWhileThereAreTimers) {
    const auto add = [] { return TTimer::add(0, count, nullptr, true); };
    int first = 0;
    EXPECT_TRUE(setsUp([&] { first = add(); }));
    const int second = add();
    TTimer::remove(first);
    EXPECT_NE(untilNext(), -1);
    TTimer::remove(second);
    EXPECT_EQ(untilNext(), -1);
    EXPECT_TRUE(setsUp(add));

    TTimer::setManualClock(true, 77);
    EXPECT_TRUE(TTimer::getManualClock());
    EXPECT_EQ(untilNext(), -1);
    EXPECT_TRUE(setsUp([] { TTimer::setManualClock(false, 1); }));
    EXPECT_TRUE(setsUp([] { TTimer::InitializeTimers(true); }));
    TTimer::cancelSytemTimer();
    EXPECT_EQ(untilNext(), -1);
    EXPECT_TRUE(setsUp([] { TTimer(7, 0, count, nullptr, true); }));
}

TEST_F(RunLoop, MayBeTakenDownFromItsOwnTick) {
    TTimer::setManualClock(false, 0); // one tick, and no more
    TTimer::InitializeTimers(true);
    TTimer::add(0, count, nullptr, true);
    waitForTick();
    EXPECT_EQ(untilNext(), -1);

    TTimer::setManualClock(false, 1);
    TTimer::InitializeTimers(true);
    const auto removeAll = [](void*) {
        TTimer::removeAll();
        return 0;
    };
    TTimer::add(0, removeAll, nullptr, true);
    waitForTick();
    EXPECT_EQ(untilNext(), -1);
}

} // namespace
