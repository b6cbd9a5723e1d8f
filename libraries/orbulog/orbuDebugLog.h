// OrbuDebugLog: one line of trace, for OrbuDebugLogger:
//
//   2024/03/09 12:03:05 4242 [OrbuInt] the message            with a blank before the line feed
//
// Nothing is escaped, so a message with line feeds makes several lines.
#pragma once

#include "orbulog/orbuLoggable.h"
#include "orbulog/orbuVendor.h"

class ORBU_EXPORT OrbuDebugLog : public OrbuLoggable {
public:
    // No message, and no component: "[None]".
    OrbuDebugLog();
    OrbuDebugLog(Orbu::VendorID vendor, TStr message);
    ~OrbuDebugLog() override;

    void dumpTechSupport(OrbuLogger* logger) const override;
    // Empties the texts, the component's too, and sets the vendor to 0.
    void clear() override;

protected:
    TStr const& getComponentIDStr() const { return componentId; }
    void clearVendor() { vendor = Orbu::VendorNone; }

private:
    void setComponentIDStr();

    TStr message;
    Orbu::VendorID vendor;
    TStr componentId; // the component text in brackets
};
