// Texts and lists of texts as a test compares and prints them.
#pragma once

#include "orbuutil/c_listPrivate.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"

#include <string>
#include <vector>

namespace support {

using Texts = std::vector<std::string>;

inline std::string text(TStr const& s) { return s.isNull() ? "<null>" : s.toUtf8(); }

inline Texts texts(TList<TStr> const& list) {
    Texts all;
    for (const list_entry* e = list_head(list.handle()); e != nullptr; e = e->next)
        all.push_back(text(*static_cast<const TStr*>(e->value)));
    return all;
}

} // namespace support
