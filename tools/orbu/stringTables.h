// The string resources of all locales, and what is wrong with them.
#pragma once

#include <map>
#include <string>
#include <vector>

struct StringTable {
    bool readable = false;
    std::map<std::string, int> ids; // with how often each stands there
    std::vector<std::string> empty; // ids without words
};

// By file: one for each locale that the library admits.
std::map<std::string, StringTable> read_string_tables();

struct StringFault {
    std::string words;
    std::string advice; // what to do; empty: only a new runtime helps
};

// Every file can be read, and has the same ids: none missing, none twice, none without words.
std::vector<StringFault> find_faults(std::map<std::string, StringTable> const& tables);
