#include "qmx/qmxPipeConduit.h"

#include "orbuutil/tmapPrivate.h"
#include "orbuutil/tprocess.h"
#include "qmx/qmxLogPrivate.h"
#include "qmx/qmxPipeEnginePrivate.h"
#include "qmx/qmxPipeIODevice.h"
#include "qmx/qmxPipeSystemFacility.h"

#include <algorithm>
#include <csignal>
#include <memory>
#include <new>
#include <unistd.h>
#include <vector>

template class TMap<TStr, QMXPipeFacility*>;

constinit TMap<TStr, QMXPipeFacility*>* QMXPipeConduit::spFacilities = nullptr;
constinit long QMXPipeConduit::sLastSessionId = 10;

namespace {

constexpr long systemSessionId = 1;
constexpr long waitSleep = 100; // microseconds
constexpr long noSuchProcess = -6;
constexpr long sessionNotMade = 0xF0000007;

// Visits key and stored value of each entry in table order. The visitor must not change the table.
template <typename K, typename V, typename Visitor>
void forEach(TMap<K, V> const& table, Visitor visit) {
    hashmap* map = table.handle();
    for (hashmap_entry* entry = private_hashmap_first(map); entry != nullptr;
         entry = private_hashmap_after(map, entry)) {
        visit(*static_cast<K const*>(entry->key), *static_cast<V*>(entry->value));
    }
}

// Takes an endpoint out of its table, and closes its device once the table is done with it.
template <typename Endpoint>
void removeEndpoint(TMap<long, Endpoint>& table, long key) {
    Endpoint* found = private_tmap_find(table, key);
    if (found == nullptr) {
        return;
    }
    QMXPipeEndpoint taken(*found);
    hashmap_remove(table.handle(), &key);
    taken.close();
}

template <typename K, typename V>
void replaceByDuplicate(TMap<K, V>& table, TMap<K, V> const& other) {
    hashmap_clear(table.handle());
    forEach(other, [&](K const& key, V& value) { hashmap_insert(table.handle(), &key, &value); });
}

void retainAll(TMap<long, QMXPipeSession*> const& sessions) {
    forEach(sessions, [](long, QMXPipeSession* session) { session->retain(); });
}

// The sessions that a test picks, each retained, so that closing one may take any of them out of the table.
template <typename Test>
std::vector<QMXPipeRetained<QMXPipeSession>> pickSessions(TMap<long, QMXPipeSession*> const& sessions,
                                                          Test test) {
    std::vector<QMXPipeRetained<QMXPipeSession>> picked;
    forEach(sessions, [&](long, QMXPipeSession* session) {
        if (test(session)) {
            picked.emplace_back(session);
        }
    });
    return picked;
}

bool isProcessGone(long pid) { return TProcess(static_cast<int>(pid)).status() == noSuchProcess; }

} // namespace

QMXPipeConduit::QMXPipeConduit(bool server, QMXPipe::Synchronicity synchronicity, bool internal)
    : mpData(new QMXPipeConduitData) {
    mpData->isServer = server;
    mpData->synchronicity = synchronicity;
    init(internal);
}

QMXPipeConduit::QMXPipeConduit(QMXPipeConduit const& other)
    : QMXPipeBase(other), mpData(new QMXPipeConduitData) {
    mpData->isServer = other.mpData->isServer;
    *this = other;
}

QMXPipeConduit& QMXPipeConduit::operator=(QMXPipeConduit const& other) {
    if (this != &other) {
        retainAll(other.mpData->sessions);
        auto const old = pickSessions(mpData->sessions, [](QMXPipeSession*) { return true; });
        forEach(mpData->sessions, [](long, QMXPipeSession* session) { session->release(); });
        replaceByDuplicate(mpData->sessions, other.mpData->sessions);
        replaceByDuplicate(mpData->readers, other.mpData->readers);
        mpData->readerChanges += 1;
        replaceByDuplicate(mpData->writers, other.mpData->writers);
        mpData->shouldCloseSessionInitiateOnClose = other.mpData->shouldCloseSessionInitiateOnClose;
        mpData->synchronicity = other.mpData->synchronicity;
    }
    return *this;
}

QMXPipeConduit::~QMXPipeConduit() {
    if (mpData->systemFacility != nullptr) {
        unregisterFacility(mpData->systemFacility->facility());
        delete mpData->systemFacility;
        mpData->systemFacility = nullptr;
    }
    if (QMXPipeRetained<QMXPipeSession> const session(findSession(systemSessionId));
        session.get() != nullptr) {
        session->close(false);
    }
    if (mpData->isServer && hashmap_count(mpData->readers.handle()) > 0) {
        QMXPipeConduit::removeAllReaders();
    }
    // What is left, in the table or with the host alone, would go on using a conduit that is no more.
    for (QMXPipeSession* session : mpData->open) {
        QMXPipeEngine::abandon(session);
    }
    forEach(mpData->sessions, [](long, QMXPipeSession* session) { session->release(); });
    setDefaultSession(nullptr);
    delete mpData;
    if (spFacilities != nullptr && hashmap_count(spFacilities->handle()) == 0) {
        delete spFacilities;
        spFacilities = nullptr;
    }
}

void QMXPipeConduit::init(bool internal) {
    if (mpData->systemFacility != nullptr) {
        return;
    }
    if (QMXPipeSession* shared = findSession(systemSessionId); shared != nullptr) {
        hashmap_remove(mpData->sessions.handle(), &systemSessionId);
        shared->release();
    }
    auto* session = new QMXPipeSystemSession(this, systemSessionId);
    QMXPipeSession* stored = session; // its creation reference is the table's
    hashmap_insert(mpData->sessions.handle(), &systemSessionId, &stored);
    setDefaultSession(session);
    mpData->systemFacility = new QMXPipeSystemFacility(internal);
    registerFacility(mpData->systemFacility);
    mpData->status = ConduitReady;
}

long QMXPipeConduit::lock(long timeout) {
    mpData->lockCount += 1;
    return QMXPipeBase::lock(timeout);
}

void QMXPipeConduit::unlock() {
    mpData->lockCount = std::max(mpData->lockCount - 1, 0L);
    QMXPipeBase::unlock();
}

long QMXPipeConduit::lockCount() { return mpData->lockCount; }

long QMXPipeConduit::send(QMXPipePacket& packet, long writer) { return send(&packet, nullptr, writer); }

long QMXPipeConduit::send(QMXPipePacket& packet, QMXPipePacket& response, long writer) {
    return send(&packet, &response, writer);
}

long QMXPipeConduit::send(QMXPipePacket* packet, QMXPipePacket* response, long writer) {
    QMXPipeRetained<QMXPipeSession> const session(preparePacket(packet));
    bool const waits = session.get() != nullptr && !isAsynchronous(packet, session.get(), true);
    if (waits) {
        session->prepareToWaitForPacket(); // before the write, so that the reply cannot slip past
    }
    TStr const line = packet->marshal(true, "\n");
    if (writer == 0) {
        forEach(mpData->writers, [&](long, QMXPipeWriteEndpoint& endpoint) { endpoint.write(line); });
    } else {
        QMXPipeWriteEndpoint* endpoint = private_tmap_find(mpData->writers, writer);
        if (endpoint == nullptr) {
            qmxLogError("Attempt to write to unknown writer %1", writer);
            return SendFailed;
        }
        signal(SIGPIPE, SIG_IGN);
        endpoint->write(line);
        signal(SIGPIPE, SIG_DFL);
    }
    if (!waits || response == nullptr) {
        return SendDone;
    }
    return session->waitForPacket(response, waitSleep);
}

QMXPipeSession* QMXPipeConduit::preparePacket(QMXPipePacket* packet) {
    QMXPipeSession* session = packet->sessionId() != 0 ? findSession(packet->sessionId()) : nullptr;
    if (session == nullptr) {
        session = mpData->defaultSession;
    }
    if (session != nullptr) {
        packet->setSessionId(session->id());
        packet->setPartnerSessionId(session->partnerId());
    }
    return session;
}

bool QMXPipeConduit::isAsynchronous(QMXPipePacket* packet, QMXPipeSession* session, bool fallback) {
    if (session == nullptr) {
        session = findSession(packet->sessionId());
    }
    if (session == nullptr) {
        session = mpData->defaultSession;
    }
    QMXPipe::Synchronicity stated = packet->synchronicity();
    if (stated == QMXPipe::SynchronicityDefault && session != nullptr) {
        stated = session->synchronicity();
    }
    if (stated == QMXPipe::SynchronicityDefault) {
        stated = synchronicity();
    }
    return stated == QMXPipe::SynchronicityDefault ? fallback : stated == QMXPipe::Asynchronous;
}

long QMXPipeConduit::poll() {
    if (mpData->status == ConduitTerminated) {
        return 0;
    }
    // Processing a packet can change the table of readers. The sweep then starts anew and passes over the
    // keys that it has seen. Before the first packet there is nothing to remember, and a sweep that finds
    // none allocates nothing.
    long count = 0;
    std::vector<long> seen;
    hashmap* const readers = mpData->readers.handle();
    hashmap_entry* entry = private_hashmap_first(readers);
    bool anew = false;
    while (entry != nullptr) {
        long const key = *static_cast<long const*>(entry->key);
        auto& reader = *static_cast<QMXPipeReadEndpoint*>(entry->value);
        bool const passOver = anew && std::find(seen.begin(), seen.end(), key) != seen.end();
        std::unique_ptr<TStr> line(passOver ? nullptr : QMXPipeEngine::takeText(reader));
        if (line == nullptr) {
            if (!passOver && !seen.empty()) {
                seen.push_back(key);
            }
            entry = private_hashmap_after(readers, entry);
            continue;
        }
        if (seen.empty()) {
            for (hashmap_entry* before = private_hashmap_first(readers); before != entry;
                 before = private_hashmap_after(readers, before)) {
                seen.push_back(*static_cast<long const*>(before->key));
            }
        }
        seen.push_back(key);
        long const changes = mpData->readerChanges;
        count += QMXPipeEngine::processLine(this, std::move(line));
        bool const changed = mpData->readerChanges != changes;
        anew = anew || changed;
        entry = changed ? private_hashmap_first(readers) : private_hashmap_after(readers, entry);
    }
    housekeeping();
    return count;
}

long QMXPipeEngine::processLine(QMXPipeConduit* conduit, std::unique_ptr<TStr> line) {
    auto* packet = new QMXPipePacket(QMXPipe::SynchronicityDefault);
    packet->unmarshal(*line);
    line.reset(); // a handler may go on for long
    conduit->mpData->incoming = packet;
    long const count = conduit->processPacket(packet);
    conduit->mpData->incoming = nullptr; // if there was no session for it
    packet->release();
    return count;
}

bool QMXPipeEngine::takeIncoming(QMXPipeConduit* conduit, QMXPipePacket* packet) {
    bool const taken = conduit->mpData->incoming == packet;
    conduit->mpData->incoming = nullptr;
    return taken;
}

long QMXPipeConduit::processPacket(QMXPipePacket* packet) {
    qmxLogDebug("PROCESS: %1", packet->sessionId());
    int const id = static_cast<int>(packet->sessionId());
    QMXPipeSession* found = id != 0 ? findSession(id) : nullptr;
    if (found == nullptr) {
        if (id != 0) {
            qmxLogDebug("incoming packet had bad session id : %1. Creating a new session.",
                        packet->sessionId());
        }
        found = newSession();
        if (found == nullptr) {
            QMXBase::logError(sessionNotMade,
                              qmxLogText("Could not find or allocate session : %1", packet->sessionId()));
            return 0;
        }
        packet->setSessionId(found->id());
        mpData->totalConnections += 1;
        found->release(); // the table's retain is the only one left
    }
    QMXPipeRetained<QMXPipeSession> const session(found);
    session->setPartnerId(packet->partnerSessionId());
    session->process(packet);
    return 1;
}

void QMXPipeConduit::housekeeping() {
    auto const gone = pickSessions(mpData->sessions, [](QMXPipeSession* session) {
        return session->partnerPID() != 0 && isProcessGone(session->partnerPID());
    });
    for (auto const& session : gone) {
        session->close(false);
    }
}

void QMXPipeConduit::yieldToSystem(long microseconds) {
    if (mpData->processEventsCallback != nullptr) {
        mpData->processEventsCallback(mpData->processEventsContext);
    }
    poll();
    usleep(static_cast<useconds_t>(microseconds));
}

QMXPipeConduit::ProcessEventsCallback QMXPipeConduit::setProcessEventsCallback(ProcessEventsCallback callback,
                                                                               void* context) {
    ProcessEventsCallback const previous = mpData->processEventsCallback;
    mpData->processEventsCallback = callback;
    mpData->processEventsContext = context;
    return previous;
}

long QMXPipeConduit::close(bool initiate, bool readers, bool writers) {
    if (mpData->status >= ConduitClosing) {
        qmxLogDebug("Conduit is already terminating");
        return 0;
    }
    qmxLogDebug(" ==== Closing Conduit for %1 (init:%2, readers:%3, writers:%4)", static_cast<long>(getpid()),
                static_cast<long>(initiate), static_cast<long>(readers), static_cast<long>(writers));
    mpData->status = ConduitClosing;
    if (initiate) {
        auto const others = pickSessions(mpData->sessions, [this](QMXPipeSession* session) {
            return session->id() != systemSessionId && session != mpData->defaultSession;
        });
        for (auto const& session : others) {
            session->close(mpData->shouldCloseSessionInitiateOnClose);
        }
        QMXPipePacket request("system.cndTerm", nullptr, QMXPipe::Synchronous);
        QMXPipePacket response(QMXPipe::SynchronicityDefault);
        send(request, response, 0);
    }
    if (QMXPipeRetained<QMXPipeSession> const session(mpData->defaultSession); session.get() != nullptr) {
        session->close(false);
    }
    mpData->status = ConduitTerminated;
    return 0;
}

long QMXPipeConduit::terminate(bool initiate) { return close(initiate, true, true); }

long QMXPipeConduit::listen() { return 0; }

bool QMXPipeConduit::hasTerminated() { return mpData->status == ConduitTerminated; }

QMXPipe::Synchronicity QMXPipeConduit::synchronicity() const { return mpData->synchronicity; }

int QMXPipeConduit::status() const { return mpData->status; }

bool QMXPipeConduit::isServer() const { return mpData->isServer; }

bool QMXPipeConduit::setupWriter(int) { return false; }

bool QMXPipeConduit::isServerRunning() { return true; }

void QMXPipeConduit::addReader(long key, QMXPipeReadEndpoint const& endpoint) {
    hashmap_insert(mpData->readers.handle(), &key, &endpoint);
    mpData->readerChanges += 1;
}

void QMXPipeConduit::addWriter(long key, QMXPipeWriteEndpoint const& endpoint) {
    hashmap_insert(mpData->writers.handle(), &key, &endpoint);
}

void QMXPipeConduit::removeReader(long key) {
    mpData->readerChanges += 1;
    removeEndpoint(mpData->readers, key);
}

void QMXPipeConduit::removeWriter(long key) { removeEndpoint(mpData->writers, key); }

void QMXPipeConduit::removeAllReaders() {
    forEach(mpData->readers, [](long, QMXPipeReadEndpoint& reader) { reader.close(); });
    hashmap_clear(mpData->readers.handle());
    mpData->readerChanges += 1;
}

bool QMXPipeConduit::readerForKey(long key, QMXPipeReadEndpoint& out) {
    QMXPipeReadEndpoint* found = private_tmap_find(mpData->readers, key);
    if (found != nullptr) {
        out = *found;
    }
    return found != nullptr;
}

bool QMXPipeConduit::writerForKey(long key, QMXPipeWriteEndpoint& out) {
    QMXPipeWriteEndpoint* found = private_tmap_find(mpData->writers, key);
    if (found != nullptr) {
        out = *found;
    }
    return found != nullptr;
}

long QMXPipeConduit::activeConnections() { return hashmap_count(mpData->writers.handle()); }

long QMXPipeConduit::totalConnections() const { return mpData->totalConnections; }

bool QMXPipeConduit::canWrite() {
    bool can = false;
    forEach(mpData->writers, [&](long, QMXPipeWriteEndpoint& writer) { can = writer.open() || can; });
    return can;
}

QMXPipeSession* QMXPipeConduit::newSession() {
    auto* session =
        new (std::nothrow) QMXPipeSession(this, sLastSessionId++, 0, QMXPipe::SynchronicityDefault);
    if (session != nullptr) {
        long const id = session->id();
        hashmap_insert(mpData->sessions.handle(), &id, &session); // takes the creation reference
        session->retain();                                        // the caller's
    }
    return session;
}

void QMXPipeConduit::removeSession(QMXPipeSession* session) {
    if (mpData->lastActiveSession == session) {
        mpData->lastActiveSession = nullptr;
    }
    long const id = session->id();
    if (findSession(id) == session) {
        hashmap_remove(mpData->sessions.handle(), &id);
        session->release();
    }
}

QMXPipeSession* QMXPipeConduit::findSession(long id) {
    QMXPipeSession** found = private_tmap_find(mpData->sessions, id);
    return found != nullptr ? *found : nullptr;
}

QMXPipeSession* QMXPipeConduit::defaultSession() const { return mpData->defaultSession; }

void QMXPipeConduit::setDefaultSession(QMXPipeSession* session) {
    QMXPipeSession* old = mpData->defaultSession;
    if (session != nullptr) {
        session->retain();
    }
    mpData->defaultSession = session;
    if (old != nullptr) {
        old->release();
    }
}

void QMXPipeConduit::setShouldCloseSessionInitiateOnClose(bool initiate) {
    mpData->shouldCloseSessionInitiateOnClose = initiate;
}

QMXPipeSession* QMXPipeConduit::lastActiveSession() const { return mpData->lastActiveSession; }

void QMXPipeConduit::setLastActiveSession(QMXPipeSession* session) { mpData->lastActiveSession = session; }

QMXPipeConduit* QMXPipeConduit::parentConduit() const { return mpData->parentConduit; }

void QMXPipeConduit::setParentConduit(QMXPipeConduit* conduit) { mpData->parentConduit = conduit; }

TStr QMXPipeConduit::registerFacility(QMXPipeFacility* facility, TStr const& name) {
    TStr const key = name.isEmpty() ? facility->facility() : name;
    if (spFacilities == nullptr) {
        spFacilities = new TMap<TStr, QMXPipeFacility*>;
    }
    hashmap_insert(spFacilities->handle(), &key, &facility);
    return key;
}

void QMXPipeConduit::unregisterFacility(TStr const& name) {
    if (spFacilities != nullptr) {
        hashmap_remove(spFacilities->handle(), &name);
    }
}

QMXPipeFacility* QMXPipeConduit::findFacility(TStr const& name) {
    QMXPipeFacility** found = spFacilities != nullptr ? private_tmap_find(*spFacilities, name) : nullptr;
    return found != nullptr ? *found : nullptr;
}

TList<TStr> QMXPipeConduit::listFacilities() {
    TList<TStr> names;
    if (spFacilities != nullptr) {
        forEach(*spFacilities, [&](TStr const& name, QMXPipeFacility* facility) {
            if (!facility->isHidden()) {
                list_push(names.handle(), &name);
            }
        });
    }
    return names;
}

QMXPipePacket* QMXPipeConduit::packetFromCommandLine(int argc, char** argv) {
    return QMXPipePacket::packetFromCommandLine(argc, argv);
}

QMXPipePacket* QMXPipeConduit::packetFromString(TStr const& text) {
    return QMXPipePacket::packetFromString(text);
}
