#include "qmx/qmxPipeSession.h"

#include "qmx/qmxExactSleepPrivate.h"
#include "qmx/qmxLogPrivate.h"
#include "qmx/qmxPipeEnginePrivate.h"

#include <cstdint>
#include <cstdlib>
#include <sched.h>
#include <unistd.h>

namespace {

constexpr long noSystemFacility = 0xF0000006;
constexpr long goOnToFacility = 3; // the callback's

// A reply comes at once or takes its time, such as a user's. Sleeps are exact for the first rounds of a wait,
// so that the first kind is seen at once, and ordinary ones afterwards, which wake the machine up less often.
constexpr int exactRounds = 2000;

} // namespace

QMXPipeSession::QMXPipeSession(QMXPipeConduit* conduit, long id, long partnerId,
                               QMXPipe::Synchronicity synchronicity)
    : mpData(new QMXPipeSessionData{
          .conduit = conduit, .id = id, .partnerId = partnerId, .synchronicity = synchronicity}) {
    QMXPipeEngine::attach(this);
}

QMXPipeSession::~QMXPipeSession() {
    retain(); // never given back: what close() retains and releases must not destroy the session again
    close(true);
    if (mpData->pendingPacket != nullptr) {
        mpData->pendingPacket->release();
    }
    delete mpData;
}

QMXPipeConduit* QMXPipeSession::conduit() const { return mpData->conduit; }

long QMXPipeSession::id() const { return mpData->id; }

long QMXPipeSession::partnerId() const { return mpData->partnerId; }

void QMXPipeSession::setPartnerId(long id) { mpData->partnerId = id; }

long QMXPipeSession::partnerPID() const { return mpData->partnerPID; }

void QMXPipeSession::setPartnerPID(long pid) { mpData->partnerPID = pid; }

QMXPipe::Synchronicity QMXPipeSession::synchronicity() const { return mpData->synchronicity; }

int QMXPipeSession::writerIndex() const { return mpData->writerIndex; }

QMXPipeSession::Callback QMXPipeSession::callback() const { return mpData->callback; }

void QMXPipeSession::setCallback(Callback look) { mpData->callback = look; }

QMXPipeFacilityInvocationContext* QMXPipeSession::context() const { return mpData->context; }

void QMXPipeSession::setContext(QMXPipeFacilityInvocationContext* kept) { mpData->context = kept; }

long QMXPipeSession::send(QMXPipePacket* packet) {
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    return send(packet, &response);
}

long QMXPipeSession::send(QMXPipePacket* packet, QMXPipePacket* response) {
    packet->setSessionId(mpData->id);
    packet->setPartnerSessionId(mpData->partnerId);
    if (mpData->conduit == nullptr) {
        return SendFailed;
    }
    return mpData->conduit->send(packet, response, mpData->writerIndex);
}

long QMXPipeSession::prepareToWaitForPacket() {
    mpData->waiting = true;
    return 0;
}

long QMXPipeSession::waitForPacket(QMXPipePacket* response, long microseconds) {
    QMXPipeRetained<QMXPipeSession> const self(this);
    ExactSleep sleep;
    sched_yield(); // a partner that was woken by the request can have answered before the first look
    for (int round = 0;; ++round) {
        lock(0);
        if (!mpData->waiting) {
            break;
        }
        unlock();
        QMXPipeConduit* conduit = mpData->conduit;
        if (conduit == nullptr) {
            mpData->waiting = false;
            return SendFailed;
        }
        if (!conduit->isServerRunning()) {
            mpData->waiting = false;
            qmxLogError("QMX is unavailable");
            return SendUnavailable;
        }
        if (round == exactRounds) {
            sleep.end();
        }
        conduit->yieldToSystem(microseconds);
    }
    QMXPipePacket* packet = mpData->pendingPacket;
    mpData->pendingPacket = nullptr;
    unlock();
    if (packet == nullptr) {
        qmxLogDebug("  Not waiting for a packet and no packet set");
        return SendFailed;
    }
    qmxLogDebug("  packet received: %1", packet->facilityAndCode());
    response->take(*packet);
    packet->release();
    return SendDone;
}

void QMXPipeSession::cancelWait() {
    if (!mpData->waiting) {
        return;
    }
    mpData->waiting = false;
    if (mpData->pendingPacket != nullptr) { // from an earlier wait: not the reply to this one
        mpData->pendingPacket->release();
        mpData->pendingPacket = nullptr;
    }
}

long QMXPipeSession::process(QMXPipePacket* packet) {
    if (mpData->conduit == nullptr) {
        return 0;
    }
    QMXPipeRetained<QMXPipeSession> const self(this); // the callback may close it
    mpData->conduit->setLastActiveSession(this);
    bool const ours = QMXPipeEngine::takeIncoming(mpData->conduit, packet);
    lock(0);
    if (mpData->waiting) {
        if (mpData->pendingPacket != nullptr) {
            mpData->pendingPacket->release();
        }
        if (ours && packet->isCopiedExactly()) {
            packet->retain();
            mpData->pendingPacket = packet;
        } else {
            mpData->pendingPacket = new QMXPipePacket(*packet);
        }
        mpData->waiting = false;
        return 0; // the lock stays taken on this way, which its hooks bear
    }
    unlock();
    if (mpData->callback != nullptr) {
        long const result = mpData->callback(this, packet);
        if (result != goOnToFacility) {
            return result;
        }
    }
    QMXPipeFacility* facility = QMXPipeConduit::findFacility(packet->facility());
    if (facility == nullptr) {
        facility = QMXPipeConduit::findFacility("system");
    }
    if (facility == nullptr) {
        facility = QMXPipeConduit::findFacility("systemInternal");
    }
    if (facility == nullptr) {
        QMXBase::logError(noSystemFacility, "Can't find system facility!!!! Panic Now!");
        exit(0); // a transport without its system facility ends the process, and quietly; hosts depend on it
    }
    facility->dispatch(this, packet);
    return 0;
}

bool QMXPipeSession::connectClient(int index) {
    qmxLogDebug("Connecting Client %1 with session %2 at %3", static_cast<long>(index), mpData->id,
                TStr::number(static_cast<long>(reinterpret_cast<std::intptr_t>(this)), 16));
    if (mpData->writerIndex != 0) {
        qmxLogError("session %1 is already connected to index %2", mpData->id,
                    static_cast<long>(mpData->writerIndex));
        return false;
    }
    if (mpData->conduit != nullptr) {
        mpData->conduit->setupWriter(index);
    }
    mpData->writerIndex = index;
    return true;
}

void QMXPipeSession::disconnectClient(int index) {
    QMXPipeRetained<QMXPipeSession> const self(this);
    if (QMXPipeConduit* conduit = mpData->conduit; conduit != nullptr) {
        conduit->removeWriter(index);
        if (!conduit->isServer()) {
            conduit->removeReader(getpid()); // always the real process id, whatever key the reader was given
        }
        conduit->removeSession(this);
    }
    mpData->writerIndex = 0;
}

long QMXPipeSession::close(bool notify) {
    if (mpData->state >= SessionClosing) {
        return 0;
    }
    QMXPipeRetained<QMXPipeSession> const self(this);
    lock(0);
    mpData->state = SessionClosing;
    unlock();
    if (notify) {
        QMXPipePacket packet("system.ssnTerm", nullptr, QMXPipe::Synchronous);
        send(&packet);
    }
    disconnectClient(mpData->writerIndex);
    lock(0);
    QMXPipeEngine::detach(this);
    mpData->state = SessionClosed;
    unlock();
    return 0;
}

void QMXPipeEngine::attach(QMXPipeSession* session) {
    if (QMXPipeConduit* conduit = session->mpData->conduit; conduit != nullptr) {
        conduit->retain();
        conduit->mpData->open.insert(session);
    }
}

void QMXPipeEngine::detach(QMXPipeSession* session) {
    if (QMXPipeConduit* conduit = session->mpData->conduit; conduit != nullptr) {
        session->mpData->conduit = nullptr;
        conduit->mpData->open.erase(session);
        conduit->release();
    }
}

void QMXPipeEngine::abandon(QMXPipeSession* session) {
    session->mpData->conduit = nullptr;
    session->mpData->state = SessionClosed;
    session->mpData->writerIndex = 0;
}

QMXPipeSystemSession::QMXPipeSystemSession(QMXPipeConduit* conduit, long id)
    : QMXPipeSession(conduit, id, id, QMXPipe::SynchronicityDefault) {}
