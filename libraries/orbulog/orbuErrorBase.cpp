#include "orbulog/orbuErrorBase.h"

#include "orbulog/orbuLogger.h"
#include "orbuutil/c_strPrivate.h"

#include <string>

namespace {

// What stands behind the last "/", or all of it when that is nothing.
TStr baseNameOf(TStr const& path) {
    std::string const text = private_str_text_or_empty(path.handle());
    size_t const start = text.rfind('/') + 1; // 0 without a "/"
    return start < text.size() ? text.c_str() + start : text.c_str();
}

} // namespace

OrbuErrorBase::OrbuErrorBase(Orbu::VendorID vendorId, int status, TStr const& sourceFile, int sourceLine,
                             TStr const& version, TStr const& words)
    : OrbuLoggable("Fatal error"),
      file(sourceFile),
      line(sourceLine),
      vendor(vendorId),
      vendorStatus(status),
      vendorVersion(version),
      description(words) {}

OrbuErrorBase::~OrbuErrorBase() = default;

void OrbuErrorBase::dumpTechSupport(OrbuLogger* logger) const {
    dumpHeaderInfo(logger);
    dumpSystemInfo(logger);
    dumpGeneralInfo(logger);
    dumpErrorInfo(logger);
    dumpVendorVersionInfo(logger);
}

void OrbuErrorBase::clear() {
    OrbuLoggable::clear();
    file = "";
    vendorVersion = "";
    description = "";
    line = -1;
    vendor = Orbu::VendorNone;
    vendorStatus = 0;
}

TStr OrbuErrorBase::getVendorStatusStr() const { return getVendorStatusIDStr(); }

void OrbuErrorBase::dumpErrorInfo(OrbuLogger* logger) const {
    if (logger == nullptr) {
        return;
    }
    OrbuErrorTable const& table = logger->getErrorTable();
    logger->getFile().write("VendorID", addDescription(getVendorIDStr(), table.GetVendorName(vendor)));
    TStr const status = addDescription(getVendorStatusStr(), table.GetErrorDescription(vendor, vendorStatus));
    logger->getFile().write("VendorError", addDescription(status, description));
}

void OrbuErrorBase::dumpGeneralInfo(OrbuLogger* logger) const {
    if (logger != nullptr) {
        logger->getFile().write({{"File", baseNameOf(file)}, {"Line", TStr::number(line)}});
    }
}

void OrbuErrorBase::dumpVendorVersionInfo(OrbuLogger* logger) const {
    if (logger == nullptr) {
        return;
    }
    TStr const name = logger->getErrorTable().GetVendorName(vendor);
    if (!name.isEmpty() && !vendorVersion.isEmpty()) {
        logger->getFile().write(name, vendorVersion);
    }
}

TStr OrbuErrorBase::addDescription(TStr const& text, TStr const& words) const {
    return words.isEmpty() ? text : text + " [" + words + "]";
}

TStr OrbuErrorBase::getVendorIDStr() const { return TStr::number(static_cast<int>(vendor)); }

TStr OrbuErrorBase::getVendorStatusIDStr() const { return TStr::number(vendorStatus); }
