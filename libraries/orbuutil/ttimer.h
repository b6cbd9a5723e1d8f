// TTimer: coarse periodic callbacks for code inside a host's event loop.
//
// - One clock for the process ticks every 15 seconds, or what setManualClock says. At each tick every active
//   timer whose period has passed, in whole seconds of wall time (time(2)), gets its callback. A shorter
//   period is served at the tick after it falls due; period 0 at every tick; a changed wall clock shifts the
//   next call.
// - Who ticks: a timer on the GLib main context of the thread that set the clock up (its thread-default one);
//   or the host, through clock(), in manual mode and in a library built with ORBU_RUN_LOOP=none. The clock is
//   set up by the first add, and taken off the loop with the last timer, and when the library goes.
// - Ownership: timers that add() made belong to the class and are named by their id, 1 or more, never used
//   twice; what getTimer gives is spent when the timer is removed. Those that are left at exit are not
//   deleted. `data` stays with the caller.
// - Threads: everything is process-wide and unlocked, and belongs to the one thread of the clock.
// - Failures: none are reported.
#pragma once

#include "orbuutil/orbuExport.h"

#include <cstdint>
#include <ctime>
#include <vector>

struct platform_run_loop_timer;

class ORBU_EXPORT TTimer {
public:
    // A timer of the caller's own: no tick visits it, only trigger() calls it. Sets the clock up like add().
    TTimer(std::int32_t id, std::int32_t period, int (*callback)(void*), void* data, bool active);
    ~TTimer() {}

    // Makes a timer and gives its id. The first call comes one period (seconds) after this, not at once; a
    // timer that is added during a tick is first looked at in the next. The callback's result is ignored.
    static std::int32_t add(std::int32_t period, int (*callback)(void*), void* data, bool active);

    // Deletes the timer: true, or false for an id that is not known. During a tick it is deleted at the
    // tick's end, after it may have been called once more, and the result is true for any id.
    static bool remove(std::int32_t id);

    // Deletes all timers. During a tick they are deactivated at once and deleted at its end.
    static void removeAll();

    // One tick. Nothing, also no removal that waits, while all are disabled; nothing during a tick. Always 0.
    static int clock();

    // Calls this timer if it is active, not running and due; also while all are disabled. The callback may
    // remove the timer.
    void trigger();

    // The timer with this id, or null.
    static TTimer* getTimer(std::int32_t id);

    // An inactive timer is passed over.
    bool isActive() const { return mbActive; }
    void setActive(bool active) { mbActive = active; }

    // In seconds.
    std::int32_t getPeriod() const { return mPeriod; }
    void setPeriod(std::int32_t period) { mPeriod = period; }

    std::int32_t getID() const { return mId; }

    // Who ticks: the host, which then calls clock(); or the event loop, every `period` seconds (15 is usual;
    // 0 or less ticks once only), first 2.0 seconds from now. The period is looked at for the event loop
    // alone, and one that comes without a change of mode does not reach a clock that runs already.
    static void setManualClock(bool manual, std::int32_t period);
    static bool getManualClock() { return mbManualClocking; }

    // While disabled, clock() does nothing.
    static void setAllDisabled(bool disabled) { mbAllDisabled = disabled; }

    // Sets the clock up if it is not; with `force` once more, with a new timer on the calling thread's loop.
    static void InitializeTimers(bool force);

    // Takes the clock off the event loop. The next timer that is made sets it up again. (Hosts know the name
    // as it is spelt.)
    static void cancelSytemTimer();

    // What the event loop calls: clock(), and nothing else.
    static void MacTTimerClock(platform_run_loop_timer* timer, void* info);

private:
    // A callback under way: which timer it belongs to, null once that is deleted.
    struct Call {
        TTimer* timer;
        Call* outer;
    };

    static void discard(TTimer* timer);

    std::int32_t mId;
    bool mbActive;
    bool mbRunning;
    std::int32_t mPeriod;
    int (*mCallback)(void*);
    void* mUserData;
    std::time_t mLastTime;

    static std::int32_t mClockPeriod;
    static std::vector<TTimer*> mTimers;
    static std::vector<std::int32_t> mTimersToBeDeleted;
    static std::int32_t mNextId;
    static bool mbAllDisabled;
    static bool mbManualClocking;
    static bool mbInitialized;
    static bool mbClockingNow;
    static platform_run_loop_timer* muTimerID;
    static Call* mpCalls; // innermost first
};
