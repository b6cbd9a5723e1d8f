// What is written to standard output and standard error.
#pragma once

#include <string>
#include <string_view>

enum class Tint { Error, Out, In };

// One line of talk on standard error: "orbu: MESSAGE".
void tell(std::string_view message);

// One line on standard error behind a marker that is coloured on a terminal, unless NO_COLOR is set.
void tell_marked(Tint tint, std::string_view marker, std::string_view line);

// Writes `data` to standard output, whole. False when the reader is gone, which is no fault of ours and told
// to nobody; throws Failure on any other error.
bool put(std::string_view data);

// Text for one line: control characters and backslashes as \n, \t, \\ or \xHH; all else as it stands.
std::string one_line(std::string_view text);
// The reverse. An escape that is none stays as it stands.
std::string from_one_line(std::string_view text);

// Text for a person at a terminal: lines stay lines, and a character that would move the terminal is shown
// as \xHH.
std::string printable(std::string_view text);

// Opens what is closed of descriptors 0 to 2, so that no FIFO takes their place.
void occupy_standard_descriptors();
