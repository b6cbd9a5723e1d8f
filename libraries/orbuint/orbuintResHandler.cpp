#include "orbuint/orbuintResHandler.h"

#include "orbuutil/ownersPrivate.h"
#include "orbuutil/tpath.h"

#include <cstdio>
#include <tinyxml2.h>

template class COrbuUtilSingleton<COrbuIntResHandler>;

COrbuIntResHandler::COrbuIntResHandler()
    : resourceFileName(""),
      document(std::make_unique<tinyxml2::XMLDocument>(true, tinyxml2::PRESERVE_WHITESPACE)),
      loaded(false) {}

COrbuIntResHandler::~COrbuIntResHandler() = default;

COrbuIntResHandler* COrbuIntResHandler::instance() {
    return COrbuUtilSingleton<COrbuIntResHandler>::instance();
}

bool COrbuIntResHandler::loadResourceFile(TStr const& folder) {
    if (loaded) {
        return true;
    }
    if (folder.isEmpty()) {
        return false;
    }
    const TPath path(folder.right(1) == "/" ? folder + "OrbuIntRes.xml" : folder + "/OrbuIntRes.xml");
    if (!path.exists() || !path.isFile()) {
        return false;
    }
    const UniqueFile file(std::fopen(path.toUtf8(), "rb"));
    loaded = file && document->LoadFile(file.get()) == tinyxml2::XML_SUCCESS;
    return loaded;
}

TStr COrbuIntResHandler::getString(TStr const& id) const {
    const tinyxml2::XMLElement* const table =
        loaded ? document->FirstChildElement("ORBUSTRINGTABLE") : nullptr;
    if (table == nullptr) {
        return TStr("");
    }
    // From the first STRING on, the names of its siblings do not count.
    for (const tinyxml2::XMLElement* entry = table->FirstChildElement("STRING"); entry != nullptr;
         entry = entry->NextSiblingElement()) {
        const char* const key = entry->Attribute("ID");
        const tinyxml2::XMLElement* const caption = entry->FirstChildElement("CAPTION");
        if (caption != nullptr && TStr(key != nullptr ? key : "") == id) {
            const char* const text = caption->GetText();
            return TStr(text != nullptr ? text : "");
        }
    }
    return TStr("");
}
