#include "words.h"

#include "attributes.h"
#include "exitCodes.h"
#include "orbuint/orbuintResHandler.h"
#include "orbuutil/orbuUtil.h"
#include "qmx/qmxTranslator.h"
#include "terminal.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// For a runtime without string resources.
constexpr struct {
    char const* id;
    char const* text;
} kEnglish[] = {
    {"ok", "OK"},
    {"caption_error", "Error"},
    {"caption_question", "Question"},
    {"caption_warning", "Warning"},
    {"caption_information", "Information"},
};

// Such as "de_DE" from "de_DE.UTF-8@euro".
std::string locale_of_environment() {
    for (char const* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        char const* const value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            return std::string(value, std::strcspn(value, ".@"));
        }
    }
    return "";
}

} // namespace

std::string dialog_locale(std::string const& given) {
    std::string const wanted = given.empty() ? locale_of_environment() : given;
    std::string normal = bytes_of(OrbuUtil::getOrbuInternalLocale(wanted.c_str(), false));
    auto const admitted = items_of(QMXTranslatorCache::availableLocales());
    if (std::find(admitted.begin(), admitted.end(), normal) != admitted.end()) {
        return normal;
    }
    if (!given.empty()) {
        throw Failure(ExitUsage, "no locale is called \"" + one_line(given) + "\"; orbu locales lists them");
    }
    return bytes_of(OrbuUtil::getOrbuDefaultLocale());
}

std::string word(std::string const& locale, char const* id) {
    COrbuIntResHandler* const resources = COrbuIntResHandler::instance();
    resources->loadResourceFile(
        OrbuUtil::getOrbuFileLocation(OrbuUtil::CommonLocalizedData, TStr(locale.c_str())));
    std::string found = bytes_of(resources->getString(id));
    if (!found.empty()) {
        return found;
    }
    auto const* const english =
        std::find_if(std::begin(kEnglish), std::end(kEnglish),
                     [id](auto const& entry) { return std::strcmp(entry.id, id) == 0; });
    return english != std::end(kEnglish) ? english->text : "";
}
