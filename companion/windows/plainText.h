// Texts from outside, made fit to be shown. They may be anything: no UTF-8, many megabytes, one endless line.
#pragma once

#include <cstddef>
#include <string>

// `text` as valid UTF-8: each byte that is none becomes U+FFFD.
std::string validText(std::string const& text);

// At most `characters` of it, with "…" behind what was cut.
std::string shortText(std::string const& text, std::size_t characters);

// The same on one line: control characters and separators of lines become blanks. For a caption, or the label
// of a button.
std::string oneLine(std::string const& text, std::size_t characters);

// Whether valid text has a stretch of a hundred characters that is one word, or blanks and nothing else.
bool hasEndlessWord(std::string const& text);

// Valid text with places to break a line where there would be none, however narrow the window: in a run of
// tabs, which becomes blanks, and in an endless chain of characters that are drawn as one sign.
std::string breakable(std::string const& text);

// Valid text with an end of line put into each line that is longer than `characters`, behind the last blank
// where there is one: a line is laid out as a whole, and takes the toolkit a time that grows much faster than
// it.
std::string shortLines(std::string const& text, long characters);
