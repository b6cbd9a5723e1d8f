// COrbuIntSingletonOrder: fixes the order in which the process's singletons come up, and thereby go.
//
// A host's entry point constructs one before it does anything else, on the thread that everything belongs to,
// and makes its own top-level manager next. At exit that manager goes first, then the general log, and the
// string resources last, whatever order the code would have touched them in. It holds nothing: the object
// itself may go at once.
#pragma once

#include "orbuutil/orbuExport.h"

class ORBU_EXPORT COrbuIntSingletonOrder {
public:
    // Makes COrbuIntResHandler::instance(), then OrbuLogger::instance_m().
    COrbuIntSingletonOrder();
};
