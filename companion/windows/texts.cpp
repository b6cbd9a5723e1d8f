#include "texts.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <glib.h>
#include <tinyxml2.h>
#include <utility>

#include "plainText.h"

namespace {

constexpr char kDefaultLocale[] = "en_US";

struct Word {
    char const* id;
    char const* text;
};

// American English.
constexpr std::array kOwnWords{
    Word{"ok", "OK"},
    Word{"cancel", "Cancel"},
    Word{"yes", "Yes"},
    Word{"no", "No"},
    Word{"retry", "Try Again"},
    Word{"close", "Close"},
    Word{"details", "Details"},
    Word{"copy_all", "Copy All"},
    Word{"please_wait", "Please wait…"},
    Word{"caption_error", "Error"},
    Word{"caption_warning", "Warning"},
    Word{"caption_question", "Question"},
    Word{"caption_information", "Information"},
    Word{"caption_wait", "Operation in Progress"},
    Word{"sample_title", "The file could not be saved."},
    Word{"sample_detail", "The disk is full, or another program is using the file. Free up some space or "
                          "close the other program, and then try again."},
};

constexpr std::array kRightToLeft{"ar", "ckb", "dv",  "fa", "he", "iw", "ks",
                                  "ps", "sd",  "syr", "ug", "ur", "yi"};

struct Icon {
    long number;
    char const* name;
    char const* caption;
};

constexpr std::array kIcons{
    Icon{1, "dialog-error", "caption_error"},
    Icon{2, "dialog-question", "caption_question"},
    Icon{3, "dialog-warning", "caption_warning"},
    Icon{4, "dialog-information", "caption_information"},
};

Icon const* findIcon(long number) {
    auto const found = std::find_if(kIcons.begin(), kIcons.end(),
                                    [number](Icon const& icon) { return icon.number == number; });
    return found == kIcons.end() ? nullptr : found;
}

// Adds the strings of a file to those that are there already; none for a file that cannot be read.
void readFile(std::string const& path, std::map<std::string, std::string>& table) {
    tinyxml2::XMLDocument document;
    if (document.LoadFile(path.c_str()) != tinyxml2::XML_SUCCESS) {
        return;
    }
    auto const* const root = document.FirstChildElement("ORBUSTRINGTABLE");
    auto const* entry = root ? root->FirstChildElement("STRING") : nullptr;
    for (; entry; entry = entry->NextSiblingElement()) {
        char const* const id = entry->Attribute("ID");
        auto const* const caption = entry->FirstChildElement("CAPTION");
        char const* const text = caption ? caption->GetText() : nullptr;
        if (id && text) {
            table.emplace(id, validText(text));
        }
    }
}

} // namespace

std::string normalLocale(std::string const& locale) {
    if (locale.size() != 5 || (locale[2] != '_' && locale[2] != '-')) {
        return {};
    }
    for (std::size_t const i : {0, 1, 3, 4}) {
        if (!g_ascii_isalpha(locale[i])) {
            return {};
        }
    }
    return {g_ascii_tolower(locale[0]), g_ascii_tolower(locale[1]), '_', g_ascii_toupper(locale[3]),
            g_ascii_toupper(locale[4])};
}

bool isRightToLeft(std::string const& locale) {
    std::string language = locale.substr(0, locale.find_first_of("_-.@"));
    std::transform(language.begin(), language.end(), language.begin(), g_ascii_tolower);
    return std::find(kRightToLeft.begin(), kRightToLeft.end(), language) != kRightToLeft.end();
}

char const* captionId(long icon) {
    Icon const* const found = findIcon(icon);
    return found ? found->caption : "caption_information";
}

char const* iconName(long icon) {
    Icon const* const found = findIcon(icon);
    return found ? found->name : nullptr;
}

Texts::Texts(std::vector<std::string> folders) : folders_(std::move(folders)) {}

Texts::Table const& Texts::tableOf(std::string const& locale) {
    auto const [entry, isNew] = tables_.try_emplace(locale);
    if (isNew) {
        for (std::string const& folder : folders_) {
            readFile(std::filesystem::path(folder) / locale / "OrbuIntRes.xml", entry->second);
        }
    }
    return entry->second;
}

std::string Texts::get(std::string const& locale, std::string const& id) {
    for (std::string const& name : {normalLocale(locale), std::string(kDefaultLocale)}) {
        if (name.empty()) {
            continue;
        }
        Table const& table = tableOf(name);
        auto const found = table.find(id);
        if (found != table.end()) {
            return found->second;
        }
    }
    auto const own =
        std::find_if(kOwnWords.begin(), kOwnWords.end(), [&id](Word const& word) { return id == word.id; });
    return own == kOwnWords.end() ? std::string() : own->text;
}
