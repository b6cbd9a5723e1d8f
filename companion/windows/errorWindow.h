// The error dialog: a headline, and the details in an expander. One button closes it.
#pragma once

#include <gtkmm/expander.h>

#include "dialogWindow.h"

class ErrorWindow : public DialogWindow {
public:
    ErrorWindow(Dialog const& dialog, Texts& texts, Answered answered);

    void expand() { expander_.set_expanded(true); }

protected:
    std::string wholeMessage() const override;

private:
    void addDetail(Texts& texts);

    std::string detail_; // whole
    Gtk::Expander expander_;
};
