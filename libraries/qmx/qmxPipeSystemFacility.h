// QMXPipeSystemFacility: what every conduit answers by itself.
//
// "cndCnct" connects the client whose process id stands in "CPID" and answers with the session's id in
// "SSID"; "cndTerm" and "ssnTerm" answer and close the session; "listFacilities" ("FLST") and "listLocales"
// ("LCLT") answer with lists; "RESP" takes a reply that nobody waits for; "error" is never answered. A client
// that is refused gets no answer. It also serves packets of a facility that nobody registered, by their code
// alone. Hidden from listFacilities.
#pragma once

#include "orbuutil/orbuExport.h"
#include "qmx/qmxPipeFacility.h"

class ORBU_EXPORT QMXPipeSystemFacility : public QMXPipeFacility {
public:
    explicit QMXPipeSystemFacility(bool internal);
    ~QMXPipeSystemFacility() override;

    // "systemInternal" if internal, else "system".
    TStr facility() override;

private:
    bool mInternal;
};
