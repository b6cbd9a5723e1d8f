#include "transport.h"

#include <csignal>

#include "orbuutil/c_memory.h"
#include "support/processes.h"

namespace {

using ConduitTest = TransportTest;

long greet(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response) {
    response->setAttribute("RCOD", TStr("overwritten"));
    response->setAttribute("name", request->attributeAsString("name"));
    response->setAttribute("from", session->id());
    return HandlerDone;
}

long fail(QMXPipeSession*, QMXPipePacket*, QMXPipePacket*) { return HandlerFailed; }

// A server, as the lines go. The first session that it makes has id 10, and its client's session has 33.
TEST_F(ConduitTest, AnswersLineByLine) {
    std::string const pid = std::to_string(getpid());
    std::string const connect = "> 65536;system.cndCnct;0;33;0;2;CPID=d" + pid;
    std::string const connected = "< 65536;system.RESP;33;10;0;1;SSID=d10;RCOD=hcndCnct;RSCD=d0";
    std::string const everything = "RCOD=h;RSCD=d0;MLST=j!237!3assnTerm!2ccndTerm!2ccndCnct!2cRESP!2cerror!2c"
                                   "listLocales!2clistFacilities";
    std::string const again = "Error  session 10 is already connected to index " + pid;
    struct {
        char const* name;
        std::vector<std::string> script; // once connected
        long sessions = 1;
        char const* error = nullptr;
    } const cases[] = {
        {"end the session",
         {"> 65536;system.ssnTerm;10;33;0;2", "< 65536;system.RESP;33;10;0;1;RCOD=hssnTerm"}},
        {"end the system session, which the conduit then finds closed",
         {"> 65536;system.ssnTerm;1;1;0;2", "< 65536;system.RESP;1;1;0;1;RCOD=hssnTerm"}},
        {"end the conduit, and come back",
         {"> 65536;system.cndTerm;10;33;0;2", "< 65536;system.RESP;33;10;0;1;RCOD=hcndTerm",
          "> 65536;system.listLocales;10;33;0;2"},
         2},
        {"connect again", {"> 65536;system.cndCnct;10;33;0;2;CPID=d" + pid}, 1, again.c_str()},
        {"connect without a process id", {"> 65536;system.cndCnct;0;33;0;2"}, 2},
        {"a handler, and the partner's id follows",
         {"> 65536;test.greet;10;35;0;2;name=hA!20b",
          "< 65536;test.RESP;35;10;0;1;RCOD=hgreet;name=hA!20b;from=d10;RSCD=d0"}},
        {"no answer",
         {"> 65536;test.fail;10;33;0;2", "> 65536;test.RESP;10;33;0;1", "> 65536;system.RESP;10;33;0;1"}},
        {"an id that nobody knows opens a session, 0 always does",
         {"> 65536;test.fail;99;33;0;2", "> 65536;test.fail;0;33;0;2", "> 65536;test.fail;12;33;0;2"},
         3},
        {"the low 32 bits of an id count", {"> 65536;test.fail;4294967306;33;0;2"}},
        {"lines that are no packet are answered by the system, and then the next good one",
         {"> ;;;;;;", "< 65536;.RESP;0;11;0;1;" + everything, "> 65536;test.greet;10;33;0;2;=;==;x",
          "< 65536;test.RESP;33;10;0;1;RCOD=hgreet;from=d10;RSCD=d0"},
         2},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.name);
        if (each.error != nullptr) {
            expectError(each.error);
        }
        QMXPipeConduit::sLastSessionId = 10;
        Registered facility;
        facility.registerFunction("greet", greet);
        facility.registerFunction("fail", fail);
        Side side(true);
        Channel in = channel();
        Channel out = channel();
        side.addReader(0, in.reader);
        side.reply = out.writer;
        converse(side, in, out, {connect, connected});
        converse(side, in, out, each.script);
        EXPECT_EQ(side.totalConnections(), each.sessions);
    }
}

TEST_F(ConduitTest, TakesOneLineFromEachReaderInARound) {
    Registered facility;
    Side side(true);
    Channel first = channel();
    Channel second = channel();
    side.addReader(1, first.reader);
    side.addReader(2, second.reader);
    std::string const line = "65536;test.nowhere;0;1;0;1";
    first.tell(line + "\n\n" + line);
    second.tell(""); // waits until there is text behind it
    std::vector<long> packets;
    for (int round = 0; round < 7; ++round) {
        if (round == 4) {
            second.tell(line);
        }
        packets.push_back(side.poll());
    }
    EXPECT_EQ(packets, (std::vector<long>{1, 1, 1, 0, 1, 1, 0}));
    long const before = memory_allocated_count();
    side.yieldToSystem(1);
    EXPECT_EQ(memory_allocated_count(), before) << "an idle round allocates nothing";
    side.close(false, true, true);
    first.tell(line);
    EXPECT_EQ(side.poll(), 0);
}

// A handler may change what the sweep walks over: here each packet removes reader 1 and adds another reader.
TEST_F(ConduitTest, ReadersMayChangeDuringASweep) {
    static ConduitTest* test;
    static int made;
    test = this;
    made = 0;
    Registered facility;
    facility.registerFunction("swap", [](QMXPipeSession* session, QMXPipePacket*, QMXPipePacket*) -> long {
        Channel fresh = test->channel();
        session->conduit()->removeReader(1);
        session->conduit()->addReader(2 + made, fresh.reader);
        fresh.tell(++made < 5 ? "65536;test.swap;0;1;0;1" : "65536;test.nowhere;0;1;0;1");
        session->conduit()->poll();
        return HandlerHandled;
    });
    Side side(true);
    Channel first = channel();
    side.addReader(1, first.reader);
    first.tell("65536;test.swap;0;1;0;1\n65536;test.nowhere;0;1;0;1");
    EXPECT_EQ(side.poll(), 1);
    EXPECT_EQ(side.totalConnections(), 6);
    QMXPipeReadEndpoint found;
    EXPECT_TRUE(!side.readerForKey(1, found) && side.readerForKey(6, found));
}

TEST_F(ConduitTest, SendsToOneWriterOrToAll) {
    Side side(false);
    QMXPipePacket packet("test.note", nullptr, QMXPipe::Asynchronous);
    EXPECT_EQ(side.send(packet, 0), SendDone) << "no writers";
    Channel channels[] = {channel(), channel()};
    side.addWriter(1, channels[0].writer);
    side.addWriter(2, channels[1].writer);
    EXPECT_TRUE(side.canWrite());
    EXPECT_EQ(side.send(packet, 0), SendDone);
    EXPECT_EQ(side.send(packet, 2), SendDone);
    std::string const line = "65536;test.note;1;1;0;1";
    EXPECT_EQ(text(channels[0].reader.read()), line);
    EXPECT_EQ(text(channels[1].reader.read()), line + "\n" + line);

    // Without a reader the write ends the process, except on the way to one writer, which leaves the signal
    // with its default disposition.
    channels[1].reader.close();
    auto const sendTo = [&](long writer) {
        QMXBase::setLogSink(nullptr, nullptr);
        signal(SIGPIPE, writer == 0 ? SIG_DFL : SIG_IGN);
        long const result = side.send(packet, writer);
        _exit(result == SendDone && signal(SIGPIPE, SIG_DFL) == SIG_DFL ? 42 : 1);
    };
    EXPECT_EXIT(sendTo(2), ::testing::ExitedWithCode(42), "");
    EXPECT_EXIT(sendTo(0), ::testing::KilledBySignal(SIGPIPE), "");
}

// Asks the other side for one level less, nested in the wait of the one above, over a session of its own.
long goDown(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket* response) {
    long const depth = request->attributeAsLong("depth");
    if (depth > 0) {
        QMXPipeSession* deeper = session->conduit()->newSession();
        QMXPipePacket question("test.down", nullptr, QMXPipe::Synchronous);
        question.setAttribute("depth", depth - 1);
        EXPECT_EQ(deeper->send(&question, response), SendDone);
        deeper->close(false);
        deeper->release();
    }
    response->setAttribute("depth", response->attributeAsLong("depth") + 1);
    return HandlerDone;
}

TEST_F(ConduitTest, TwoSidesTalkAndSayGoodbye) {
    Registered facility;
    facility.registerFunction("down", goDown);
    Side client(false);
    Side server(true, true); // internal
    Channel there = channel();
    Channel back = channel();
    client.addWriter(1, there.writer);
    server.addReader(1, there.reader);
    server.addWriter(1, back.writer);
    client.addReader(1, back.reader);
    auto const poll = [](void* other) -> void { static_cast<Side*>(other)->poll(); };
    client.setProcessEventsCallback(poll, &server);
    server.setProcessEventsCallback(poll, &client);
    QMXPipeSession* session = client.newSession();
    client.setDefaultSession(session);
    session->release();
    QMXPipePacket response;
    QMXPipePacket request("test.down", nullptr, QMXPipe::SynchronicityDefault);
    request.setAttribute("depth", 6L);
    EXPECT_EQ(client.send(request, response, 0), SendDone);
    EXPECT_EQ(response.attributeAsLong("depth"), 7);
    client.terminate(true);
    EXPECT_EQ(client.lastActiveSession(), nullptr);
    EXPECT_EQ(server.findSession(11), nullptr);
    EXPECT_NE(client.findSession(1), nullptr) << "the system session goes with the conduit";
    EXPECT_EQ(client.close(true, true, true), 0);
    EXPECT_EQ(client.send(request, response, 0), SendFailed) << "its session has no conduit any more";
}

// A client of a server that is gone: the other sessions say goodbye before the conduit does, and nobody
// answers.
TEST_F(ConduitTest, ClosesOtherSessionsFirst) {
    Side side(true);
    Channel out = channel();
    side.addWriter(5, out.writer);
    side.running = [] { return false; };
    QMXPipeSession* other = side.newSession();
    QMXPipeSession* standard = side.newSession();
    side.setDefaultSession(standard);
    side.setShouldCloseSessionInitiateOnClose(true);
    expectError("Error  QMX is unavailable");
    expectError("Error  QMX is unavailable");
    side.close(true, true, true);
    EXPECT_EQ(text(out.reader.read()), "65536;system.ssnTerm;0;10;0;2\n65536;system.cndTerm;0;11;0;2");
    for (QMXPipeSession* session : {other, standard}) {
        EXPECT_EQ(session->conduit(), nullptr);
        session->release();
    }
}

TEST_F(ConduitTest, HousekeepingClosesTheSessionsOfTheDead) {
    Child child([] { return ::pause(); });
    Side side(true);
    for (int const pid : {child.pid(), getpid(), 0}) {
        QMXPipeSession* session = side.newSession();
        session->setPartnerPID(pid);
        session->release();
    }
    side.poll();
    EXPECT_NE(side.findSession(10), nullptr);
    child.end();
    side.poll();
    EXPECT_EQ(side.findSession(10), nullptr);
    EXPECT_TRUE(side.findSession(11) != nullptr && side.findSession(12) != nullptr);
}

TEST_F(ConduitTest, CopiesShareSessionsAndAConduitMayGoFirst) {
    QMXPipeSession* kept = nullptr;
    QMXPipeSession* disconnected = nullptr; // in no table, and still open
    {
        Side source(true);
        source.addWriter(5, channel().writer);
        kept = source.newSession();
        disconnected = source.newSession();
        disconnected->disconnectClient(0);
        QMXPipeConduit copy(source);
        EXPECT_EQ(copy.activeConnections(), 1);
        Side assigned(false, true);
        assigned = source;
        EXPECT_EQ(assigned.findSession(10), kept);
        copy.init(true);
        EXPECT_EQ(copy.findSession(1)->conduit(), &copy);
    } // not closed: the sessions lose their conduit and say nothing
    EXPECT_EQ(disconnected->release(), 0);
    QMXPipePacket packet("test.note", nullptr, QMXPipe::Synchronous);
    EXPECT_EQ(kept->send(&packet), SendFailed);
    EXPECT_EQ(kept->release(), 0);
}

} // namespace
