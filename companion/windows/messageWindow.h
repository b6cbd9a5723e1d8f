// The message box: a text and the buttons of the request, in their order. Without any there is one, OK.
#pragma once

#include "dialogWindow.h"

class MessageWindow : public DialogWindow {
public:
    MessageWindow(Dialog const& dialog, Texts& texts, Answered answered);
};
