// A host without an event loop: nothing ticks but its own calls, whatever the mode.
#include "orbuutil/ttimer.h"

static int calls = 0;
static int count(void*) { return ++calls; }

int main() {
    for (const bool manual : {false, true, false}) {
        TTimer::setManualClock(manual, 1);
        const int id = TTimer::add(0, count, nullptr, true);
        TTimer::clock();
        if (!TTimer::remove(id)) {
            return 1;
        }
        TTimer::clock();
    }
    return calls == 3 ? 0 : 2;
}
