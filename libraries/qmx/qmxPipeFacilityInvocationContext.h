// QMXPipeFacilityInvocationContext: the four things of one call, for a facility or host that wants to keep
// them together (QMXPipeSession::setContext). Each may be null, and each is retained for as long as the
// context lives.
#pragma once

#include "orbuutil/orbuExport.h"
#include "qmx/qmxBase.h"

class QMXPipeFacility;
class QMXPipePacket;
class QMXPipeSession;

// A list of dictionaries that travels with a call. The library makes none; a host derives what it needs.
class ORBU_EXPORT QMXDictionaryList : public QMXBase {
public:
    QMXDictionaryList() = default;
    ~QMXDictionaryList() override;
};

class ORBU_EXPORT QMXPipeFacilityInvocationContext {
public:
    QMXPipeFacilityInvocationContext(QMXPipeFacility* facility, QMXPipeSession* session,
                                     QMXPipePacket* request, QMXDictionaryList* dictionaryList);
    QMXPipeFacilityInvocationContext(QMXPipeFacilityInvocationContext const&) = delete;
    QMXPipeFacilityInvocationContext& operator=(QMXPipeFacilityInvocationContext const&) = delete;
    ~QMXPipeFacilityInvocationContext();

    // Still owned by the context: retain what is to be kept.
    QMXPipeFacility* facility() const { return mpFacility; }
    QMXPipeSession* session() const { return mpSession; }
    QMXPipePacket* request() const { return mpRequest; }
    QMXDictionaryList* dictionaryList() const { return mpDictionaryList; }

private:
    QMXPipeFacility* mpFacility;
    QMXPipeSession* mpSession;
    QMXPipePacket* mpRequest;
    QMXDictionaryList* mpDictionaryList;
};
