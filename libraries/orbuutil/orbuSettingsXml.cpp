// The store's document: what is read from it, and how changes are put into it.
#include "orbuutil/orbuSettings.h"
#include "orbuutil/orbuSettingsPrivate.h"

#include <set>
#include <string>
#include <tinyxml2.h>
#include <utility>

namespace {

// tinyxml2 puts its own "<?" and "?>" around this. Hosts know the file with the doubled brackets.
constexpr char declarationText[] = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)";

bool isBlank(const char* text) { return text == nullptr || *text == '\0'; }

TStr adopted(str* made) {
    void* handle = made;
    return TStr(handle);
}

// The child of that name whose attribute has that value.
tinyxml2::XMLElement* findChild(tinyxml2::XMLElement* parent, const char* name, const char* attribute,
                                TStr const& wanted) {
    std::string_view const bytes = private_settings_bytes(wanted);
    auto* child = parent->FirstChildElement(name);
    while (child != nullptr) {
        if (const char* value = child->Attribute(attribute); value != nullptr && bytes == value) {
            break;
        }
        child = child->NextSiblingElement(name);
    }
    return child;
}

// The outer brackets of the declaration are read as a text of their own, with the space behind them, and each
// save would put a line end more behind that.
void trimText(tinyxml2::XMLDocument& document) {
    for (tinyxml2::XMLNode* node = document.FirstChild(); node != nullptr; node = node->NextSibling()) {
        if (node->ToText() != nullptr) {
            std::string text = node->Value();
            text.erase(text.find_last_not_of(" \t\r\n") + 1);
            node->SetValue(text.c_str());
        }
    }
}

// Calls `visit` with section, key and the text, which may be null, for each value that has both names.
template <typename VisitElement>
void walk(tinyxml2::XMLElement const* root, VisitElement visit) {
    for (auto const* section = root->FirstChildElement(OrbuSettings::kXmlTagSection); section != nullptr;
         section = section->NextSiblingElement(OrbuSettings::kXmlTagSection)) {
        const char* const name = section->Attribute(OrbuSettings::kXmlTagSectionName);
        if (isBlank(name)) {
            continue;
        }
        for (auto const* data = section->FirstChildElement(OrbuSettings::kXmlTagData); data != nullptr;
             data = data->NextSiblingElement(OrbuSettings::kXmlTagData)) {
            const char* const key = data->Attribute(OrbuSettings::kXmlTagDataKey);
            if (!isBlank(key)) {
                visit(name, key, data->GetText());
            }
        }
    }
}

} // namespace

const char OrbuSettings::kXmlTagSettings[] = "OrbuSettings";
const char OrbuSettings::kXmlTagSection[] = "Section";
const char OrbuSettings::kXmlTagSectionName[] = "Name";
const char OrbuSettings::kXmlTagData[] = "Data";
const char OrbuSettings::kXmlTagDataKey[] = "Key";
const char OrbuSettings::kSlash[] = "/";

str* private_settings_composite(std::string_view section, std::string_view key) {
    str* const made = private_str_blank(static_cast<long>(section.size() + 1 + key.size()));
    if (made != nullptr) {
        section.copy(made->text, section.size());
        made->text[section.size()] = OrbuSettings::kSlash[0];
        key.copy(made->text + section.size() + 1, key.size());
    }
    return made;
}

void OrbuSettings::setupEmptyXmlDoc() {
    document->Clear();
    tinyxml2::XMLDeclaration* const pDecl = document->NewDeclaration(declarationText);
    ORBU_SETTINGS_ASSERT_POINTER(pDecl);
    document->InsertEndChild(pDecl);
    _pXmlRoot = document->NewElement(kXmlTagSettings);
    ORBU_SETTINGS_ASSERT_POINTER(_pXmlRoot);
    document->InsertEndChild(_pXmlRoot);
    _bIsLoaded = true;
}

bool OrbuSettings::readElements() {
    _bIsLoaded = false;
    if (tinyxml2::XMLNode* const first = document->FirstChild();
        first != nullptr && first->ToDeclaration() == nullptr) {
        tinyxml2::XMLDeclaration* const declaration = document->NewDeclaration(declarationText);
        if (document->InsertFirstChild(declaration) == nullptr) {
            return fail("the declaration cannot be put in", 0);
        }
    }
    trimText(*document);
    _pXmlRoot = document->FirstChildElement(kXmlTagSettings);
    if (_pXmlRoot == nullptr) {
        tinyxml2::XMLElement const* const other = document->RootElement();
        return fail("the root element is not OrbuSettings", other != nullptr ? other->GetLineNum() : 0);
    }
    if (_pXmlRoot->NoChildren()) {
        _bIsLoaded = true; // an empty store is a good store
        return true;
    }
    walk(_pXmlRoot, [this](const char* section, const char* key, const char* text) {
        void* const composite = private_settings_composite(section, key);
        values.emplace_hint(values.end(), std::piecewise_construct, std::forward_as_tuple(composite),
                            std::forward_as_tuple(text));
    });
    _bIsLoaded = !values.empty();
    return _bIsLoaded ? true : fail("there is no value in it", _pXmlRoot->GetLineNum());
}

void OrbuSettings::visitData(Visit visit, void* context) const {
    std::set<std::pair<TStr, TStr>> seen;
    if (_bIsLoaded) {
        walk(_pXmlRoot, [&](const char* section, const char* key, const char* text) {
            auto const [place, isNew] = seen.emplace(section, key);
            if (isNew) {
                visit(place->first, place->second, TStr(text), context);
            }
        });
    }
}

bool OrbuSettings::setXmlData(TStr const& name, TStr const& key, TStr const& value) {
    ORBU_SETTINGS_ASSERT(_pXmlRoot && !name.isEmpty() && !key.isEmpty() && !value.isEmpty());
    tinyxml2::XMLElement* section = findXmlSection(name);
    if (section == nullptr) {
        section = document->NewElement(kXmlTagSection);
        section->SetAttribute(kXmlTagSectionName, private_str_text_or_empty(name.handle()));
        _pXmlRoot->InsertEndChild(section);
    }
    const char* const text = private_str_text_or_empty(value.handle());
    tinyxml2::XMLElement* data = findXmlData(section, key);
    if (data != nullptr && data->FirstChild() != nullptr) {
        tinyxml2::XMLText* const former = data->FirstChild()->ToText();
        if (former == nullptr) {
            return false;
        }
        former->SetCData(false); // a "]]>" in the value would end it, and damage the file
        data->SetText(text);
        return true;
    }
    // One without text stays as it is beside the new one: hosts know it so.
    data = document->NewElement(kXmlTagData);
    data->SetAttribute(kXmlTagDataKey, private_str_text_or_empty(key.handle()));
    data->InsertEndChild(document->NewText(text));
    section->InsertEndChild(data);
    return true;
}

void OrbuSettings::removeXmlData(TStr const& name, TStr const& key) {
    ORBU_SETTINGS_ASSERT(_pXmlRoot && !name.isEmpty() && !key.isEmpty());
    tinyxml2::XMLElement* const section = findXmlSection(name);
    tinyxml2::XMLElement* const data = section != nullptr ? findXmlData(section, key) : nullptr;
    if (data == nullptr) {
        return;
    }
    std::string_view const nameBytes = private_settings_bytes(name);
    dataCache.erase(adopted(private_settings_composite(nameBytes, private_settings_bytes(key))));
    section->DeleteChild(data);
    if (section->NoChildren()) {
        TStr const prefix = adopted(private_settings_composite(nameBytes, {}));
        auto const from = dataCache.lower_bound(prefix);
        auto to = from;
        while (to != dataCache.end() &&
               private_settings_bytes(to->first).starts_with(private_settings_bytes(prefix))) {
            ++to;
        }
        dataCache.erase(from, to);
        sectionCache.erase(name);
        _pXmlRoot->DeleteChild(section);
    }
}

tinyxml2::XMLElement* OrbuSettings::findXmlSection(TStr const& name) {
    ORBU_SETTINGS_ASSERT(_pXmlRoot && !name.isEmpty());
    if (auto const cached = sectionCache.find(name); cached != sectionCache.end()) {
        return cached->second;
    }
    tinyxml2::XMLElement* const found = findChild(_pXmlRoot, kXmlTagSection, kXmlTagSectionName, name);
    if (found != nullptr) {
        sectionCache.emplace(name, found);
    }
    return found;
}

tinyxml2::XMLElement* OrbuSettings::findXmlData(tinyxml2::XMLElement* pXmlSection, TStr const& key) {
    ORBU_SETTINGS_ASSERT(pXmlSection && !key.isEmpty());
    TStr const composite = adopted(
        private_settings_composite(pXmlSection->Attribute(kXmlTagSectionName), private_settings_bytes(key)));
    if (auto const cached = dataCache.find(composite); cached != dataCache.end()) {
        return cached->second;
    }
    tinyxml2::XMLElement* const found = findChild(pXmlSection, kXmlTagData, kXmlTagDataKey, key);
    if (found != nullptr) {
        dataCache.emplace(composite, found);
    }
    return found;
}
