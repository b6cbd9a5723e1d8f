// What the sources of OrbuUtil share.
#pragma once

#include "orbuutil/c_strPrivate.h"
#include "orbuutil/tstr.h"

#include <string>

// The host's install location (see OrbuUtil). Constructed with the library's other load-time objects.
extern TStr OrbuUtil_CustomInstallLocationPath;

// The bytes of a text up to its terminator. Texts from the environment may be no valid UTF-8: put together as
// bytes they come out as they went in.
inline std::string private_bytes(const TStr& text) {
    const char* const utf8 = private_str_text(text.handle());
    return utf8 != nullptr ? utf8 : "";
}
