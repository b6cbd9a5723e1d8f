#include "qmx/qmxPipeFacilityInvocationContext.h"

#include "qmx/qmxPipeFacility.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxPipeSession.h"

namespace {

template <typename T>
T* retained(T* object) {
    if (object != nullptr) {
        object->retain();
    }
    return object;
}

void released(QMXBase* object) {
    if (object != nullptr) {
        object->release();
    }
}

} // namespace

QMXDictionaryList::~QMXDictionaryList() = default;

QMXPipeFacilityInvocationContext::QMXPipeFacilityInvocationContext(QMXPipeFacility* facility,
                                                                   QMXPipeSession* session,
                                                                   QMXPipePacket* request,
                                                                   QMXDictionaryList* dictionaryList)
    : mpFacility(retained(facility)),
      mpSession(retained(session)),
      mpRequest(retained(request)),
      mpDictionaryList(retained(dictionaryList)) {}

QMXPipeFacilityInvocationContext::~QMXPipeFacilityInvocationContext() {
    released(mpSession);
    released(mpRequest);
    released(mpDictionaryList);
    released(mpFacility);
}
