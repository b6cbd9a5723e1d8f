// The named conduit by itself: its files, its lock, and both sides of the handshake without the companion.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "orbuutil/tlock.h"
#include "qmx/qmxPipeEndpoint.h"
#include "qmx/qmxPipeIODevice.h"
#include "qmx/qmxPipeSession.h"
#include "support/processes.h"

namespace {

// A process id that belongs to nobody any more.
int deadProcess() {
    Child child([] { return 0; });
    int const pid = child.pid();
    child.wait();
    return pid;
}

class NamedConduitTest : public ProcessTest {
protected:
    void SetUp() override {
        ProcessTest::SetUp();
        expectError("QMX is unavailable"); // a client that says goodbye to nobody
    }
    TStr path() const { return TStr(prefix().c_str()); }
    bool hasLock() const { return TLock(TStr(lockName().c_str()), false, false).isValid(); }
    void makePrefix() const { mkdir(prefix().c_str(), 0770); }
};

TEST_F(NamedConduitTest, WhetherAServerRuns) {
    QMXPipeNamedConduit conduit(path(), false, QMXPipe::Synchronous);
    EXPECT_FALSE(conduit.isServerRunning());
    makePrefix();
    std::string const own = std::to_string(getpid());
    std::string const dead = std::to_string(deadProcess());
    // What the file holds, whether a server runs, and whether the file stays.
    std::tuple<std::string, bool, bool> const cases[] = {
        {own, true, true},
        {"1", true, true}, // whoever it belongs to
        {" \n" + own + "\n", true, true},
        {std::string(4096 - own.size(), ' ') + own, true, true},
        {std::string(5000, '0') + own, true, true},
        {std::to_string((1L << 32) + getpid()), true, true},
        {"", false, true},
        {"0", false, true},
        {std::to_string(1L << 32), false, true},
        {own + "x", false, true},
        {own + "\n" + own, false, true},
        {"99999999999999999999", false, true},
        {std::string(1 << 22, ' ') + own, false, true},
        {dead, false, false},
        {"-" + dead, false, false},
    };
    for (auto const& [content, runs, stays] : cases) {
        SCOPED_TRACE(content.substr(0, 40));
        writeFile(idFile(), content);
        for (int again = 0; again < 2; ++again) {
            EXPECT_EQ(conduit.isServerRunning(), runs);
        }
        EXPECT_EQ(fileExists(idFile()), stays);
    }

    // A file that has long been left alone is not read in every round, but each change of it is seen.
    struct timespec const old[] = {{1000000000, 0}, {1000000000, 0}};
    for (auto const& [content, runs] : {std::pair(own, true), std::pair(dead, false)}) {
        writeFile(idFile(), own);
        utimensat(AT_FDCWD, idFile().c_str(), old, 0);
        EXPECT_TRUE(conduit.isServerRunning());
        writeFile(idFile(), content);
        utimensat(AT_FDCWD, idFile().c_str(), old, 0);
        EXPECT_EQ(conduit.isServerRunning(), runs);
    }
    mkdir(idFile().c_str(), 0700);
    EXPECT_FALSE(conduit.isServerRunning());
    EXPECT_TRUE(fileExists(idFile()));
    rmdir(idFile().c_str());
    rmdir(prefix().c_str());
}

TEST_F(NamedConduitTest, Fifos) {
    QMXPipeNamedConduit conduit(path(), false, QMXPipe::Synchronous);
    EXPECT_FALSE(conduit.setupWriter(5));
    EXPECT_TRUE(conduit.setupReader(5));
    EXPECT_TRUE(conduit.setupReader(5)) << "an existing FIFO is taken";
    EXPECT_EQ(modeOf(prefix() + "/5"), S_IFIFO | 0700u);

    EXPECT_TRUE(conduit.setupWriter(5));
    QMXPipeWriteEndpoint writer;
    ASSERT_TRUE(conduit.writerForKey(5, writer));
    EXPECT_EQ(fcntl(writer.device()->handle(), F_GETFL) & O_NONBLOCK, 0)
        << "a full FIFO has to hold its writer";
    conduit.removeWriter(5);
    EXPECT_TRUE(fileExists(prefix() + "/5"));
    conduit.removeReader(5);
    EXPECT_FALSE(fileExists(prefix()));

    // A FIFO whose reader has died is given up; one whose reader is about to come is waited for.
    makePrefix();
    int const dead = deadProcess();
    mkfifo((prefix() + "/" + std::to_string(dead)).c_str(), 0700);
    EXPECT_FALSE(conduit.setupWriter(dead));
    unlink((prefix() + "/" + std::to_string(dead)).c_str());
    Child reader([&] {
        std::string const own = prefix() + "/" + std::to_string(getpid());
        mkfifo(own.c_str(), 0700);
        usleep(20000);
        int const fd = open(own.c_str(), O_RDONLY);
        for (char byte = 0; read(fd, &byte, 1) > 0;) {
        }
        return unlink(own.c_str());
    });
    ASSERT_TRUE(eventually([&] { return fileExists(prefix() + "/" + std::to_string(reader.pid())); }));
    EXPECT_TRUE(conduit.setupWriter(reader.pid()));
    conduit.removeWriter(reader.pid());
    EXPECT_EQ(reader.wait(), 0);
    rmdir(prefix().c_str());

    writeFile(prefix(), "in the way");
    EXPECT_FALSE(conduit.setupReader(5));
    expectError("Could not create fifo at " + prefix() + "/5 : errno 20\n");
    unlink(prefix().c_str());
}

TEST_F(NamedConduitTest, TheLockIsBetweenConduits) {
    QMXPipeNamedConduit one(path(), false, QMXPipe::Synchronous);
    QMXPipeNamedConduit copy(one);
    EXPECT_EQ(one.lock(0), 1);
    EXPECT_EQ(one.lock(0), 1);
    EXPECT_EQ(one.lockCount(), 2);
    EXPECT_EQ(QMXPipeNamedConduit(path(), false, QMXPipe::Synchronous).lock(200), 0);
    copy.terminate(false);
}

// What stands at each step of a server's end: the id file goes before anything else does.
struct RecordingServer : QMXPipeNamedConduit {
    RecordingServer(TStr const& prefix, std::string idFile, std::string* record)
        : QMXPipeNamedConduit(prefix, true, QMXPipe::Synchronous),
          idFile_(std::move(idFile)),
          record_(record) {}
    ~RecordingServer() override { terminate(true); }
    void note(char const* what) { *record_ += std::string(what) + (fileExists(idFile_) ? "+" : "-"); }
    long lock(long timeout) override { return note("lock"), QMXPipeNamedConduit::lock(timeout); }
    void unlock() override { note("unlock"), QMXPipeNamedConduit::unlock(); }
    void removeReader(long key) override { note("reader"), QMXPipeNamedConduit::removeReader(key); }
    long send(QMXPipePacket* packet, QMXPipePacket* response, long writer) override {
        note(packet->facilityAndCode().toUtf8());
        return QMXPipeNamedConduit::send(packet, response, writer);
    }
    using QMXPipeConduit::send;

    std::string idFile_;
    std::string* record_;
};

TEST_F(NamedConduitTest, ServerRoleAndItsEnd) {
    std::string record;
    {
        RecordingServer server(path(), idFile(), &record);
        EXPECT_TRUE(server.registerServer());
        EXPECT_EQ(fileText(idFile()), std::to_string(getpid()));
        EXPECT_FALSE(server.registerServer()) << "another one has the role";
        expectError("Another server is running.");
        EXPECT_TRUE(hasLock());
        EXPECT_TRUE(server.lockWhileServing(1000));
        EXPECT_FALSE(TLock(TStr(lockName().c_str()), false, false).acquireIfAvailable());
        server.unlock();
        record.clear();
    }
    EXPECT_EQ(record, "lock+system.cndTerm-reader-unlock-");
    EXPECT_FALSE(hasLock());
    EXPECT_FALSE(fileExists(prefix()));
}

// A server that is played by hand, in the callback of each round: of the conduit only the FIFOs are used.
struct HandServer : QMXPipeNamedConduit {
    explicit HandServer(TStr const& prefix) : QMXPipeNamedConduit(prefix, false, QMXPipe::Synchronous) {
        EXPECT_TRUE(setupReader(0) && readerForKey(0, reader));
    }

    QMXPipeReadEndpoint reader;
    std::string lines; // all that came

    static void serve(void* context) {
        auto* const self = static_cast<HandServer*>(context);
        if (!self->reader.canReadLine()) {
            return;
        }
        std::string const line = self->reader.readLine().toUtf8();
        self->lines += line + "\n";
        // The ids of the reply are the request's, exchanged: the client's own one comes first.
        long client = 0;
        EXPECT_EQ(std::sscanf(line.c_str(), "65536;%*[^;];%*d;%ld;", &client), 1);
        QMXPipeWriteEndpoint writer;
        EXPECT_TRUE(self->setupWriter(getpid()) && self->writerForKey(getpid(), writer));
        writer.write(TStr("65536;system.RESP;%1;77;0;1;RSCD=d0\n").arg(client));
    }
};

TEST_F(NamedConduitTest, HandshakeLineByLine) {
    HandServer server(path());
    writeFile(idFile(), std::to_string(getpid()));
    QMXPipeNamedConduit* seen = nullptr;
    Client client(QMXPipeNamedConduit::connect("/none", path(), 100000, HandServer::serve, &server, &seen));
    ASSERT_TRUE(client);
    EXPECT_EQ(seen, client.get());
    std::string const own = std::to_string(getpid());
    std::string const session = std::to_string(client->defaultSession()->id());
    EXPECT_EQ(client->lockCount(), 0);
    client->newSession()
        ->release(); // a second conversation does not take the FIFOs with it when it is closed
    client.reset();
    EXPECT_EQ(server.lines, "65536;system.cndCnct;0;" + session + ";0;2;CPID=d" + own + "\n" +
                                "65536;system.cndTerm;77;" + session + ";0;2;CPID=d" + own + "\n");
    EXPECT_FALSE(fileExists(prefix() + "/" + own));
    unlink(idFile().c_str());
    expectRemains();
}

TEST_F(NamedConduitTest, ConnectionsThatFail) {
    struct Caller {
        QMXPipeNamedConduit* self = nullptr;
        int rounds = 0;
    } caller;
    auto const inRound = [](void* context) -> void {
        auto* const told = static_cast<Caller*>(context);
        if (++told->rounds == 3) {
            told->self->terminate(false);
        } else if (told->rounds > 3) {
            told->self->defaultSession()->cancelWait();
        }
    };

    TStr const longName((prefix() + std::string(300, 'n')).c_str());
    EXPECT_EQ(QMXPipeNamedConduit::server(longName), nullptr);
    expectError("Could not create server conduit.");

    // A program that is no server, with and without a limit of its own.
    for (long const limit : {-1, 0, 20}) {
        EXPECT_EQ(QMXPipeNamedConduit::connect("/bin/true", path(), limit), nullptr);
    }
    EXPECT_EQ(QMXPipeNamedConduit::connect("/bin/true", path(), 100000000, inRound, &caller, &caller.self),
              nullptr);
    EXPECT_EQ(caller.rounds, 3);
    EXPECT_EQ(caller.self, nullptr);

    // A server that never replies to the handshake.
    HandServer silent(path());
    writeFile(idFile(), std::to_string(getpid()));
    Client client(QMXPipeNamedConduit::connect("/none", path(), 1000, inRound, &caller, &caller.self));
    ASSERT_TRUE(client);
    EXPECT_EQ(caller.rounds, 4) << "one round of this wait";
    EXPECT_EQ(client->lockCount(), 0);
    client->terminate(false);
    client.reset();
    EXPECT_THAT(silent.reader.readLine().toUtf8(), testing::HasSubstr("system.cndCnct"));
    unlink(idFile().c_str());

    // Somebody else holds the lock.
    QMXPipeNamedConduit holder(path(), false, QMXPipe::Synchronous);
    EXPECT_EQ(holder.lock(0), 1);
    EXPECT_EQ(QMXPipeNamedConduit::connect("/bin/true", path(), 500), nullptr);
    expectError("Cannot lock server. Aborting connection attempt");
    expectRemains();
}

} // namespace
