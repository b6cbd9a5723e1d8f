// Tokens: splitting a TStr into a TList<TStr> and joining it again, and a few conveniences on TStr.
//
// - Ownership: everything is returned by value; the two buffers are released with memory_free.
// - A null token is a TStr without a handle: it stays null in copies; isNull() and isEmpty() are true on it.
// - Threads: one object belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"

// Takes the first token off `s`. An empty `s` gives a null token. Without `sep` in it the whole text is the
// token, and `s` becomes null. With `sep` at the very start the token is null, and `s` loses its first
// character. Otherwise the token is left(offset) and `s` keeps mid(offset + 1, -1): one character goes for
// the separator, whatever its length, so only separators of one character work fully; and the offset, which
// counts bytes, is used to count characters, so a token with multi-byte characters takes in what follows it.
// Hosts depend on both.
ORBU_EXPORT TStr stringPopFront(TStr& s, const TStr& sep);

// All tokens of `s`, as stringPopFront gives them one after the other, in linear time. A leading or doubled
// separator gives a null token, a trailing one gives none; an empty text gives an empty list.
ORBU_EXPORT TList<TStr> stringSplit(const TStr& s, const TStr& sep);

// The items with `sep` between them; null items count as empty. An empty list gives a null TStr.
ORBU_EXPORT TStr stringJoin(const TList<TStr>& list, const TStr& sep);

// s.upper(): a copy with its ASCII letters in upper case.
ORBU_EXPORT TStr toUpper(const TStr& s);

// The text as a new terminated buffer of bytes, or of 16-bit units in machine order with a byte order mark in
// front. Null for a null handle. Released with memory_free.
ORBU_EXPORT char* stringToUtf8(const TStr& s);
ORBU_EXPORT unsigned short* stringToUtf16(const TStr& s);
