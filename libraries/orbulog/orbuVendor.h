// The components of the system, each of which is a vendor of errors: its number and its component text.
#pragma once

#include "orbuutil/orbuExport.h"

namespace Orbu {

// Any number may be given; those without a name here are no component.
enum VendorID : int {
    VendorNone = 0,
    VendorOrbuInt = 1,
    VendorOrbuRT = 7,
    VendorOrbuQMX = 8,
};

struct Vendor {
    VendorID id;
    char const* component;
};

inline constexpr Vendor kVendors[] = {
    {VendorOrbuInt, "OrbuInt"},
    {VendorOrbuRT, "OrbuRT"},
    {VendorOrbuQMX, "OrbuQMX"},
};

// The component text of a vendor, "None" for any number that is none. Constant, never released.
ORBU_EXPORT char const* getVendorComponent(VendorID vendor);

} // namespace Orbu
