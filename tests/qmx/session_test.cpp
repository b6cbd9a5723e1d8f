#include "transport.h"

#include <sys/prctl.h>

namespace {

class SessionTest : public TransportTest {
protected:
    SessionTest() {
        mSide.addReader(0, mIn.reader);
        mSide.addWriter(5, mOut.writer);
    }
    ~SessionTest() override {
        mSession->close(false);
        mSession->release();
    }

    // A line for the session.
    std::string line(std::string const& name) { return "65536;" + name + ";10;7;0;2"; }

    Side mSide{true};
    Channel mIn = channel();
    Channel mOut = channel();
    QMXPipeSession* mSession = mSide.newSession();
    QMXPipePacket mResponse;
};

// What happens in the third round of a wait, and what the wait then gives.
TEST_F(SessionTest, WaitEnds) {
    static std::function<void()> event;
    static int rounds;
    struct {
        char const* name;
        std::function<void()> event;
        long result;
        bool logged = false;
    } const cases[] = {
        {"the reply comes", [&] { mIn.tell(line("test.RESP")); }, SendDone},
        {"any packet is the reply", [&] { mIn.tell(line("system.ssnTerm")); }, SendDone},
        {"it is cancelled", [&] { mSession->cancelWait(); }, SendFailed},
        {"the server is gone", [&] { mSide.running = [] { return false; }; }, SendUnavailable, true},
        {"the session is closed", [&] { mSession->close(false); }, SendFailed},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.name);
        mSide.running = [] { return true; };
        if (each.logged) {
            expectError("Error  QMX is unavailable");
        }
        event = each.event;
        rounds = 0;
        mSide.setProcessEventsCallback(
            [](void*) {
                EXPECT_EQ(prctl(PR_GET_TIMERSLACK), 1) << "sleeps are exact";
                ++rounds == 3 ? event() : void();
            },
            nullptr);
        QMXPipePacket packet("test.question", nullptr, QMXPipe::Synchronous);
        std::string const partner = std::to_string(mSession->partnerId());
        EXPECT_EQ(mSession->send(&packet, &mResponse), each.result);
        EXPECT_EQ(rounds, 3);
        EXPECT_NE(prctl(PR_GET_TIMERSLACK), 1);
        EXPECT_EQ(mOut.heard(), "65536;test.question;" + partner + ";10;0;2");
    }
    EXPECT_EQ(mSession->waitForPacket(&mResponse, 100), SendFailed) << "it does not wait";
}

TEST_F(SessionTest, SlotHoldsWhatNobodyWaitedFor) {
    QMXPipePacket packet("test.question", nullptr, QMXPipe::Synchronous);
    packet.setSessionId(10);
    expectError("Error  Attempt to write to unknown writer 9");
    EXPECT_EQ(mSide.send(packet, mResponse, 9), SendFailed);
    mSession->setCallback([](QMXPipeSession*, QMXPipePacket*) -> long {
        ADD_FAILURE() << "a packet for the slot is nobody else's";
        return 0;
    });
    converse(mSide, mIn, mOut, {"> " + line("system.listLocales")});
    EXPECT_EQ(mSession->waitForPacket(&mResponse, 100), SendDone);
    EXPECT_EQ(text(mResponse.facilityAndCode()), "system.listLocales");
}

TEST_F(SessionTest, CallbackLooksFirst) {
    mSession->setCallback([](QMXPipeSession* session, QMXPipePacket* packet) -> long {
        if (packet->code() == "bye") {
            session->close(false);
        }
        return packet->code() == "stop" ? 0 : 3;
    });
    converse(mSide, mIn, mOut, {"> " + line("system.stop"), "> " + line("none.bye")});
    EXPECT_EQ(mSession->conduit(), nullptr);

    QMXPipeSession* unkept = mSide.newSession();
    unkept->setCallback(mSession->callback());
    unkept->release();
    QMXPipePacket packet("none.bye", nullptr, QMXPipe::Synchronous);
    EXPECT_EQ(unkept->process(&packet), 0) << "the last reference goes while it is processed";
}

// A session that nobody closed says goodbye when its last reference goes, once.
TEST_F(SessionTest, DestructionClosesOnce) {
    mSide.running = [] { return false; };
    expectError("Error  QMX is unavailable");
    auto* loose = new QMXPipeSession(&mSide, 50, 51, QMXPipe::SynchronicityDefault);
    EXPECT_EQ(loose->release(), 0);
    EXPECT_EQ(text(mOut.reader.read()), "65536;system.ssnTerm;1;1;0;2");
}

TEST_F(SessionTest, WithoutSystemFacilityTheProcessEnds) {
    QMXPipePacket packet("nowhere.code", nullptr, QMXPipe::Asynchronous);
    auto const process = [&] {
        QMXPipeConduit::unregisterFacility("system");
        mSession->process(&packet);
    };
    EXPECT_EXIT(process(), ::testing::ExitedWithCode(0), "");
}

} // namespace
