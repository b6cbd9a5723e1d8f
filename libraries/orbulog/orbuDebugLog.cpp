#include "orbulog/orbuDebugLog.h"

#include "orbulog/orbuLogger.h"

OrbuDebugLog::OrbuDebugLog() : OrbuDebugLog(Orbu::VendorNone, "") {}

// By value: hosts are built against it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
OrbuDebugLog::OrbuDebugLog(Orbu::VendorID vendorId, TStr text)
    : OrbuLoggable(""), message(text), vendor(vendorId) {
    setComponentIDStr();
}

OrbuDebugLog::~OrbuDebugLog() = default;

void OrbuDebugLog::dumpTechSupport(OrbuLogger* logger) const {
    if (logger != nullptr) {
        logger->getFile().writeDebugLog({componentId, message}, OrbuDelimitedFile::kSpace);
    }
}

void OrbuDebugLog::clear() {
    OrbuLoggable::clear();
    message = "";
    componentId = "";
    clearVendor();
}

void OrbuDebugLog::setComponentIDStr() { componentId = "[" + TStr(Orbu::getVendorComponent(vendor)) + "]"; }
