#include "stringTables.h"

#include "attributes.h"
#include "orbuutil/orbuUtil.h"
#include "qmx/qmxTranslator.h"

#include <tinyxml2.h>

#include <cstring>

namespace {

StringTable read_table(std::string const& file) {
    StringTable table;
    tinyxml2::XMLDocument document;
    tinyxml2::XMLElement const* root = nullptr;
    if (document.LoadFile(file.c_str()) == tinyxml2::XML_SUCCESS) {
        root = document.FirstChildElement("ORBUSTRINGTABLE");
    }
    table.readable = root != nullptr;
    for (auto const* entry = root != nullptr ? root->FirstChildElement("STRING") : nullptr; entry != nullptr;
         entry = entry->NextSiblingElement("STRING")) {
        char const* const id = entry->Attribute("ID");
        auto const* const caption = entry->FirstChildElement("CAPTION");
        char const* const words = caption != nullptr ? caption->GetText() : nullptr;
        std::string const name = id != nullptr ? id : "";
        table.ids[name] += 1;
        if (words == nullptr || *words == '\0') {
            table.empty.push_back(name);
        }
    }
    return table;
}

std::string listed(std::vector<std::string> const& ids) {
    std::string text;
    for (std::string const& id : ids) {
        text += (text.empty() ? "" : " ") + (id.empty() ? "(without ID)" : id);
    }
    return text;
}

} // namespace

std::map<std::string, StringTable> read_string_tables() {
    std::map<std::string, StringTable> tables;
    for (std::string const& locale : items_of(QMXTranslatorCache::availableLocales())) {
        std::string const folder =
            bytes_of(OrbuUtil::getOrbuFileLocation(OrbuUtil::CommonLocalizedData, locale.c_str()));
        std::string const file = folder + "OrbuIntRes.xml";
        if (tables.count(file) == 0) { // two locales may share one
            tables[file] = read_table(file);
        }
    }
    return tables;
}

std::vector<StringFault> find_faults(std::map<std::string, StringTable> const& tables) {
    std::map<std::string, size_t> known; // ids, with the number of files that have them
    size_t readable = 0;
    for (auto const& [file, table] : tables) {
        readable += table.readable ? 1 : 0;
        for (auto const& [id, count] : table.ids) {
            known[id] += 1;
        }
    }
    std::vector<StringFault> faults;
    for (auto const& [file, table] : tables) {
        if (!table.readable) {
            faults.push_back({file + " cannot be read or parsed", ""});
            continue;
        }
        std::vector<std::string> missing;
        std::vector<std::string> surplus;
        std::vector<std::string> doubled;
        for (auto const& [id, files] : known) {
            auto const found = table.ids.find(id);
            // What most files do not have is too much in the others.
            bool const usual = 2 * files >= readable;
            if (found == table.ids.end()) {
                if (usual) {
                    missing.push_back(id);
                }
                continue;
            }
            if (!usual || id.empty()) {
                surplus.push_back(id);
            }
            if (found->second > 1) {
                doubled.push_back(id);
            }
        }
        auto const add = [&faults, &name = file](std::vector<std::string> const& ids, char const* words,
                                                 char const* advice) {
            if (!ids.empty()) {
                faults.push_back({name + words + listed(ids), advice});
            }
        };
        add(missing, " lacks ", "add it, with its words in that language");
        add(surplus, " has what the other locales do not have: ", "take it out, or add it to all");
        add(doubled, " has more than once: ", "keep one");
        add(table.empty, " has no words for ", "write its CAPTION");
    }
    return faults;
}
