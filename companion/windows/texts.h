// The words of the dialogs themselves, in the language of the request.
//
// They stand in <folder>/<locale>/OrbuIntRes.xml; the first folder that has the locale's file with the text
// answers. What is not there in the locale's language comes in American English, and in the end from a table
// of this program's own, so that no dialog is without words.
#pragma once

#include <map>
#include <string>
#include <vector>

class Texts {
public:
    explicit Texts(std::vector<std::string> folders);

    // Never empty for an id of the table ("ok", "close", "details" ...).
    std::string get(std::string const& locale, std::string const& id);

private:
    using Table = std::map<std::string, std::string>;

    Table const& tableOf(std::string const& locale);

    std::vector<std::string> folders_;
    std::map<std::string, Table> tables_; // by locale, read once
};

// "de_DE" for "de_DE", "DE-de" and "de-DE"; empty for a text of another shape.
std::string normalLocale(std::string const& locale);

// Whether the language of the locale ("ar_EG", or "ar" alone) is written from right to left.
bool isRightToLeft(std::string const& locale);

// The caption of a dialog that came without one: "caption_error" and its kin, by the number of the icon.
char const* captionId(long icon);

// The freedesktop name of an icon; null when the number stands for none.
char const* iconName(long icon);
