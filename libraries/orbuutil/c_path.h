// Paths, plain layer: file locations held in a `str` and the file system calls that take one.
//
// - A path is its UTF-8 text, relative or absolute, and reaches the system as it is. Doubled separators are
//   not collapsed, "." and ".." not resolved.
// - Backslashes come from data written elsewhere. A function marked [L] first turns them into "/" IN the
//   path it is given, so it changes its argument even when nothing else does.
// - Ownership: a returned `str` belongs to the caller, who gives it to str_uninit.
// - Null: a null path, and a null text, is taken as an empty path.
// - Results: look at each one, the senses differ. errno is left as the system call left it.
// - Threads: one path belongs to one thread at a time; the current directory is the process's.
#pragma once

#include "orbuutil/orbuExport.h"

#include <cstdio>

struct stat;
struct str;

// "/" and ".". Never changed, never released.
ORBU_EXPORT extern const str* const path_separator_str;
ORBU_EXPORT extern const str* const ext_separator_str;

// --- where it is ---

// The current directory, getcwd(3), taken as ASCII: other characters come out as "?". Empty when it cannot be
// told or has more than 2047 bytes.
ORBU_EXPORT str* path_cwd();

// A copy of an absolute path; otherwise the current directory (see path_cwd) joined with `s`.
ORBU_EXPORT str* path_absolute(const str* s);

// 1 when the first character is "/".
ORBU_EXPORT int path_is_absolute(const str* s);

// chdir(2). [L] 1 on success; 0 on failure and for a null text.
ORBU_EXPORT int path_chdir(str* s);

// --- parts, in place: str_push, str_pop_str and their kin (c_str.h) with "/" as separator ---

// Join with one separator. A null text just takes `part`, an empty `part` changes nothing.
ORBU_EXPORT void path_push(str* s, const str* part);
ORBU_EXPORT void path_unshift(str* s, const str* part);

// Cut off and return the last, or the first, component. Without a separator the whole text goes and `s`
// becomes null; path_pop does not count a separator at the very start.
ORBU_EXPORT str* path_pop(str* s);
ORBU_EXPORT str* path_shift(str* s);

// Turns every backslash into "/". Accepts null.
ORBU_EXPORT void path_localise(str* s);

// --- parts, as new strings. [L] ---

// What stands behind the last dot, or the last separator: the whole path when there is none, or when it is
// the very first character. A dot in a directory's name counts when the file's name has none.
ORBU_EXPORT str* path_ext(str* s);
ORBU_EXPORT str* path_basename(str* s);

// What path_basename leaves over; a null string when that is nothing.
ORBU_EXPORT str* path_dirname(str* s);

// --- asking. [L] except for the last two ---

// The mode word of stat(2), 0 when that fails. The path is passed as ASCII, so a name with other characters
// is looked for with "?" in their place: hosts depend on it. Paths beyond 2046 bytes give 0.
ORBU_EXPORT int path_permissions(str* s);

// 1 when stat(2) succeeds, else 0; path_stat fills `out`.
ORBU_EXPORT int path_exists(str* s);
ORBU_EXPORT int path_stat(str* s, struct stat* out);

// 1 when stat(2) succeeds and the mode has the bit 0x8000, or 0x4000. They are tests of one bit: a socket has
// both, a block device the second.
ORBU_EXPORT int path_is_file(str* s);
ORBU_EXPORT int path_is_dir(str* s);

// Bytes in the file, 0 when stat(2) fails.
ORBU_EXPORT long path_size(str* s);

// access(2). 1 or 0. A path that does not exist counts as writable when its directory, the path less its last
// component, may be written and searched; a bare name has no directory here and gives 0.
ORBU_EXPORT int path_is_writable(const str* s);
ORBU_EXPORT int path_is_readable(const str* s);

// --- doing. [L] ---

// fopen(3); null on failure and for an empty path. The caller closes.
ORBU_EXPORT std::FILE* path_fopen(str* s, const char* mode);

// Opens for reading and calls fchmod(2), whose result it gives: 0 on success. A file that cannot be opened
// gives 0 as well: hosts treat it as done.
ORBU_EXPORT int path_chmod(str* s, int mode);

// mkdir(2): 1 on success, 0 on failure. `mode` is subject to the umask.
ORBU_EXPORT int path_mkdir(str* s, int mode);

// rmdir(2), unlink(2): the call's own result, 0 on success and -1 on failure, the reverse of path_mkdir.
ORBU_EXPORT int path_rmdir(str* s);
ORBU_EXPORT int path_unlink(str* s);
