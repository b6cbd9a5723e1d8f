// Platform seam: what the machine and its operating system are called, for the logs.
//
// Contract: each gives one line of UTF-8, or an empty text when the platform cannot tell. Nothing is cached,
// nothing is logged. Any thread may call them.
#pragma once

#include "orbuutil/tstr.h"

#include <string>
#include <string_view>

// The system's own name and version: PRETTY_NAME of /etc/os-release or, where there is none, of
// /usr/lib/os-release; else name, release and machine as uname(2) tells them.
TStr private_platform_os_name();

// gethostname(2).
TStr private_platform_host_name();

// The value of PRETTY_NAME in the text of an os-release file, the last one as in a shell; quotes and
// backslashes are taken off, and control characters with them. Empty when there is none.
std::string private_pretty_name(std::string_view osRelease);
