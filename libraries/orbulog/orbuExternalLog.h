// OrbuExternalLog: hands formatted text to a callback of the host.
//
// The handler is set once, at start, before other threads log: there is no lock. The text lives until the
// handler returns.
#pragma once

#include "orbuutil/orbuExport.h"

typedef void (*OrbuExternalLogHandler)(void* userData, char const* text);

class ORBU_EXPORT OrbuExternalLog {
public:
    // A null handler turns the sink off. Always 0.
    static int set_external_log_handler(OrbuExternalLogHandler handler, void* userData);

    // Formats as printf(3) does, in 1024 bytes with the terminator: what is longer is cut off. Does nothing
    // without a handler.
    static void log_message(char const* format, ...) __attribute__((format(printf, 1, 2)));

private:
    static OrbuExternalLogHandler g_logHandler;
    static void* g_userData;
};
