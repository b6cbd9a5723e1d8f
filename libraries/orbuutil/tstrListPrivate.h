// Lists of texts, filled without copying.
#pragma once

#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"

// Appends a TStr that takes over `adopted`, which may be null.
void private_tlist_adopt(TList<TStr>& list, str* adopted);
