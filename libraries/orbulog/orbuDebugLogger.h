// OrbuDebugLogger: one line of trace an entry (orbuDebugLog.h), in OrbuDebug.log of the user's Orbu folder.
//
// On when the environment variable ORBU_DEBUG_MODE is there at construction, whatever its value, an empty one
// too; nothing else turns it on. Made on the stack where an entry is written, so that setting the variable
// takes effect at the next entry. Every construction makes the folder (mode 0770), also when logging is off.
// Where it cannot, as without HOME, the logger has no file name and writes nothing.
#pragma once

#include "orbulog/orbuLogger.h"

class ORBU_EXPORT OrbuDebugLogger : public OrbuLogger {
public:
    OrbuDebugLogger();
    ~OrbuDebugLogger() override;

    void log(OrbuLoggable const& item) override;
    // Nothing for null, and while the log is off.
    void log(OrbuLoggable* item) override;

    // Reads the variable again. Turns the log on, never off.
    void checkIfDebugLogIsEnabled();
    bool isEnabled() const { return enabled; }

private:
    void initDebugLogFilePath();

    bool enabled = false;
    TStr logFilePath;
};
