#include "plainText.h"

#include <glib.h>
#include <memory>

namespace {

constexpr std::size_t kLongestCharacter = 4;
constexpr int kLongestWord = 100;

} // namespace

std::string validText(std::string const& text) {
    std::unique_ptr<char, decltype(&g_free)> const valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
    return valid.get();
}

std::string shortText(std::string const& text, std::size_t characters) {
    // A character more than may be shown, and whole: what is cut off behind it is never looked at.
    std::size_t const bytes = (characters + 1) * kLongestCharacter;
    std::string valid = validText(text.size() > bytes ? text.substr(0, bytes) : text);
    if (g_utf8_strlen(valid.c_str(), -1) <= static_cast<glong>(characters)) {
        return valid;
    }
    char const* const end = g_utf8_offset_to_pointer(valid.c_str(), static_cast<glong>(characters));
    valid.resize(static_cast<std::size_t>(end - valid.c_str()));
    return valid + "…";
}

std::string oneLine(std::string const& text, std::size_t characters) {
    std::string line = shortText(text, characters);
    for (char& byte : line) {
        if (g_ascii_iscntrl(byte)) {
            byte = ' ';
        }
    }
    return line;
}

bool hasEndlessWord(std::string const& text) {
    int length = 0;
    for (char const* at = text.c_str(); *at != 0; at = g_utf8_find_next_char(at, nullptr)) {
        gunichar const character = g_utf8_get_char(at);
        length = g_unichar_isspace(character) || g_unichar_iswide(character) ? 0 : length + 1;
        if (length > kLongestWord) {
            return true;
        }
    }
    return false;
}

std::string shortLines(std::string const& text, long characters) {
    std::string lines;
    char const* written = text.c_str(); // up to here
    char const* blank = nullptr;        // behind the last one of the line
    long length = 0;
    for (char const* at = written; *at != 0;) {
        char const* const next = g_utf8_find_next_char(at, nullptr);
        if (*at == '\n') {
            length = 0;
            blank = nullptr;
        } else if (++length > characters) {
            char const* const end = blank ? blank : at;
            lines.append(written, end).push_back('\n');
            written = end;
            length = g_utf8_pointer_to_offset(end, next);
            blank = nullptr;
        }
        if (*at == ' ' || *at == '\t') {
            blank = next;
        }
        at = next;
    }
    return lines.append(written);
}
