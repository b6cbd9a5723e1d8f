#include "orbulog/orbuDebugLogger.h"

#include "orbulog/orbuLogPathPrivate.h"

#include <cstdlib>

OrbuDebugLogger::OrbuDebugLogger() : OrbuLogger(false) {
    checkIfDebugLogIsEnabled();
    initDebugLogFilePath();
}

OrbuDebugLogger::~OrbuDebugLogger() = default;

void OrbuDebugLogger::log(OrbuLoggable const& item) { OrbuLogger::log(item); }

void OrbuDebugLogger::log(OrbuLoggable* item) {
    if (enabled) {
        OrbuLogger::log(item);
    }
}

void OrbuDebugLogger::checkIfDebugLogIsEnabled() {
    if (std::getenv("ORBU_DEBUG_MODE") != nullptr) {
        enabled = true;
    }
}

void OrbuDebugLogger::initDebugLogFilePath() {
    logFilePath = private_user_log_path("OrbuDebug.log");
    setLogFileName(logFilePath);
}
