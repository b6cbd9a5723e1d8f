#include "orbulog/orbuLoggable.h"

#include "orbulog/orbuLogger.h"
#include "orbulog/orbuMacErrorLogUtilPrivate.h"

OrbuLoggable::OrbuLoggable(TStr const& text) : reason(text) { setSystemInformation(); }

OrbuLoggable::~OrbuLoggable() = default;

void OrbuLoggable::setReason(TStr const& text) { reason = text; }

TStr OrbuLoggable::getReason() const { return reason; }

void OrbuLoggable::clear() { reason = ""; }

void OrbuLoggable::dumpHeaderInfo(OrbuLogger* logger) const {
    if (logger != nullptr && !reason.isEmpty()) {
        logger->getFile().write("Reason", reason);
    }
}

void OrbuLoggable::dumpSystemInfo(OrbuLogger* logger) const {
    if (logger != nullptr) {
        logger->getFile().write("ComputerName", msHostName);
        logger->getFile().write("OS", msPlatformOS);
    }
}

void OrbuLoggable::setSystemInformation() {
    if (msHostName.isEmpty() || msPlatformOS.isEmpty()) {
        OrbuMacErrorLogUtil util;
        msPlatformOS = util.getOSInformation();
        msHostName = util.getHostName();
    }
}
