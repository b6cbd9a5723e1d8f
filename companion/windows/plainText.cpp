#include "plainText.h"

#include <glib.h>
#include <memory>
#include <pango/pango.h>
#include <vector>

namespace {

constexpr std::size_t kLongestCharacter = 4;
constexpr int kLongestWord = 100;
constexpr int kLongestCluster = 16; // what people write as one sign is shorter
constexpr char kZeroWidthSpace[] = "\u200B";

// Blanks and ends of lines.
bool isBlank(gunichar character) {
    switch (g_unichar_break_type(character)) {
    case G_UNICODE_BREAK_SPACE:
    case G_UNICODE_BREAK_ZERO_WIDTH_SPACE:
    case G_UNICODE_BREAK_MANDATORY:
    case G_UNICODE_BREAK_CARRIAGE_RETURN:
    case G_UNICODE_BREAK_LINE_FEED:
    case G_UNICODE_BREAK_NEXT_LINE:
        return true;
    default:
        return false;
    }
}

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
    std::string const valid = shortText(text, characters);
    std::string line;
    for (char const* at = valid.c_str(); *at != 0;) {
        char const* const next = g_utf8_find_next_char(at, nullptr);
        switch (g_unichar_type(g_utf8_get_char(at))) {
        case G_UNICODE_CONTROL:
        case G_UNICODE_LINE_SEPARATOR:
        case G_UNICODE_PARAGRAPH_SEPARATOR:
            line += ' ';
            break;
        default:
            line.append(at, next);
        }
        at = next;
    }
    return line;
}

bool hasEndlessWord(std::string const& text) {
    int length = 0;
    bool wasBlank = false;
    for (char const* at = text.c_str(); *at != 0; at = g_utf8_find_next_char(at, nullptr)) {
        gunichar const character = g_utf8_get_char(at);
        bool const blank = isBlank(character);
        bool const isIdeograph = g_unichar_break_type(character) == G_UNICODE_BREAK_IDEOGRAPHIC;
        length = blank != wasBlank || isIdeograph ? 0 : length + 1;
        wasBlank = blank;
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

std::string breakable(std::string const& text) {
    auto const count = static_cast<std::size_t>(g_utf8_strlen(text.c_str(), -1));
    std::vector<PangoLogAttr> places(count + 1);
    pango_get_log_attrs(text.c_str(), -1, -1, pango_language_get_default(), places.data(),
                        static_cast<int>(places.size()));
    std::string result;
    char const* at = text.c_str();
    int length = 0; // of the sign so far
    for (std::size_t i = 0; i < count; ++i) {
        char const* const next = g_utf8_find_next_char(at, nullptr);
        length = places[i].is_cursor_position ? 1 : length + 1;
        if (length > kLongestCluster) {
            result += kZeroWidthSpace;
            length = 1;
        }
        if (*at == '\t' && i > 0 && at[-1] == '\t') {
            result += ' ';
        } else {
            result.append(at, next);
        }
        at = next;
    }
    return result;
}
