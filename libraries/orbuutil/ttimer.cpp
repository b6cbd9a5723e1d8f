#include "orbuutil/ttimer.h"

#include "orbuutil/platformRunLoopPrivate.h"

#include <algorithm>
#include <cstddef>

static constexpr double firstDelay = 2.0;

constinit std::int32_t TTimer::mClockPeriod = 15;
constinit std::int32_t TTimer::mNextId = 0;
constinit bool TTimer::mbAllDisabled = false;
constinit bool TTimer::mbManualClocking = false;
constinit bool TTimer::mbInitialized = false;
constinit bool TTimer::mbClockingNow = false;
constinit platform_run_loop_timer* TTimer::muTimerID = nullptr;
constinit TTimer::Call* TTimer::mpCalls = nullptr;

TTimer::TTimer(std::int32_t id, std::int32_t period, int (*callback)(void*), void* data, bool active)
    : mId(id), mbActive(active), mbRunning(false), mPeriod(period), mCallback(callback), mUserData(data) {
    InitializeTimers(false);
    mLastTime = std::time(nullptr);
}

std::int32_t TTimer::add(std::int32_t period, int (*callback)(void*), void* data, bool active) {
    if (mNextId == 0) {
        mNextId = 1;
    }
    const std::int32_t id = mNextId;
    mTimers.push_back(new TTimer(id, period, callback, data, active));
    mNextId = static_cast<std::int32_t>(static_cast<std::uint32_t>(id) + 1);
    return id;
}

// The timer may be deleted inside its own callback, when trigger() called it outside a tick: whoever is in
// the middle of such a call is told.
void TTimer::discard(TTimer* timer) {
    for (Call* call = mpCalls; call != nullptr; call = call->outer) {
        if (call->timer == timer) {
            call->timer = nullptr;
        }
    }
    delete timer;
}

bool TTimer::remove(std::int32_t id) {
    if (mbClockingNow) {
        mTimersToBeDeleted.push_back(id);
        return true;
    }
    const auto place = std::find_if(mTimers.begin(), mTimers.end(), [id](TTimer* t) { return t->mId == id; });
    if (place == mTimers.end()) {
        return false;
    }
    discard(*place);
    mTimers.erase(place);
    if (mTimers.empty()) {
        cancelSytemTimer();
    }
    return true;
}

void TTimer::removeAll() {
    if (mbClockingNow) {
        for (TTimer* timer : mTimers) {
            mTimersToBeDeleted.push_back(timer->mId);
            timer->mbActive = false;
        }
        return;
    }
    for (TTimer* timer : mTimers) {
        discard(timer);
    }
    mTimers.clear();
    cancelSytemTimer();
}

int TTimer::clock() {
    // A tick inside a tick would only queue the waiting removals again, without an end.
    if (mbAllDisabled || mbClockingNow) {
        return 0;
    }
    mbClockingNow = true;
    // Callbacks add at the end, and what they remove stays until the tick is over: the first `count` are
    // what was there at the start.
    const std::size_t count = mTimers.size();
    for (std::size_t i = 0; i < count; ++i) {
        mTimers[i]->trigger();
    }
    mbClockingNow = false;

    for (const std::int32_t id : mTimersToBeDeleted) {
        remove(id);
    }
    mTimersToBeDeleted.clear();
    return 0;
}

void TTimer::trigger() {
    if (!mbActive || mbRunning) {
        return;
    }
    const std::time_t now = std::time(nullptr);
    if (now - mLastTime < mPeriod) {
        return;
    }
    Call call = {this, mpCalls};
    mpCalls = &call;
    mbRunning = true;
    mCallback(mUserData);
    mpCalls = call.outer;
    if (call.timer != nullptr) {
        mbRunning = false;
        mLastTime = now;
    }
}

TTimer* TTimer::getTimer(std::int32_t id) {
    for (TTimer* timer : mTimers) {
        if (timer->mId == id) {
            return timer;
        }
    }
    return nullptr;
}

void TTimer::setManualClock(bool manual, std::int32_t period) {
    if (!manual) {
        mClockPeriod = period;
    }
    const bool changes = manual != mbManualClocking;
    mbManualClocking = manual;
    InitializeTimers(changes);
}

void TTimer::InitializeTimers(bool force) {
    if (mbInitialized && !force) {
        return;
    }
    cancelSytemTimer();
    if (!mbManualClocking) {
        muTimerID = private_platform_run_loop_timer_create(firstDelay, mClockPeriod, MacTTimerClock, nullptr);
    }
    mbInitialized = true;
}

void TTimer::cancelSytemTimer() {
    if (muTimerID != nullptr) {
        private_platform_run_loop_timer_stop(muTimerID);
        private_platform_run_loop_timer_release(muTimerID);
        muTimerID = nullptr;
    }
    mbInitialized = false;
}

void TTimer::MacTTimerClock(platform_run_loop_timer*, void*) { clock(); }
