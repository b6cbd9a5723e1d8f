// The parts windows are made of. What is returned is managed: it belongs to the parent that takes it.
#pragma once

#include <gtkmm/accessible.h>
#include <gtkmm/label.h>
#include <gtkmm/widget.h>
#include <string>

// Room for a window's content, in the toolkit's units: no monitor is larger than the smallest one. Windows
// may still have a frame.
struct Room {
    int width;
    int height;
};
Room roomOnScreen();

// A share of the height that is left for texts and buttons when a dialog's margins and its other parts have
// theirs.
int share(double part);

// What a window holds; in a scroller on a screen that is too small for all the parts of a dialog.
Gtk::Widget* boundWindow(Gtk::Widget& content);

// Loads the style sheet of all windows, once for a display.
void loadStyle();

// A label that wraps anywhere if it must. Han characters get the shapes of the locale's language.
Gtk::Label* makeLabel(std::string const& text, std::string const& locale);

// How high the text becomes at a width.
int heightOf(Gtk::Widget const& widget, int width);
int widthOf(Gtk::Widget const& widget);

// The widget itself, or a scroller around it of the height `most` if it is higher at that width. A scroller
// takes part in the Tab order, so that it can be moved by keys, under the name `name`. It
// starts where `shown`, something inside, can be seen, or at the top.
Gtk::Widget* boundHeight(Gtk::Widget& widget, int width, int most, std::string const& name,
                         Gtk::Widget* shown = nullptr);

// Language of the shapes of Han characters, for a label or a text tag.
std::string pangoLanguage(std::string const& locale);

// Puts text into the clipboard, and asks the desktop to keep it beyond the end of this program.
void copyText(Gtk::Widget& widget, std::string const& text);

// What a screen reader says.
void setAccessibleName(Gtk::Widget& widget, std::string const& name);
void setAccessibleDescription(Gtk::Widget& widget, std::string const& description);
// For what only the eye needs.
void setAccessibleHidden(Gtk::Widget& widget);
void setDescribedBy(Gtk::Widget& widget, Gtk::Widget& description);
// Only before the widget is shown.
void setAccessibleRole(Gtk::Widget& widget, Gtk::Accessible::Role role);

// The direction of a widget and all it holds.
void setDirectionOfAll(Gtk::Widget& widget, Gtk::TextDirection direction);
Gtk::TextDirection directionOf(std::string const& locale);
