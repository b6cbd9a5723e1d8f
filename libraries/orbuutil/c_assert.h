// Assertions that are active in every build.
//
// A failed assertion is a programmer's error: it is printed on standard error with the function, the source
// and the expression, and the process is ended by abort(). The functions here may be called from any thread.
#pragma once

#include "orbuutil/orbuExport.h"

// Prints "<function>: assertion \"<expression>\" failed, <source>:<line>" and calls abort(3). All texts must
// be non-null and terminated. Never returns.
[[noreturn]] ORBU_EXPORT void assert_failed(const char* function, const char* source, int line,
                                            const char* expression);

// Stops the process through assert_failed when `expression` is false. Also evaluated in release builds.
#define ORBU_ASSERT(expression)                                                                              \
    ((expression) ? static_cast<void>(0) : assert_failed(__func__, __FILE__, __LINE__, #expression))
