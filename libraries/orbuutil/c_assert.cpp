#include "orbuutil/c_assert.h"

#include <cstdio>
#include <cstdlib>

void assert_failed(const char* function, const char* source, int line, const char* expression) {
    std::fprintf(stderr, "%s: assertion \"%s\" failed, %s:%d\n", function, expression, source, line);
    std::abort();
}
