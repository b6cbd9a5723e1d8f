#include "orbulog/orbuIntError.h"

#include "orbulog/orbuLogger.h"

COrbuIntError::COrbuIntError(Orbu::VendorID vendorId, int status, TStr const& sourceFile, int sourceLine,
                             TStr const& version)
    : OrbuErrorBase(vendorId, status, sourceFile, sourceLine, version, ""), intError(status) {}

COrbuIntError::~COrbuIntError() = default;

void COrbuIntError::dumpErrorInfo(OrbuLogger* logger) const {
    if (logger == nullptr) {
        return;
    }
    TStr const words = logger->getErrorTable().GetErrorDescription(Orbu::VendorOrbuInt, intError);
    logger->getFile().write("OrbuIntError", addDescription(getOrbuIntErrorStr(), words));
    if (getVendor() != Orbu::VendorOrbuInt) {
        OrbuErrorBase::dumpErrorInfo(logger);
    }
}

TStr COrbuIntError::getOrbuIntErrorStr() const { return TStr::number(intError); }
