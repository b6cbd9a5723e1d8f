// How a server shows its dialogs.
#pragma once

class Conversation;

enum class Shown {
    Windows, // to whoever sits at the display
    Rules,   // to nobody, but rules answer in their place
    Nobody,  // to nobody: the button with the focus counts as pressed
    Untold,  // the server does not know the question
    Gone,    // the server ended over it, as one does that has to show windows and has no display
};

// Asks the server. It may have to wait until the server's windows are ready, or have failed.
Shown ask_presenter(Conversation& conversation);

// Whether the environment names a display, and whether it has a server do without one in any case.
bool has_display();
bool is_told_to_be_headless();
