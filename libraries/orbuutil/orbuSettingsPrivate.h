// What the two sources of the settings store share.
#pragma once

#include "orbuutil/c_assert.h"
#include "orbuutil/c_strPrivate.h"
#include "orbuutil/tpath.h"
#include "orbuutil/tstr.h"

#include <string_view>

// As ORBU_ASSERT, with the class in the place of the source file.
#define ORBU_SETTINGS_ASSERT(expression)                                                                     \
    ((expression) ? static_cast<void>(0) : assert_failed(__func__, "OrbuSettings", __LINE__, #expression))

// The same for a pointer, in the words that the expression has always been reported with.
#define ORBU_SETTINGS_ASSERT_POINTER(pointer)                                                                \
    ((pointer) != nullptr ? static_cast<void>(0)                                                             \
                          : assert_failed(__func__, "OrbuSettings", __LINE__, #pointer " != NULL"))

// The bytes of a text, without a copy.
inline std::string_view private_settings_bytes(TStr const& text) {
    return {private_str_text_or_empty(text.handle()), static_cast<unsigned long>(text.length())};
}

// Section, "/" and key as a new string.
str* private_settings_composite(std::string_view section, std::string_view key);

// Opens the file and its folder to everybody: fchmod(2) to 0666 and 0777. False when one of them fails.
bool private_settings_open_to_all(int fd, TPath const& folder);
