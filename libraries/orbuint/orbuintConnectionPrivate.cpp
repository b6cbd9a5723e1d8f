#include "orbuint/orbuintConnectionPrivate.h"

#include "orbuint/orbuintSigpipePrivate.h"
#include "qmx/qmxPipeEndpoint.h"
#include "qmx/qmxPipeIODevice.h"
#include "qmx/qmxPipeNamedConduit.h"
#include "qmx/qmxPipeSession.h"

#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constinit thread_local RequestUnderWay* innermost = nullptr;

int inputOf(QMXPipeNamedConduit& conduit) {
    QMXPipeReadEndpoint reader;
    long const key = QMXPipeNamedConduit::altPID != 0 ? QMXPipeNamedConduit::altPID : ::getpid();
    return conduit.readerForKey(key, reader) && reader.device() != nullptr ? reader.device()->handle() : -1;
}

// A FIFO without a name: nobody can open it any more, and the server has closed it.
bool isCutOff(int input) {
    struct stat status = {};
    return input > 0 && ::fstat(input, &status) == 0 && S_ISFIFO(status.st_mode) && status.st_nlink == 0;
}

void cancelWait(void* context) {
    if (QMXPipeSession* const session = static_cast<QMXPipeNamedConduit*>(context)->defaultSession();
        session != nullptr) {
        session->cancelWait();
    }
}

} // namespace

void private_end_connection(QMXPipeNamedConduit* conduit) {
    if (conduit == nullptr) {
        return;
    }
    SigpipeGuard const guard;
    std::unique_ptr<QMXPipeNamedConduit> const owner(conduit);
    // None of the host's any more: one that has thrown out of a dialog would do so again.
    conduit->setProcessEventsCallback(isCutOff(inputOf(*conduit)) ? cancelWait : nullptr, conduit);
    try {
        conduit->terminate(true);
    } catch (...) {
        // A destructor calls this: what the host's log sink throws ends here.
    }
}

RequestUnderWay::RequestUnderWay(QMXPipeNamedConduit* conduit)
    : mConduit(conduit), mInput(inputOf(*conduit)), mOuter(std::exchange(innermost, this)) {}

RequestUnderWay::~RequestUnderWay() { innermost = mOuter; }

void RequestUnderWay::check() {
    if (innermost != nullptr && isCutOff(innermost->mInput)) {
        cancelWait(innermost->mConduit);
    }
}
