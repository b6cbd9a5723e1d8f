// Text of any bytes through every conversion and every operation that walks, cuts or joins it.
#include "orbuutil/c_memory.h"
#include "orbuutil/c_str.h"
#include "orbuutil/tstr.h"
#include "orbuutil/tstrList.h"

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const long bytes = static_cast<long>(size);
    for (long from = STR_ASCII; from <= STR_UTF32; ++from) {
        TStr text(static_cast<const void*>(data), bytes, from);
        for (long to = STR_ASCII; to <= STR_UTF32; ++to) {
            text.asEncoding(to);
            memory_free(str_alloc(text.handle(), to));
        }
    }

    // The first byte says where the rest is cut into text and argument.
    const long cut = size > 1 ? 1 + data[0] % (bytes - 1) : 0;
    const TStr text(static_cast<const void*>(data), cut, STR_UTF8);
    const TStr other(static_cast<const void*>(data + cut), bytes - cut, STR_UTF8);
    TStr(text).arg(other).arg(other, 7, '0');
    TStr(text).push(other, "/");
    TStr(text).unshift(other, "/");
    TStr(text).shift("./%");
    TStr(text).pop("./%");
    TStr(text).shiftString("%");
    TStr(text).popString("%");
    if (!other.isEmpty())
        TStr(text).replace(other, "x");
    text.find(other, 0, false);
    text.left(3);
    text.right(3);
    text.mid(1, -1);
    text.stripWhiteSpace();
    text.simplifyWhiteSpace();
    text.toLong();
    text.toDouble();
    stringJoin(stringSplit(text, "%"), other);
    return 0;
}
