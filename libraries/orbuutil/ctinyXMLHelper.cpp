#include "orbuutil/ctinyXMLHelper.h"

#include "orbuutil/c_strPrivate.h"

#include <cstring>
#include <tinyxml2.h>

using tinyxml2::XMLElement;
using tinyxml2::XMLNode;

namespace {

enum Code : std::uint32_t {
    Done = 0,
    BadArgument = 4,
    NothingFound = 5,
    ChildrenKept = 29,
    NoElement = 31,
    NoChild = 34,
};

const char* textOf(TStr const& s) { return private_str_text_or_empty(s.handle()); }

bool isText(const char* text, TStr const& wanted) {
    return text != nullptr && std::strcmp(text, textOf(wanted)) == 0;
}

// The value of the first node, null when there is none.
const char* firstValue(XMLElement const* element) {
    XMLNode const* const node = element->FirstChild();
    return node != nullptr ? node->Value() : nullptr;
}

void addChildren(XMLElement const* element, CTinyXMLHelper::Values& out) {
    for (auto const* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        if (TStr const name(child->Name()); !name.isEmpty()) {
            const char* const value = firstValue(child);
            out.emplace(name, value != nullptr ? value : "");
        }
    }
}

XMLElement* makeField(tinyxml2::XMLDocument& document, TStr const& name, TStr const& value) {
    XMLElement* const field = document.NewElement(textOf(name));
    field->InsertEndChild(document.NewText(textOf(value)));
    return field;
}

} // namespace

std::uint32_t CTinyXMLHelper::searchElement(XMLElement* parent, Values const& attributes,
                                            XMLElement*& found) {
    if (parent == nullptr) {
        return BadArgument;
    }
    auto const wanted = static_cast<long>(attributes.size());
    for (auto* child = parent->FirstChildElement(); child != nullptr; child = child->NextSiblingElement()) {
        long net = 0; // matches less mismatches
        for (auto const& [name, value] : attributes) {
            const char* const attribute = child->Attribute(textOf(name));
            if (attribute == nullptr || *attribute == '\0') {
                return NoElement;
            }
            bool const matches = isText(attribute, value);
            found = matches ? child : nullptr;
            net += matches ? 1 : -1;
        }
        if (net == wanted) {
            return Done;
        }
    }
    return NoElement;
}

std::uint32_t CTinyXMLHelper::searchElement(XMLElement* parent, TStr const& childName, TStr const& childValue,
                                            XMLElement*& found) {
    if (parent == nullptr || childName.isEmpty() || childValue.isEmpty()) {
        return BadArgument;
    }
    for (auto* element = parent->FirstChildElement(); element != nullptr;
         element = element->NextSiblingElement()) {
        XMLElement const* const child = element->FirstChildElement(textOf(childName));
        if (child != nullptr && isText(firstValue(child), childValue)) {
            found = element;
            return Done;
        }
    }
    return NoElement;
}

std::uint32_t CTinyXMLHelper::getChildElements(XMLElement* parent, Values const& attributes, Values& out) {
    XMLElement* found = nullptr;
    std::uint32_t const result = searchElement(parent, attributes, found);
    if (result == Done && found != nullptr) {
        addChildren(found, out);
    }
    return result;
}

std::uint32_t CTinyXMLHelper::getFirstChildKeysAndProperties(XMLElement* parent, TStr const& childName,
                                                             TStr const& childValue, Values& properties,
                                                             Values& children) {
    XMLElement* found = nullptr;
    std::uint32_t const result = searchElement(parent, childName, childValue, found);
    properties.clear(); // not before: the arguments may be in there
    children.clear();
    if (result != Done) {
        return result;
    }
    for (auto const* attribute = found->FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next()) {
        properties.emplace(attribute->Name(), attribute->Value());
    }
    addChildren(found, children);
    return properties.empty() || children.empty() ? NoChild : Done;
}

std::uint32_t CTinyXMLHelper::setChildElement(XMLElement* parent, Values const& attributes,
                                              Values const& values) {
    XMLElement* found = nullptr;
    std::uint32_t const result = searchElement(parent, attributes, found);
    if (result != Done || found == nullptr) {
        return result;
    }
    for (auto* child = found->FirstChildElement(); child != nullptr; child = child->NextSiblingElement()) {
        auto const value = values.find(TStr(child->Name()));
        if (value != values.end() && child->FirstChild() != nullptr) {
            child->FirstChild()->SetValue(textOf(value->second));
        }
    }
    return Done;
}

std::uint32_t CTinyXMLHelper::setSingleChildElement(XMLElement* parent, Values const& attributes,
                                                    Values const& values) {
    XMLElement* found = nullptr;
    std::uint32_t result = searchElement(parent, attributes, found);
    if (result != Done || found == nullptr) {
        return result;
    }
    for (auto* child = found->FirstChildElement(); child != nullptr; child = child->NextSiblingElement()) {
        auto const value = values.find(TStr(child->Name()));
        if (value == values.end()) {
            result = NoChild;
        } else if (child->FirstChild() != nullptr) {
            child->FirstChild()->SetValue(textOf(value->second));
            return Done;
        }
    }
    return result;
}

std::uint32_t CTinyXMLHelper::getSingleChildElement(XMLElement* parent, Values const& attributes,
                                                    TStr const& name, XMLElement*& child) {
    child = nullptr;
    XMLElement* found = nullptr;
    std::uint32_t const result = searchElement(parent, attributes, found);
    if (result != Done || found == nullptr) {
        return result;
    }
    child = found->FirstChildElement(textOf(name));
    return child != nullptr || found->FirstChildElement() == nullptr ? Done : NoChild;
}

std::uint32_t CTinyXMLHelper::createChildElement(XMLElement* parent, TStr const& name,
                                                 Values const& attributes, std::vector<CKeyValue>& fields) {
    if (parent == nullptr || document == nullptr) {
        return BadArgument;
    }
    XMLElement* const element = document->NewElement(textOf(name));
    for (auto const& [attribute, value] : attributes) {
        element->SetAttribute(textOf(attribute), textOf(value));
    }
    for (CKeyValue const& field : fields) {
        element->InsertEndChild(makeField(*document, field.key, field.value));
    }
    parent->InsertEndChild(element);
    return Done;
}

std::uint32_t CTinyXMLHelper::removeChildElement(XMLElement* parent, Values const& attributes) {
    XMLElement* found = nullptr;
    std::uint32_t const result = searchElement(parent, attributes, found);
    if (result != Done || found == nullptr) {
        return result;
    }
    // The children go first, so that they can be looked for while the element is still there.
    found->DeleteChildren();
    bool const kept = !found->NoChildren();
    parent->DeleteChild(found);
    return kept ? ChildrenKept : Done;
}

std::uint32_t CTinyXMLHelper::insertSingleChildElement(XMLElement* parent, Values const& attributes,
                                                       TStr const& name, TStr const& value,
                                                       TStr const& anchor, bool before,
                                                       bool replaceExisting) {
    XMLElement* found = nullptr;
    std::uint32_t const result = searchElement(parent, attributes, found);
    if (result != Done) {
        return result;
    }
    if (found == nullptr) {
        return NothingFound;
    }
    if (XMLElement* const existing = replaceExisting ? found->FirstChildElement(textOf(name)) : nullptr;
        existing != nullptr && existing->FirstChild() != nullptr) {
        existing->SetText(textOf(value));
        return Done;
    }
    XMLNode* place = found->FirstChild();
    while (place != nullptr && !isText(place->Value(), anchor)) {
        place = place->NextSibling();
    }
    if (place == nullptr) {
        return NoChild;
    }
    if (document == nullptr) {
        return BadArgument;
    }
    XMLElement* const made = makeField(*document, name, value);
    if (!before) {
        found->InsertAfterChild(place, made);
    } else if (place == found->FirstChildElement()) {
        found->InsertFirstChild(made);
    } else {
        XMLElement* previous = found->FirstChildElement();
        while (previous != nullptr && previous->NextSiblingElement() != place) {
            previous = previous->NextSiblingElement();
        }
        if (previous != nullptr) {
            found->InsertAfterChild(previous, made);
        } else {
            document->DeleteNode(made);
        }
    }
    return Done;
}
