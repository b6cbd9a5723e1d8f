#include "orbulog/orbuErrorTable.h"

#include "orbuutil/ownersPrivate.h"

#include <climits>
#include <cstdint>
#include <optional>

#include <tinyxml2.h>

using tinyxml2::XMLElement;

namespace {

// Read wider than what it is compared with, so that a number out of range is none and not another one.
std::optional<int> numberOf(XMLElement const* element, char const* attribute) {
    std::int64_t value = 0;
    bool const read = element->QueryInt64Attribute(attribute, &value) == tinyxml2::XML_SUCCESS;
    return read && value >= INT_MIN && value <= INT_MAX ? std::optional(static_cast<int>(value))
                                                        : std::nullopt;
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
        if (numberOf(table, "VENDORID") == vendor &&
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
        if (numberOf(error, "CODE") == status) {
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
        if (std::optional<int> const status = numberOf(error, "CODE")) {
            visit(*status, descriptionOf(error), context);
            ++count;
        }
    }
    return count;
}
