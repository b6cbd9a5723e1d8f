#include "plainText.h"

#include <glib.h>
#include <memory>

namespace {

constexpr std::size_t kLongestCharacter = 4;

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
