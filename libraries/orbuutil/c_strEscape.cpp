#include "orbuutil/c_stropsPrivate.h"

#include "orbuutil/c_str.h"

int str_find_span(const str* s, const char* open, const char* close, int* length, int start) {
    const int none = -1;
    int closeAt = str_utf8_find(s, close, start, 1);
    if (closeAt == 0)
        return none;
    while (closeAt >= 0) {
        int openAt = none;
        for (int next = str_utf8_find(s, open, start, 1); next >= 0 && next < closeAt;
             next = str_utf8_find(s, open, openAt + 1L, 1))
            openAt = next;
        if (openAt > 0) {
            if (length != nullptr)
                *length = closeAt - openAt;
            return openAt;
        }
        start = closeAt + 1;
        closeAt = str_utf8_find(s, close, start, 1);
    }
    return none;
}

void str_collapse(str* s, const char* set) {
    if (str_null(s) != 0)
        return;
    str* copy = str_dup(s);
    str_clear(s);
    while (str_empty(copy) == 0) {
        int delimiter = 0;
        str* piece = str_shift(copy, set != nullptr ? set : "", &delimiter);
        str* escape = str_from_utf8("!{%1}");
        str* separator = str_arg_long(escape, delimiter, 0, 16, ' ');
        str_push(s, piece, separator);
        str_uninit(separator);
        str_uninit(escape);
        str_uninit(piece);
    }
    str_uninit(copy);
}

void str_expand(str* s) {
    if (s == nullptr)
        return;
    str* copy = str_dup(s);
    str_clear(s);

    // Each round would append what stands before the first escape, and the escape's character as a UTF-32
    // unit of eight bytes, which converts to nothing. The copy is not shortened between rounds, so that with
    // an escape there is no end to them: one round stands for all.
    const int span = str_find_span(copy, "!{", "}", nullptr, 0);
    str* left = str_left(copy, span);
    str_cat(s, left);
    str_uninit(left);

    str_cat(s, copy);
    str_uninit(copy);
}
