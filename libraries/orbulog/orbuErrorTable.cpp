#include "orbulog/orbuErrorTable.h"

#include "orbuutil/ownersPrivate.h"

#include <tinyxml2.h>

using tinyxml2::XMLElement;

namespace {

bool isNumbered(XMLElement const* element, char const* attribute, int number) {
    int value = 0;
    return element->QueryIntAttribute(attribute, &value) == tinyxml2::XML_SUCCESS && value == number;
}

TStr textOf(XMLElement const* element) {
    char const* const text = element != nullptr ? element->GetText() : nullptr;
    return text != nullptr ? text : "";
}

TStr descriptionOf(XMLElement const* error) { return textOf(error->FirstChildElement("DESCRIPTION")); }

} // namespace

OrbuErrorTable::OrbuErrorTable(TStr const& path) : pathName(path) {}

OrbuErrorTable::~OrbuErrorTable() = default;

void OrbuErrorTable::SetPathName(TStr const& path) { pathName = path; }

bool OrbuErrorTable::Load() {
    loaded = false;
    if (pathName.isEmpty()) {
        return false;
    }
    UniqueFile const file(std::fopen(pathName.toUtf8(), "rb"));
    if (file) {
        if (!document) {
            document = std::make_unique<tinyxml2::XMLDocument>();
        }
        loaded = document->LoadFile(file.get()) == tinyxml2::XML_SUCCESS;
    }
    return loaded;
}

// The vendor's first table, or with `holding` its first that holds such an element.
XMLElement const* OrbuErrorTable::firstTable(int vendor, char const* holding) const {
    XMLElement const* const root = loaded ? document->FirstChildElement("ERRORTABLES") : nullptr;
    XMLElement const* table = root != nullptr ? root->FirstChildElement("TABLE") : nullptr;
    for (; table != nullptr; table = table->NextSiblingElement("TABLE")) {
        if (table->FindAttribute("VENDORID") == nullptr) {
            return nullptr;
        }
        if (isNumbered(table, "VENDORID", vendor) &&
            (holding == nullptr || table->FirstChildElement(holding) != nullptr)) {
            return table;
        }
    }
    return nullptr;
}

TStr OrbuErrorTable::GetVendorName(int vendor) const {
    XMLElement const* const table = firstTable(vendor, "NAME");
    return textOf(table != nullptr ? table->FirstChildElement("NAME") : nullptr);
}

TStr OrbuErrorTable::GetErrorDescription(int vendor, int status) const {
    return GetVendorErrorDescription(firstTable(vendor, nullptr), status);
}

TStr OrbuErrorTable::GetVendorErrorDescription(tinyxml2::XMLNode const* table, int status) const {
    XMLElement const* error = table != nullptr ? table->FirstChildElement("ERROR") : nullptr;
    for (; error != nullptr && error->FindAttribute("CODE") != nullptr;
         error = error->NextSiblingElement("ERROR")) {
        if (isNumbered(error, "CODE", status)) {
            return descriptionOf(error);
        }
    }
    return "";
}

long OrbuErrorTable::ForEachError(int vendor,
                                  void (*visit)(int status, TStr const& description, void* context),
                                  void* context) const {
    XMLElement const* const table = firstTable(vendor, nullptr);
    long count = 0;
    XMLElement const* error = table != nullptr ? table->FirstChildElement("ERROR") : nullptr;
    for (; error != nullptr && error->FindAttribute("CODE") != nullptr;
         error = error->NextSiblingElement("ERROR")) {
        int status = 0;
        if (error->QueryIntAttribute("CODE", &status) == tinyxml2::XML_SUCCESS) {
            visit(status, descriptionOf(error), context);
            ++count;
        }
    }
    return count;
}
