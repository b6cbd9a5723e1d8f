// A dialog for a person at a terminal, where there is no display.
#pragma once

#include "watchdog.h"

#include <optional>
#include <string>
#include <vector>

struct Prompt {
    std::string caption;
    std::string title;
    std::string detail;               // empty: there is none
    std::vector<std::string> buttons; // empty: nothing is asked
    size_t focus = 0;                 // index of the button that a bare Return presses
};

// Shows the dialog on the terminal that controls this process and gives the index of the button that is
// chosen, by its number there (from 1), its label, or a beginning that only one label has, in any case. The
// end of the input is the last button, as closing a window would be. None when there is no terminal. Throws
// Failure when the limit has passed.
std::optional<size_t> ask_on_terminal(Prompt const& prompt, watchdog::Duration limit);
