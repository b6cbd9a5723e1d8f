// What packets, sessions and conduits have in common.
#pragma once

#include "orbuutil/orbuExport.h"

class ORBU_EXPORT QMXPipe {
public:
    // Whether a sender waits for a reply. It travels as its number, and a received packet may hold any
    // number.
    enum Synchronicity : int {
        SynchronicityDefault = 0, // not stated here: ask the next level
        Asynchronous = 1,         // do not wait
        Synchronous = 2,          // wait
    };
};
