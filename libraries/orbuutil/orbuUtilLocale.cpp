#include "orbuutil/orbuUtil.h"

#include <cctype>

namespace {

constexpr char supported_locales[] =
    "cs_CZ;de_DE;en_US;es_ES;fr_FR;hu_HU;it_IT;ja_JP;ko_KR;pl_PL;pt_BR;pt_PT;ru_RU;zh_CN;zh_TW";

bool is_letter(const TStr& text, int index) {
    return std::isalpha(static_cast<unsigned char>(text.at(index))) != 0;
}

// Two letters, "-" or "_", two letters.
bool is_well_formed(const TStr& locale) {
    if (locale.utf8CharCount() != 5 || locale.length() != 5) {
        return false;
    }
    const int separator = locale.at(2);
    return is_letter(locale, 0) && is_letter(locale, 1) && (separator == '-' || separator == '_') &&
           is_letter(locale, 3) && is_letter(locale, 4);
}

} // namespace

TStr OrbuUtil::getOrbuDefaultLocale() { return TStr("en_US"); }

TStr OrbuUtil::getOrbuInternalLocale(const TStr& locale, bool useDefault) {
    TStr result("");
    if (is_well_formed(locale)) {
        result = locale.left(2).lower() + "_" + locale.right(2).upper();
        if (isValidInternalLocale(result)) {
            return result;
        }
    }
    // Without a default, what is not supported is given all the same: callers that ask so test the result.
    return useDefault ? getOrbuDefaultLocale() : result;
}

bool OrbuUtil::isValidInternalLocale(const TStr& locale) {
    TStr rest(supported_locales);
    while (!rest.isEmpty()) {
        if (rest.shift(";") == locale) {
            return true;
        }
    }
    return false;
}

TStr OrbuUtil::getOrbuLocaleDir(const TStr& locale) { return getOrbuInternalLocale(locale, true); }
