#include "orbulog/orbuVendor.h"

char const* Orbu::getVendorComponent(VendorID vendor) {
    for (Vendor const& known : kVendors) {
        if (known.id == vendor) {
            return known.component;
        }
    }
    return "None";
}
