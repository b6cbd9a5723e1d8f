#include "qmx/qmxPipeFacility.h"

#include "orbuutil/tmapPrivate.h"
#include "qmx/qmxLogPrivate.h"
#include "qmx/qmxMarshal.h"
#include "qmx/qmxPipeEnginePrivate.h"

QMXPipeFacility::QMXPipeFacility() : mpData(new QMXPipeFacilityData) {}

QMXPipeFacility::~QMXPipeFacility() {
    unregisterFunction("index"); // built in, though a facility may have registered one of its own
    delete mpData;
}

TStr QMXPipeFacility::facility() { return "none"; }

long QMXPipeFacility::dispatch(QMXPipeSession* session, QMXPipePacket* request) {
    QMXPipeRetained<QMXPipeSession> const kept(session);
    auto* response = new QMXPipePacket(QMXPipe::SynchronicityDefault);
    TStr const code = request->code();
    long result;
    if (code.isEmpty() || code == "index") {
        result = index(session, request, response);
    } else if (code == "methodInformation") {
        response->setAttribute("MTHI", methodInformation(request->attributeAsString("MTHN")));
        result = HandlerDone;
    } else if (QMXPipeHandler const* found = private_tmap_find(mpData->functions, code); found != nullptr) {
        QMXPipeHandler const handler = *found; // which may unregister itself
        result = handler(session, request, response);
    } else {
        result = _default(session, request, response);
    }
    if (result == HandlerDone) {
        response->setAttribute("RSCD", 0L);
        sendResponse(session, request, response);
    }
    response->release();
    return result;
}

long QMXPipeFacility::sendResponse(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response) {
    response->setSessionId(request->partnerSessionId());
    response->setPartnerSessionId(request->sessionId());
    response->setFacility(request->facility());
    response->setCode("RESP");
    response->setAttribute("RCOD", request->code(), true);
    response->setSynchronicity(QMXPipe::Asynchronous);
    session->send(response);
    return 0;
}

long QMXPipeFacility::_default(QMXPipeSession*, QMXPipePacket*, QMXPipePacket*) { return HandlerFailed; }

long QMXPipeFacility::index(QMXPipeSession*, QMXPipePacket*, QMXPipePacket* response) {
    response->setAttribute("MLST", mpData->functions.keys());
    return HandlerDone;
}

QMXDictionary QMXPipeFacility::methodInformation(TStr const&) const { return QMXDictionary(); }

void QMXPipeFacility::registerFunction(TStr const& code, QMXPipeHandler handler) {
    hashmap_insert(mpData->functions.handle(), &code, &handler);
}

void QMXPipeFacility::unregisterFunction(TStr const& code) {
    hashmap_remove(mpData->functions.handle(), &code);
}

QMXDictionary* QMXPipeFacility::selectDictionary(TStr const& name) {
    return mpData->selectDictionaries.getDictionary(name);
}

void QMXPipeFacility::setSelectDictionary(TStr const& name, QMXDictionary* dictionary) {
    mpData->selectDictionaries.set(name, dictionary);
}

namespace {

TStr textOf(char const* text) { return text != nullptr ? TStr(text) : TStr(""); }

TStr selectValue(char const* a, char const* b, char const* c) {
    if (a == nullptr) {
        return marshalString(textOf(b));
    }
    TList<TStr> values;
    char const* const texts[] = {a, b, c};
    for (char const* value : texts) {
        TStr const text = textOf(value);
        list_push(values.handle(), &text);
    }
    return marshalStringList(values);
}

} // namespace

void QMXPipeFacility::readSelectDictionaries(char const** table) {
    QMXDictionary records;
    while (*table != nullptr) {
        TStr const name = *table++;
        TStr const parentName = textOf(*table++);
        QMXDictionary* parent = nullptr;
        if (!parentName.isEmpty()) {
            parent = records.getDictionary(parentName);
            if (parent == nullptr) {
                qmxLogError("Could not find parent dictionary: %1 for %2", parentName, name);
            }
        }
        auto* record = new QMXDictionary(parent);
        if (parent != nullptr) {
            parent->release();
        }
        for (; *table != nullptr; table += 4) {
            record->set(TStr(table[0]), selectValue(table[1], table[2], table[3]));
        }
        ++table;
        records.set(name, record);
        record->release();
    }
    mpData->selectDictionaries.update(records);
}

bool QMXPipeFacility::isHidden() const { return mpData->hidden; }

void QMXPipeFacility::setHidden(bool hidden) { mpData->hidden = hidden; }
