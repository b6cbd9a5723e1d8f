// The records of conduit, session and facility, which are one engine, and what they share. Included by the
// engine's sources alone.
//
// The engine re-enters itself: a handler runs nested in a poll, may send and wait, and may remove readers,
// writers and sessions, its own included. So no cell of a table is held across a handler, a callback or a
// virtual call that leads to one, and a session is retained (QMXPipeRetained) for as long as a function goes
// on using it.
#pragma once

#include "orbuutil/tmap.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxDictionary.h"
#include "qmx/qmxPipe.h"
#include "qmx/qmxPipeConduit.h"
#include "qmx/qmxPipeEndpoint.h"
#include "qmx/qmxPipeFacility.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxPipeSession.h"

#include <memory>
#include <unordered_set>

struct QMXPipeConduitData {
    TMap<long, QMXPipeReadEndpoint> readers;
    TMap<long, QMXPipeWriteEndpoint> writers;
    TMap<long, QMXPipeSession*> sessions; // one retain on each
    QMXPipeFacility* systemFacility = nullptr;
    QMXPipeSession* defaultSession = nullptr; // one retain of its own, so that a late send is safe
    QMXPipe::Synchronicity synchronicity = QMXPipe::SynchronicityDefault;
    int status = 0;
    QMXPipeConduit::ProcessEventsCallback processEventsCallback = nullptr;
    void* processEventsContext = nullptr;
    bool shouldCloseSessionInitiateOnClose = false;
    long totalConnections = 0;
    long lockCount = 0;
    bool isServer = false;
    QMXPipeSession* lastActiveSession = nullptr; // not retained
    QMXPipeConduit* parentConduit = nullptr;     // not retained
    QMXPipePacket* incoming = nullptr;           // what poll() hands on, until somebody has had it
    long readerChanges = 0;                      // how often the table of readers was changed
    std::unordered_set<QMXPipeSession*> open;    // all that point to this conduit, also those in no table
};

struct QMXPipeSessionData {
    QMXPipeConduit* conduit; // retained until close
    long id;
    long partnerId;
    long partnerPID = 0;
    QMXPipe::Synchronicity synchronicity;
    bool waiting = false;
    QMXPipePacket* pendingPacket = nullptr; // owned
    int state = SessionOpen;
    int writerIndex = 0;
    QMXPipeSession::Callback callback = nullptr;
    QMXPipeFacilityInvocationContext* context = nullptr; // not retained
};

struct QMXPipeFacilityData {
    TStr name = TStr("");
    TMap<TStr, QMXPipeHandler> functions;
    QMXDictionary selectDictionaries;
    bool hidden = false;
};

// What one class of the engine does to another behind its verbs.
struct QMXPipeEngine {
    // Begin and end what a session and its conduit know of each other, with the session's retain.
    static void attach(QMXPipeSession* session);
    static void detach(QMXPipeSession* session);

    // Cuts a session off its conduit, which is being destroyed: closed, without a packet, and without giving
    // back the retain that it held.
    static void abandon(QMXPipeSession* session);

    // bytesAvailable(), canReadLine() and readLine() in one: the device is read once for it.
    static TStr* takeText(QMXPipeReadEndpoint& reader) { return reader.takeText(); }

    // One line that came in: what processPacket() gives for its packet.
    static long processLine(QMXPipeConduit* conduit, std::unique_ptr<TStr> line);

    // True for the first who asks about a packet that poll() made and will not look at again: it may be kept
    // as it is. A packet of anybody else's has to be copied.
    static bool takeIncoming(QMXPipeConduit* conduit, QMXPipePacket* packet);
};

// Holds one retain for the length of a scope. Null is accepted.
template <typename T>
class QMXPipeRetained {
public:
    explicit QMXPipeRetained(T* object) : mpObject(object) {
        if (mpObject != nullptr) {
            mpObject->retain();
        }
    }
    QMXPipeRetained(QMXPipeRetained&& other) noexcept : mpObject(other.mpObject) { other.mpObject = nullptr; }
    QMXPipeRetained(QMXPipeRetained const&) = delete;
    QMXPipeRetained& operator=(QMXPipeRetained const&) = delete;
    ~QMXPipeRetained() {
        if (mpObject != nullptr) {
            mpObject->release();
        }
    }

    T* operator->() const { return mpObject; }
    T* get() const { return mpObject; }

private:
    T* mpObject;
};
