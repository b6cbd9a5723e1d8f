// What the server is told from outside. Its one argument comes in the environment too, since the library
// starts it so.
#pragma once

#include <optional>
#include <string>

#include "presenter.h"

// ORBU_QMX_PRESENTER
enum class Shows { Auto, Windows, Headless };

struct Settings {
    std::string prefix;      // PROCESS_ARGUMENTS, as it stands
    Milliseconds idle{0};    // ORBU_QMX_IDLE; negative: for ever
    std::string answers;     // ORBU_QMX_ANSWERS
    std::string answersFile; // ORBU_QMX_ANSWERS_FILE
    std::string log;         // ORBU_QMX_LOG
    Shows shows = Shows::Auto;
    bool display = false; // WAYLAND_DISPLAY or DISPLAY is there
};

extern char const* const usageText;

// From the environment; nothing, and a message on standard error, when a setting cannot be understood.
std::optional<Settings> readSettings();

// "500ms", "20s" or "2min"; nothing for anything else.
std::optional<Milliseconds> parseDuration(std::string const& text);
// A whole decimal number; nothing for anything else.
std::optional<long> parseNumber(std::string const& text);
