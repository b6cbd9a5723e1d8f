#include "qmx/qmxPipeSystemFacility.h"

#include "qmx/qmxLogPrivate.h"
#include "qmx/qmxPipeConduit.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxPipeSession.h"
#include "qmx/qmxTranslator.h"

namespace {

long connectConduit(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response) {
    if (request->hasAttribute("CPID")) {
        int const pid = static_cast<int>(request->attributeAsLong("CPID"));
        if (session->connectClient(pid)) {
            session->setPartnerPID(pid);
            response->setAttribute("RCOD", TStr("okay"), true);
            response->setAttribute("SSID", session->id());
            return HandlerDone;
        }
    }
    response->setAttribute("RCOD", TStr("fail"), true);
    return HandlerFailed;
}

// Ends a session and a whole conduit alike: the difference lies with the sender.
long terminate(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response) {
    response->setAttribute("RCOD", TStr("okay"), true);
    QMXPipeFacility::sendResponse(session, request, response);
    session->close(false);
    return HandlerHandled;
}

// The values told are whether the request has them, and not what they are. Nobody sees them, as the response
// is not sent; hosts depend on that.
long error(QMXPipeSession*, QMXPipePacket* request, QMXPipePacket* response) {
    response->setAttribute("RCOD", TStr("fail"), true);
    char const* const keys[] = {"ECOD", "EMSG"};
    for (char const* key : keys) {
        if (request->hasAttribute(key)) {
            response->setAttribute(key, static_cast<int>(request->hasAttribute(key)));
        }
    }
    return HandlerFailed;
}

long takeResponse(QMXPipeSession*, QMXPipePacket*, QMXPipePacket*) {
    qmxLogDebug("System Facility Response received ");
    return HandlerHandled;
}

long listFacilities(QMXPipeSession*, QMXPipePacket*, QMXPipePacket* response) {
    response->setAttribute("FLST", QMXPipeConduit::listFacilities());
    return HandlerDone;
}

long listLocales(QMXPipeSession*, QMXPipePacket*, QMXPipePacket* response) {
    response->setAttribute("LCLT", QMXTranslatorCache::availableLocales());
    return HandlerDone;
}

struct SystemFunction {
    char const* code;
    QMXPipeHandler handler;
};

constexpr SystemFunction systemFunctions[] = {
    {"cndCnct", connectConduit},  {"cndTerm", terminate},
    {"ssnTerm", terminate},       {"error", error},
    {"RESP", takeResponse},       {"listFacilities", listFacilities},
    {"listLocales", listLocales},
};

} // namespace

QMXPipeSystemFacility::QMXPipeSystemFacility(bool internal) : mInternal(internal) {
    setHidden(true);
    for (SystemFunction const& function : systemFunctions) {
        registerFunction(function.code, function.handler);
    }
}

QMXPipeSystemFacility::~QMXPipeSystemFacility() {
    for (SystemFunction const& function : systemFunctions) {
        unregisterFunction(function.code);
    }
}

TStr QMXPipeSystemFacility::facility() { return mInternal ? "systemInternal" : "system"; }
