// COrbuIntError: the error report of the host layer, which has a status of its own. In the place of the
// vendor's lines it writes
//
//   OrbuIntError=5 [No connection]        always in the words of the host layer
//
// and behind it the vendor's lines when another component caused the error.
#pragma once

#include "orbulog/orbuErrorBase.h"

class ORBU_EXPORT COrbuIntError : public OrbuErrorBase {
public:
    // `status` is the host layer's status and that of the vendor.
    COrbuIntError(Orbu::VendorID vendor, int status, TStr const& file, int line, TStr const& vendorVersion);
    ~COrbuIntError() override;

    void dumpErrorInfo(OrbuLogger* logger) const override;

    // In plain decimal.
    TStr getOrbuIntErrorStr() const;

private:
    int intError;
};
