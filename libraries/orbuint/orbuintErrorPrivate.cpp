#include "orbuint/orbuintErrorPrivate.h"

#include "orbulog/orbuIntError.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuVersion.h"

void private_log_int_error(Orbu::VendorID vendor, long code, char const* unit, int line) {
    COrbuIntError const error(vendor, static_cast<int>(code), unit, line, orbuUtilVersionString());
    OrbuLogger* const log = OrbuLogger::instance_m();
    log->startLogging();
    log->log(error);
}
