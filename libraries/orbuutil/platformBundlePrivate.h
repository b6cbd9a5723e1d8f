// Seam: where the running program's own bundle is.
#pragma once

#include <string>

// The nearest folder above the program that is named "*.app", or the program's own folder. Without a trailing
// "/"; empty when it cannot be told. Linux: /proc/self/exe.
std::string private_platform_bundle_path();
