// CTinyXMLHelper: finds, reads and edits child elements of a tinyxml2 element.
//
// An element is a record; its fields are attributes, or child elements with one text node. Each operation
// takes the parent of a list of records and finds one of them, by the values of attributes or by the text of
// one of its children.
//
// - Results are codes: 0 done; 4 a null parent, or an empty name or value to search for; 5 a search that
//   succeeded found nothing; 29 an element kept its children after it was deleted; 31 no such element; 34 the
//   element has no such child, or a needed set of children is empty.
// - The records of a list bear the same attributes: one that is absent or empty ends the search with 31, and
//   what follows is not looked at. Callers depend on it.
// - An empty filter finds the first child without telling which: operations that go by one change nothing.
// - A null or handle-less text counts as empty. Elements belong to their document, as ever.
// - Threads: as the document's.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

#include <cstdint>
#include <map>
#include <vector>

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
} // namespace tinyxml2

struct CKeyValue {
    TStr key;
    TStr value;
};

class ORBU_EXPORT CTinyXMLHelper {
public:
    using XMLElement = tinyxml2::XMLElement;
    using Values = std::map<TStr, TStr>; // names to values

    // Where new nodes are made: the document of the elements passed in. Set by the user, and not owned.
    tinyxml2::XMLDocument* document = nullptr;

    // The first child with all these attributes. `found` is set anew for each attribute compared, so it may
    // be anything when the result is not 0; with an empty filter it stays as it was: start it as null.
    std::uint32_t searchElement(XMLElement* parent, Values const& attributes, XMLElement*& found);

    // The first child whose first child element `childName` begins with a node of the value `childValue`.
    std::uint32_t searchElement(XMLElement* parent, TStr const& childName, TStr const& childValue,
                                XMLElement*& found);

    // Adds the names of the element's children to `out`, with the value of their first node or an empty one.
    // A name that is there already keeps its value.
    std::uint32_t getChildElements(XMLElement* parent, Values const& attributes, Values& out);

    // Attributes and children of the element found by a child's text. Both maps are emptied in any
    // case; 34 when one of them stays empty.
    std::uint32_t getFirstChildKeysAndProperties(XMLElement* parent, TStr const& childName,
                                                 TStr const& childValue, Values& properties,
                                                 Values& children);

    // Sets the first node of each child that is named in `values` and has one. 0 whether or not any was set.
    std::uint32_t setChildElement(XMLElement* parent, Values const& attributes, Values const& values);

    // The same for one child only, the first that can be set. When none was, 34 if there was a child with a
    // name that is not in `values`, else 0.
    std::uint32_t setSingleChildElement(XMLElement* parent, Values const& attributes, Values const& values);

    // The first child of that name, null when there is none; then 34 if the element has other children.
    std::uint32_t getSingleChildElement(XMLElement* parent, Values const& attributes, TStr const& name,
                                        XMLElement*& child);

    // Makes an element at the end of `parent`, and in it a child for each field, in their order. Names are
    // taken as they are. 4 also without a document.
    std::uint32_t createChildElement(XMLElement* parent, TStr const& name, Values const& attributes,
                                     std::vector<CKeyValue>& fields);

    // Deletes the element: pointers to it are dead.
    std::uint32_t removeChildElement(XMLElement* parent, Values const& attributes);

    // Puts a child with that text beside the first node of the element whose value is `anchor` (for an
    // element that is its name): behind it, or with `before` in front of it. With `replaceExisting` a child
    // of that name which has a first node gets the text instead, where it stands. 34 without children or
    // anchor. Before an anchor that is not an element nothing is put, and the result is 0 as well.
    std::uint32_t insertSingleChildElement(XMLElement* parent, Values const& attributes, TStr const& name,
                                           TStr const& value, TStr const& anchor, bool before,
                                           bool replaceExisting);
};
