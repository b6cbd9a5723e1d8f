// OrbuPerfLogger: one line of timing an entry (orbuPerfLog.h), in OrbuPerfLog.csv of the user's Orbu folder.
//
// On when the environment variable ORBU_PERF_LOG is there at construction; all else is as with
// OrbuDebugLogger.
#pragma once

#include "orbulog/orbuLogger.h"

class ORBU_EXPORT OrbuPerfLogger : public OrbuLogger {
public:
    OrbuPerfLogger();
    ~OrbuPerfLogger() override;

    void log(OrbuLoggable const& item) override;
    // Nothing for null, and while the log is off.
    void log(OrbuLoggable* item) override;

    // Reads the variable again. Turns the log on, never off.
    void checkIfPerfLogIsEnabled();
    bool isEnabled() const { return enabled; }

private:
    void initPerfLogFilePath();

    bool enabled = false;
    TStr logFilePath;
};
