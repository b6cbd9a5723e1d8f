// Plain strings in tests: made from text, shown as text, released at the end of the scope.
#pragma once

#include "orbuutil/c_strPrivate.h"

#include <string>

namespace test {

class Str {
public:
    explicit Str(str* adopted) : mStr(adopted) {}
    explicit Str(const std::string& utf8)
        : mStr(str_from(utf8.data(), static_cast<long>(utf8.size()), STR_UTF8)) {}
    Str() : mStr(str_init()) {}
    ~Str() { str_uninit(mStr); }
    Str(const Str&) = delete;
    Str& operator=(const Str&) = delete;

    operator str*() const { return mStr; }
    str* operator->() const { return mStr; }

private:
    str* mStr;
};

// The text up to its terminator; "(null)" for a null text and "(none)" for a null pointer.
inline std::string shown(const str* s) {
    return s == nullptr ? "(none)" : s->text == nullptr ? "(null)" : s->text;
}
inline std::string taken(str* s) { return shown(Str(s)); }

} // namespace test
