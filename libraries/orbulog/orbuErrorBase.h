// OrbuErrorBase: a full error report, for the general log (orbuLogger.h). An error is a vendor and a status
// number of that vendor; their words come from the logger's error table, and without them the numbers stand
// alone. A report is a run of keyed lines under one section:
//
//   Reason=Fatal error                    left out when the reason is empty
//   ComputerName=..., OS=...              two lines
//   File=source,Line=12                   the file without its folders
//   VendorID=7 [Runtime]
//   VendorError=12 [Disk full] [cannot read]
//   Runtime=31.0.9.0                      left out without a vendor's name or version
#pragma once

#include "orbulog/orbuLoggable.h"
#include "orbulog/orbuVendor.h"

class ORBU_EXPORT OrbuErrorBase : public OrbuLoggable {
public:
    // `file` and `line` say where the error was found. The reason is "Fatal error" until setReason.
    OrbuErrorBase(Orbu::VendorID vendor, int status, TStr const& file, int line, TStr const& vendorVersion,
                  TStr const& description);
    ~OrbuErrorBase() override;

    // The lines above, each group through its virtual operation.
    void dumpTechSupport(OrbuLogger* logger) const override;
    // Empties all texts and sets the line to -1, vendor and status to 0.
    void clear() override;

    // The status as the report shows it: here in plain decimal.
    virtual TStr getVendorStatusStr() const;

    // Groups of lines; a null logger: nothing.
    virtual void dumpErrorInfo(OrbuLogger* logger) const;
    virtual void dumpGeneralInfo(OrbuLogger* logger) const;
    virtual void dumpVendorVersionInfo(OrbuLogger* logger) const;

    // "text [description]", or just `text` for an empty description.
    TStr addDescription(TStr const& text, TStr const& words) const;
    TStr getVendorIDStr() const;
    TStr getVendorStatusIDStr() const;

protected:
    Orbu::VendorID getVendor() const { return vendor; }

private:
    TStr file;
    int line;
    Orbu::VendorID vendor;
    int vendorStatus;
    TStr vendorVersion;
    TStr description;
};
