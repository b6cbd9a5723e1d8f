// Everything that the library says about where things are, with where each answer came from.
#pragma once

#include <string>
#include <utility>
#include <vector>

struct Location {
    enum Source { Default, File, ThinClient, Environment, None };

    Location(std::string of, std::string is) : name(std::move(of)), value(std::move(is)) {}

    std::string name;
    std::string value; // empty: there is none
    Source source = Default;
    std::string key;      // in the file, that has the value, or would have it
    std::string variable; // of the environment, that the value came from
    bool exists = false;
    bool writable = false;
};

struct Survey {
    int load = 0;         // as OrbuUtil::loadCustomEnvSettings gives it
    std::string variable; // the one that names the file; empty if there is none
    std::string file;
    bool thin_client = false;
    std::vector<Location> locations;
    std::vector<std::string> unknown; // "$" variables in the file that the environment does not have

    Location const& at(std::string const& name) const;
};

// Names of locations that more than one verb uses.
inline constexpr char kCommonBin[] = "common bin";
inline constexpr char kCommonLib[] = "common lib";
inline constexpr char kLocalizedData[] = "localized data";
inline constexpr char kCommonData[] = "common data";
inline constexpr char kErrorTable[] = "error table";
inline constexpr char kLogFile[] = "log file";
inline constexpr char kUserSettings[] = "user settings";
inline constexpr char kTemporary[] = "temporary";

// Asks the library, the localized data for `locale`, which may be empty.
Survey take_survey(std::string const& locale);

// What a load result means.
std::string load_words(Survey const& survey);
