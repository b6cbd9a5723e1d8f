#include "orbulog/orbuPerfLogger.h"

#include "orbulog/orbuLogPathPrivate.h"

#include <cstdlib>

OrbuPerfLogger::OrbuPerfLogger() : OrbuLogger(false) {
    checkIfPerfLogIsEnabled();
    initPerfLogFilePath();
}

OrbuPerfLogger::~OrbuPerfLogger() = default;

void OrbuPerfLogger::log(OrbuLoggable const& item) { OrbuLogger::log(item); }

void OrbuPerfLogger::log(OrbuLoggable* item) {
    if (enabled) {
        OrbuLogger::log(item);
    }
}

void OrbuPerfLogger::checkIfPerfLogIsEnabled() {
    if (std::getenv("ORBU_PERF_LOG") != nullptr) {
        enabled = true;
    }
}

void OrbuPerfLogger::initPerfLogFilePath() {
    logFilePath = private_user_log_path("OrbuPerfLog.csv");
    setLogFileName(logFilePath);
}
