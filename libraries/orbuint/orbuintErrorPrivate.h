// How this layer reports a failure.
#pragma once

#include "orbulog/orbuVendor.h"

// Writes a COrbuIntError to the host's general log. `unit` is the source, without its ending.
void private_log_int_error(Orbu::VendorID vendor, long code, char const* unit, int line);
