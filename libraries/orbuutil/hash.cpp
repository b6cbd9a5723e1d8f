#include "orbuutil/hash.h"

#include "orbuutil/c_strops.h"
#include "orbuutil/tstr.h"

unsigned long hash(TStr const& key) { return str_hash(key.handle()); }
