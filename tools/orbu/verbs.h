// What orbu can do. Each verb gives its exit code and throws Failure.
#pragma once

#include "conversation.h"

#include <string>
#include <vector>

struct Options {
    Place place;
    watchdog::Duration timeout{};
    bool json = false;
    bool trace = false;
};

int call(Options const& options, std::string const& name, std::vector<std::string> const& attributes);
int list_facilities(Options const& options);
int introspect(Options const& options, std::string const& facility);
int list_locales(Options const& options);
int replay(Options const& options, std::string const& file);
