// Pictures of windows.
#pragma once

#include <gtkmm/window.h>
#include <string>

// Shows the window, waits until it is painted, and writes it into a PNG file with its frame. False when the
// file cannot be written.
bool savePicture(Gtk::Window& window, std::string const& path);
