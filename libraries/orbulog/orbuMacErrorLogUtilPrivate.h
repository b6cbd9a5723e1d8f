// Reads the two strings that the platform tells about itself, and keeps them while it lives. (The name is
// that of the first platform.)
#pragma once

#include "orbuutil/platformNamesPrivate.h"

class OrbuMacErrorLogUtil {
public:
    // Null when the platform cannot tell. The text lives as long as this object.
    char const* getOSInformation() { return kept(system, private_platform_os_name); }
    char const* getHostName() { return kept(host, private_platform_host_name); }

private:
    static char const* kept(TStr& text, TStr (*find)()) {
        if (text.isEmpty()) {
            text = find();
        }
        return text.isEmpty() ? nullptr : text.toUtf8();
    }

    TStr system;
    TStr host;
};
