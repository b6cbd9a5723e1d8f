// The escaped text form: the lowest layer of everything that is sent over a pipe.
//
// A digit, an ASCII letter, "_" and "-" stand for themselves; any other byte of the UTF-8 text is "!" and two
// lower-case hexadecimal digits (a blank is "!20", a comma "!2c", "!" itself "!21"). So the separators of the
// layers above can be used unescaped. A list is "#", the count, ":" and the escaped items with "," between
// them: "#2:a!20b,c".
//
// Null texts count as empty; no result is null. What cannot be decoded is reported to QMXBase::logError, and
// the caller gets what there is. Linear in time. Threads: one object belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"

// The escaped form of the text.
ORBU_EXPORT TStr marshalString(TStr const& s);

// The text of an escaped form. Decoding stops at the first escape that is none (which is reported) or is cut
// off by the end, and gives what stands before it; "!00" ends the text. Bytes that need no "!" to be read
// stand for themselves.
ORBU_EXPORT TStr unmarshalString(TStr const& s);

// The escaped form of a list; an empty one gives "#0:".
ORBU_EXPORT TStr marshalStringList(TList<TStr> const& list);

// The items of an escaped list. An empty text gives an empty list. A text that is no list, or whose count
// differs from the number of its parts, gives one item, the text itself: so does a list whose last item is
// empty, since a trailing separator has no part behind it.
ORBU_EXPORT TList<TStr> unmarshalStringList(TStr const& s);
