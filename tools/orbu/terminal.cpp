#include "terminal.h"

#include "exitCodes.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool write_all(int fd, std::string_view data) {
    while (!data.empty()) {
        ssize_t const written = ::write(fd, data.data(), data.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        data.remove_prefix(written > 0 ? static_cast<size_t>(written) : 0);
    }
    return true;
}

bool in_colour() {
    static bool const yes = [] {
        char const* const refused = std::getenv("NO_COLOR");
        char const* const terminal = std::getenv("TERM");
        return ::isatty(STDERR_FILENO) == 1 && (refused == nullptr || *refused == '\0') &&
               terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
    }();
    return yes;
}

char const* colour_of(Tint tint) {
    switch (tint) {
    case Tint::Error:
        return "\033[31m";
    case Tint::Out:
        return "\033[32m";
    case Tint::In:
        return "\033[36m";
    }
    return "";
}

// A control character of one byte, or a C1 control, which is two bytes in UTF-8 and also moves a terminal.
size_t control_length(std::string_view rest) {
    auto const byte = static_cast<unsigned char>(rest[0]);
    if (byte < 0x20 || byte == 0x7f) {
        return 1;
    }
    auto const next = static_cast<unsigned char>(rest.size() > 1 ? rest[1] : 0);
    return byte == 0xc2 && next >= 0x80 && next < 0xa0 ? 2 : 0;
}

void append_hex(std::string& to, char byte) {
    static constexpr char digits[] = "0123456789abcdef";
    auto const value = static_cast<unsigned char>(byte);
    to += {'\\', 'x', digits[value >> 4], digits[value & 15]};
}

// Appends the first character of `rest`, a control character as \xHH. Gives the bytes taken.
size_t append_visible(std::string& to, std::string_view rest) {
    size_t const control = control_length(rest);
    if (control == 0) {
        to += rest[0];
        return 1;
    }
    for (char const byte : rest.substr(0, control)) {
        append_hex(to, byte);
    }
    return control;
}

} // namespace

void tell(std::string_view message) { tell_marked(Tint::Error, "orbu:", message); }

void tell_marked(Tint tint, std::string_view marker, std::string_view line) {
    std::string text;
    if (in_colour()) {
        text.append(colour_of(tint)).append(marker).append("\033[0m");
    } else {
        text.append(marker);
    }
    text.append(" ").append(line).append("\n");
    write_all(STDERR_FILENO, text);
}

bool put(std::string_view data) {
    if (write_all(STDOUT_FILENO, data)) {
        return true;
    }
    if (errno == EPIPE) {
        return false;
    }
    throw Failure(ExitFailed, std::string("cannot write to standard output: ") + std::strerror(errno));
}

std::string one_line(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        char const byte = text[at];
        if (byte == '\n' || byte == '\t' || byte == '\\') {
            result += {'\\', byte == '\n' ? 'n' : byte == '\t' ? 't' : '\\'};
        } else {
            at += append_visible(result, text.substr(at)) - 1;
        }
    }
    return result;
}

std::string printable(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '\n' || text[at] == '\t') {
            result += text[at];
        } else {
            at += append_visible(result, text.substr(at)) - 1;
        }
    }
    return result;
}

std::string from_one_line(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        char const next = text[at] == '\\' && at + 1 < text.size() ? text[at + 1] : '\0';
        unsigned value = 0;
        if (next == 'n' || next == 't' || next == '\\') {
            result += next == 'n' ? '\n' : next == 't' ? '\t' : '\\';
            at += 1;
        } else if (next == 'x' && at + 3 < text.size() &&
                   std::from_chars(&text[at + 2], &text[at + 2] + 2, value, 16).ptr == &text[at + 2] + 2) {
            result += static_cast<char>(value);
            at += 3;
        } else {
            result += text[at];
        }
    }
    return result;
}

void occupy_standard_descriptors() {
    // Opened the wrong way round on purpose: what was closed stays unusable, and its use an error.
    for (int const fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(fd, F_GETFD) < 0 && errno == EBADF) {
            int const opened = ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
            if (opened != fd) {
                ::_exit(ExitFailed);
            }
        }
    }
}
