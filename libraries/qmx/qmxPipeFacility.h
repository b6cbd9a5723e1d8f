// QMXPipeFacility: a named table of request handlers.
//
// "system.cndCnct" is code "cndCnct" of facility "system". A facility takes part once it is registered
// (QMXPipeConduit::registerFacility); the table does not own it, and who made it unregisters it before it
// goes.
//
// - Handler results: 0 send the response, 1 failed, 3 handled completely. Only 0 is answered: with any other
//   result a partner that waits goes on waiting.
// - A response has the request's facility, the code "RESP", and the attributes "RCOD" (the request's code,
//   over whatever the handler put there) and "RSCD" (0).
// - Threads: handlers run on the thread that polls the conduit, possibly nested inside a wait. A handler may
//   close its session, and must then not ask for an answer: the response goes nowhere.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxDictionary.h"
#include "qmx/qmxPipeBase.h"

class QMXPipePacket;
class QMXPipeSession;
struct QMXPipeEngine;
struct QMXPipeFacilityData;

enum QMXPipeHandlerResult {
    HandlerDone = 0,
    HandlerFailed = 1,
    HandlerHandled = 3,
};

typedef long (*QMXPipeHandler)(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response);

class ORBU_EXPORT QMXPipeFacility : public QMXPipeBase {
public:
    QMXPipeFacility();
    QMXPipeFacility(QMXPipeFacility const&) = delete;
    QMXPipeFacility& operator=(QMXPipeFacility const&) = delete;
    ~QMXPipeFacility() override;

    // The name; "none" here.
    virtual TStr facility();

    // Runs the handler of the request's code and answers. An empty code and "index" go to index(),
    // "methodInformation" to methodInformation(), a code without a handler to _default(). Gives the handler's
    // result. The session is retained for as long as this takes.
    virtual long dispatch(QMXPipeSession* session, QMXPipePacket* request);

    // The handler of every code that has none: HandlerFailed, hence no answer.
    virtual long _default(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response);

    // The codes with a handler, as "MLST".
    virtual long index(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response);

    // What there is to know about a method; nothing here. Sent as "MTHI" for the name in "MTHN".
    virtual QMXDictionary methodInformation(TStr const& name) const;

    // A known code gets the new handler.
    void registerFunction(TStr const& code, QMXPipeHandler handler);
    void unregisterFunction(TStr const& code);

    // Addresses `response` as the reply to `request` and sends it; a reply never waits for a reply. Gives 0.
    static long sendResponse(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response);

    // A named dictionary of configuration values, retained for the caller, or null.
    QMXDictionary* selectDictionary(TStr const& name);
    void setSelectDictionary(TStr const& name, QMXDictionary* dictionary);
    // Reads dictionaries from a table of texts. A record is name, parent name (null or empty: none), then
    // groups of four: key, a, b, c, and a null key at its end; a null name ends the table. The value is
    // marshalString(b) if a is null, else marshalStringList of a, b, c. A parent must stand before its
    // children: otherwise the error is reported and the dictionary has none.
    void readSelectDictionaries(char const** table);

    // A hidden facility is left out of QMXPipeConduit::listFacilities.
    bool isHidden() const;
    void setHidden(bool hidden);

private:
    friend struct QMXPipeEngine;

    QMXPipeFacilityData* mpData;
};
