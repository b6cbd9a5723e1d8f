// The lists and maps that host and library share: their info records exist here, once in a process.
#include "orbuutil/tlist.h"
#include "orbuutil/tmap.h"

template class TList<TStr>;
template class TList<long>;
template class TMap<TStr, TStr>;
