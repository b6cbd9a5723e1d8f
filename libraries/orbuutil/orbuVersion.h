// What version of the library runs. All results are constants of the process's life, in ASCII.
#pragma once

#include "orbuutil/orbuExport.h"

// The numbers of orbuUtilVersionString, and the letter behind the major one in the framework's folder.
struct OrbuBuildInformation {
    int major;
    int minor;
    int update;
    int build;
    char modifier;
};

// "31.0.9.0": major, minor, update, build.
ORBU_EXPORT const char* orbuUtilVersionString();

// "a": tells builds of one major version apart.
ORBU_EXPORT const char* orbuUtilVersionModifierString();

// "31a": the folder of this version inside the framework.
ORBU_EXPORT const char* orbuUtilFrameworkVersionString();

ORBU_EXPORT const OrbuBuildInformation* orbuUtilBuildInformation();
