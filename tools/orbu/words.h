// Words for dialogs in the user's language, from the string resources of the runtime.
#pragma once

#include <string>

// The locale for dialogs: `given`, or what LC_ALL, LC_MESSAGES or LANG say. One that is not admitted is the
// default locale, but a given one: then it throws Failure (usage).
std::string dialog_locale(std::string const& given);

// The word of this id; in English where the locale's file has none. One locale in a process.
std::string word(std::string const& locale, char const* id);
