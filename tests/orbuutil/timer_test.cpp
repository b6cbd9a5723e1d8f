#include "orbuutil/ttimer.h"

#include <gmock/gmock.h>

#include <ctime>
#include <functional>
#include <vector>

// The wall clock as the timers read it: this program's own time(2) stands in front of the system's.
static constinit std::time_t ahead = 0;

extern "C" std::time_t time(std::time_t* result) noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    const std::time_t seconds = ahead != 0 ? ahead : now.tv_sec;
    if (result != nullptr) {
        *result = seconds;
    }
    return seconds;
}

namespace {

using testing::ElementsAre;

struct Probe {
    std::function<void()> action;
    int calls = 0;
};

int call(void* data) {
    Probe& probe = *static_cast<Probe*>(data);
    probe.calls += 1;
    if (probe.action) {
        probe.action();
    }
    return -7; // makes no difference
}

class Timer : public testing::Test {
protected:
    Timer() {
        ahead = 1000000;
        TTimer::setManualClock(true, 0);
    }
    ~Timer() override {
        TTimer::setAllDisabled(false);
        TTimer::removeAll();
        ahead = 0;
    }
};

TEST_F(Timer, CallsWhatIsDueInWholeSeconds) {
    struct {
        std::int32_t period;
        bool active;
        std::vector<int> calls; // after ticks at 0, 1, 2, 3, 7 and then -100 seconds
    } const rows[] = {{0, true, {1, 2, 3, 4, 5, 5}}, {1, true, {0, 1, 2, 3, 4, 4}},
                      {2, true, {0, 0, 1, 1, 2, 2}}, // the next is counted from the call
                      {7, true, {0, 0, 0, 0, 1, 1}}, {-5, true, {1, 2, 3, 4, 5, 5}},
                      {0, false, {0, 0, 0, 0, 0, 0}}};
    const std::time_t start = ahead;
    for (auto const& row : rows) {
        SCOPED_TRACE(row.period);
        ahead = start;
        Probe probe;
        const int id = TTimer::add(row.period, call, &probe, row.active);
        std::vector<int> calls;
        for (const int seconds : {0, 1, 2, 3, 7, -100}) {
            ahead = start + seconds;
            EXPECT_EQ(TTimer::clock(), 0);
            calls.push_back(probe.calls);
        }
        EXPECT_EQ(calls, row.calls);
        EXPECT_TRUE(TTimer::remove(id));
    }
}

TEST_F(Timer, IsNamedByItsId) {
    Probe probe;
    const int first = TTimer::add(3, call, &probe, false);
    const int second = TTimer::add(4, call, &probe, true);
    TTimer* const timer = TTimer::getTimer(first);
    ASSERT_NE(timer, nullptr);
    EXPECT_TRUE(timer->getID() == first && timer->getPeriod() == 3);
    timer->setActive(true);
    timer->setPeriod(0);
    TTimer::clock();
    EXPECT_EQ(probe.calls, 1);

    EXPECT_TRUE(TTimer::remove(second) && !TTimer::remove(second));
    EXPECT_EQ(TTimer::add(0, call, &probe, true), second + 1); // never twice
}

TEST_F(Timer, LeavesRemovalsToTheEndOfTheTick) {
    Probe self, next, added;
    int selfId = 0, nextId = 0;
    self.action = [&] {
        EXPECT_TRUE(TTimer::remove(selfId));
        EXPECT_TRUE(TTimer::remove(selfId));
        EXPECT_TRUE(TTimer::remove(nextId));   // its turn still comes in this tick
        EXPECT_TRUE(TTimer::remove(99999999)); // not asked whether it exists
        EXPECT_EQ(TTimer::clock(), 0);         // with removals waiting: comes back at once
        TTimer::getTimer(selfId)->trigger();   // running: not once more
        for (int i = 0; i < 100; ++i) {
            TTimer::add(0, call, &added, true); // not looked at in this tick
        }
    };
    selfId = TTimer::add(0, call, &self, true);
    nextId = TTimer::add(0, call, &next, true);
    TTimer::clock();
    EXPECT_THAT((std::vector{self.calls, next.calls, added.calls}), ElementsAre(1, 1, 0));
    EXPECT_EQ(TTimer::getTimer(selfId), nullptr);
    EXPECT_EQ(TTimer::getTimer(nextId), nullptr);

    added.action = [] { TTimer::removeAll(); }; // the first of a hundred: none of the others is called
    TTimer::clock();
    EXPECT_EQ(added.calls, 1);
    EXPECT_EQ(TTimer::getTimer(nextId + 1), nullptr);
    EXPECT_EQ(TTimer::getTimer(nextId + 100), nullptr);
}

TEST_F(Timer, TriggersOneByHand) {
    Probe probe;
    int id = TTimer::add(2, call, &probe, true);
    TTimer::getTimer(id)->trigger(); // not due
    ahead += 2;
    TTimer::setAllDisabled(true);
    TTimer::clock();
    EXPECT_EQ(probe.calls, 0);
    TTimer::getTimer(id)->trigger();
    EXPECT_EQ(probe.calls, 1);
    TTimer::setAllDisabled(false);

    // Outside a tick a removal is done at once, also that of the timer whose callback is running.
    Probe remover{[&] { TTimer::remove(id); }};
    const std::function<void()> rows[] = {remover.action, TTimer::removeAll, [&] {
                                              TTimer::add(0, call, &remover, true);
                                              TTimer::clock();
                                          }};
    for (auto const& row : rows) {
        ahead += 2;
        probe.action = row;
        TTimer::getTimer(id)->trigger();
        EXPECT_EQ(TTimer::getTimer(id), nullptr);
        id = TTimer::add(2, call, &probe, true);
    }
    EXPECT_EQ(probe.calls, 4);
    EXPECT_EQ(remover.calls, 1);
}

} // namespace
