// Platform seam: how exactly the calling thread's sleeps end.
//
// Linux lets a sleep end up to the thread's timer slack too late, 50 microseconds as a rule, so as to wake up
// for several timers at once. While an ExactSleep lives the slack is a nanosecond; then it is put back.
// Elsewhere this does nothing.
#pragma once

#ifdef __linux__
#include <sys/prctl.h>
#endif

class ExactSleep {
public:
    ExactSleep() {
#ifdef __linux__
        mSlack = prctl(PR_GET_TIMERSLACK);
        if (mSlack > exact) {
            prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(exact));
        }
#endif
    }
    ExactSleep(ExactSleep const&) = delete;
    ExactSleep& operator=(ExactSleep const&) = delete;
    ~ExactSleep() { end(); }

    // Puts the slack back before the scope ends.
    void end() {
#ifdef __linux__
        if (mSlack > exact) {
            prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(mSlack));
        }
        mSlack = exact;
#endif
    }

private:
    static constexpr int exact = 1; // nanoseconds

    int mSlack = exact;
};
