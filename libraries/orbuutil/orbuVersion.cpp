#include "orbuutil/orbuVersion.h"

namespace {

constexpr OrbuBuildInformation build_information = {31, 0, 9, 0, 'a'};

} // namespace

const char* orbuUtilVersionString() { return "31.0.9.0"; }

const char* orbuUtilVersionModifierString() { return "a"; }

const char* orbuUtilFrameworkVersionString() { return "31a"; }

const OrbuBuildInformation* orbuUtilBuildInformation() { return &build_information; }
