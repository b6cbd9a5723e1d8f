#include "orbuutil/c_assert.h"
#include "orbuutil/orbuUtil.h"

namespace {

constexpr int most_units = 1048576;

} // namespace

int OrbuUtil::getNumChars(const unsigned short* text) {
    if (text == nullptr || *text == 0) {
        return 0;
    }
    int count = 1;
    while (count < most_units && text[count - 1] != 0) {
        ++count;
    }
    return count;
}

long OrbuUtil::getNumBytes(const unsigned short* text, int length) {
    if (text == nullptr || *text == 0 || length == 0 || length < -1) {
        return 0;
    }
    return 2L * (length == -1 ? getNumChars(text) : length);
}

bool OrbuUtil::orbuSTRINGToTStr(const orbuSTRING* from, TStr& to) {
    to = TStr("");
    if (from == nullptr || from->length < -1) {
        return false;
    }
    const long bytes = getNumBytes(from->data, from->length);
    if (bytes == 0) {
        return true;
    }
    const TStr converted(from->data, bytes / 2);
    if (converted.isNull()) {
        return false;
    }
    to = converted;
    return true;
}

TStr OrbuUtil::orbuSTRINGToTStr(const orbuSTRING* from) {
    TStr result;
    orbuSTRINGToTStr(from, result);
    return result;
}

bool OrbuUtil::TStrToorbuSTRING(const TStr& from, orbuSTRING* to, bool zeroTerminated) {
    ORBU_ASSERT(to != nullptr);
    to->data = from.isNull() ? TStr("").utf16le_alloc() : from.utf16le_alloc();
    to->length = -1;
    if (!zeroTerminated) {
        to->length = 0;
        while (to->data != nullptr && to->data[to->length] != 0) {
            ++to->length;
        }
    }
    return true;
}

bool OrbuUtil::makeMultiByteString(const TStr& text, char*, int& length) {
    length = 0;
    return !text.isEmpty();
}
