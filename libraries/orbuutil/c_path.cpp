#include "orbuutil/c_path.h"

#include "orbuutil/c_strPrivate.h"
#include "orbuutil/c_strops.h"
#include "orbuutil/ownersPrivate.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr long pathRoom = 2048; // what getcwd and the ASCII form of a path may take

// The constants, with the padding that every text buffer has.
constexpr char separatorText[2 + private_str_padding] = "/";
constexpr char extSeparatorText[2 + private_str_padding] = ".";
constinit const str separator = {const_cast<char*>(separatorText), 2};
constinit const str extSeparator = {const_cast<char*>(extSeparatorText), 2};

// The text as the system takes it. A text always ends in a terminator, so that no copy is needed.
const char* localised(str* s) {
    path_localise(s);
    return private_str_text_or_empty(s);
}

bool hasMode(str* s, unsigned bit) {
    struct stat info;
    return path_stat(s, &info) == 1 && (info.st_mode & bit) != 0;
}

// The last component of a localised copy, and what is left of the copy.
struct Tail {
    StrOwner rest;
    StrOwner last;

    Tail(str* s, const str* by) {
        path_localise(s);
        rest.reset(str_dup(s));
        last.reset(str_pop_str(rest.get(), by));
    }
};

} // namespace

constinit const str* const path_separator_str = &separator;
constinit const str* const ext_separator_str = &extSeparator;

str* path_cwd() {
    char buffer[pathRoom + 1] = {};
    if (::getcwd(buffer, pathRoom) == nullptr) {
        buffer[0] = '\0';
    }
    return str_from_cstr(buffer);
}

str* path_absolute(const str* s) {
    if (path_is_absolute(s) == 1) {
        return str_dup(s);
    }
    str* result = path_cwd();
    path_push(result, s);
    return result;
}

int path_is_absolute(const str* s) { return private_str_text_or_empty(s)[0] == '/' ? 1 : 0; }

int path_chdir(str* s) {
    if (str_null(s) == 1) {
        return 0;
    }
    return ::chdir(localised(s)) == 0 ? 1 : 0;
}

void path_push(str* s, const str* part) { str_push(s, part, path_separator_str); }

void path_unshift(str* s, const str* part) { str_unshift(s, part, path_separator_str); }

str* path_pop(str* s) { return str_pop_str(s, path_separator_str); }

str* path_shift(str* s) { return str_shift_str(s, path_separator_str); }

void path_localise(str* s) {
    for (char* place = private_str_text(s); place != nullptr && *place != '\0'; ++place) {
        if (*place == '\\') {
            *place = '/';
        }
    }
}

str* path_ext(str* s) { return Tail(s, ext_separator_str).last.release(); }

str* path_basename(str* s) { return Tail(s, path_separator_str).last.release(); }

str* path_dirname(str* s) { return Tail(s, path_separator_str).rest.release(); }

int path_permissions(str* s) {
    path_localise(s);
    char ascii[pathRoom + 1] = {};
    long room = pathRoom;
    str_cstr(s, ascii, &room);
    struct stat info = {};
    return ::stat(ascii, &info) == 0 ? static_cast<int>(info.st_mode) : 0;
}

int path_exists(str* s) {
    struct stat info;
    return path_stat(s, &info);
}

int path_stat(str* s, struct stat* out) { return ::stat(localised(s), out) == 0 ? 1 : 0; }

int path_is_file(str* s) { return hasMode(s, 0x8000) ? 1 : 0; }

int path_is_dir(str* s) { return hasMode(s, 0x4000) ? 1 : 0; }

long path_size(str* s) {
    struct stat info;
    return path_stat(s, &info) == 1 ? info.st_size : 0;
}

int path_is_writable(const str* s) {
    if (::access(private_str_text_or_empty(s), W_OK) == 0) {
        return 1;
    }
    if (errno != ENOENT) {
        return 0;
    }
    StrOwner const folder(str_dup(s));
    StrOwner const name(path_pop(folder.get()));
    return ::access(private_str_text_or_empty(folder.get()), W_OK | X_OK) == 0 ? 1 : 0;
}

int path_is_readable(const str* s) { return ::access(private_str_text_or_empty(s), R_OK) == 0 ? 1 : 0; }

std::FILE* path_fopen(str* s, const char* mode) {
    const char* path = localised(s);
    return *path != '\0' ? std::fopen(path, mode) : nullptr;
}

int path_chmod(str* s, int mode) {
    UniqueFile const file(path_fopen(s, "rb"));
    return file ? ::fchmod(::fileno(file.get()), static_cast<mode_t>(mode)) : 0;
}

int path_mkdir(str* s, int mode) { return ::mkdir(localised(s), static_cast<mode_t>(mode)) == 0 ? 1 : 0; }

int path_rmdir(str* s) { return ::rmdir(localised(s)); }

int path_unlink(str* s) { return ::unlink(localised(s)); }
