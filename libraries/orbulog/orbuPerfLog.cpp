#include "orbulog/orbuPerfLog.h"

#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuVersion.h"

namespace {

TStr orNA(TStr const& text) { return text.isEmpty() ? TStr("NA") : text; }

} // namespace

void OrbuPerfLogData::checkData() {
    for (TStr* const field : {&data1, &data2, &data3, &data4, &event}) {
        if (field->isEmpty()) {
            *field = "NA";
        }
    }
}

OrbuPerfLog::OrbuPerfLog(Orbu::VendorID vendorId, OrbuPerfLogData const& given)
    : OrbuDebugLog(vendorId, ""), data(given) {
    data.checkData();
}

OrbuPerfLog::~OrbuPerfLog() = default;

void OrbuPerfLog::dumpTechSupport(OrbuLogger* logger) const {
    if (logger != nullptr) {
        logger->getFile().writeDebugLog({orNA(msPlatformOS), orNA(msHostName), orNA(orbuUtilVersionString()),
                                         data.data1 + ":" + data.data2, data.data3 + ":" + data.data4,
                                         orNA(getComponentIDStr()), data.event},
                                        ",");
    }
}

void OrbuPerfLog::clear() {
    setReason("");
    data = OrbuPerfLogData();
    clearVendor();
}
