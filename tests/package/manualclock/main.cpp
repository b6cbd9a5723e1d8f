// A host without an event loop: nothing ticks but its own calls.
#include "orbuutil/ttimer.h"

#include <cstdio>

static int calls = 0;
static int count(void*) { return ++calls; }

static bool expect(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "not so: %s\n", what);
    }
    return holds;
}

int main() {
    const int first = TTimer::add(0, count, nullptr, true);
    const int second = TTimer::add(3600, count, nullptr, true);
    bool good = expect(first == 1 && second == 2, "the ids of a process start at 1");
    TTimer::clock();
    TTimer::setManualClock(true, 15);
    TTimer::clock();
    TTimer::setManualClock(false, 1);
    TTimer::clock();
    good = expect(calls == 3, "each call of clock() is a tick") && good;
    good = expect(TTimer::remove(first) && TTimer::remove(second), "timers are removed") && good;
    good = expect(TTimer::add(0, count, nullptr, true) == 3, "a new timer gets a new id") && good;
    TTimer::clock();
    good = expect(calls == 4, "the clock goes on after the last timer went") && good;
    return good ? 0 : 1;
}
