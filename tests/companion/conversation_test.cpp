// What the server answers, line by line, to a peer that has nothing but the FIFOs.
#include <csignal>
#include <unistd.h>

#include <gmock/gmock.h>

#include "support/processes.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

class ConversationTest : public ProcessTest {
protected:
    void SetUp() override {
        ProcessTest::SetUp();
        client_ = connect();
        ASSERT_TRUE(client_);
    }
    void TearDown() override {
        client_.reset();
        peerProcess_.end();
        ProcessTest::TearDown();
    }

    // A live process of another id, since the peer's FIFO bears it.
    Child peerProcess_{[] { return ::pause(); }};
    Client client_;
};

std::string field(std::string const& line, int index) {
    size_t start = 0;
    for (int i = 0; i < index; ++i) {
        start = line.find(';', start) + 1;
    }
    return line.substr(start, line.find(';', start) - start);
}

// The next answer to that request; answers to others, and to lines that were none, are read over.
std::string answerOf(RawPeer& peer, std::string const& code) {
    for (;;) {
        std::string const line = peer.receive();
        if (line.empty() || (line + ";").find(";RCOD=h" + code + ";") != std::string::npos) {
            return line;
        }
    }
}

TEST_F(ConversationTest, RawPeer) {
    RawPeer peer(prefix(), peerProcess_.pid(), 0);
    std::string const server = std::to_string(serverPid());

    peer.send("65536;system.cndCnct;0;4711;0;2;CPID=d" + std::to_string(peerProcess_.pid()) + "\n");
    std::string const hello = peer.receive();
    EXPECT_THAT(hello, MatchesRegex("65536;system\\.RESP;4711;[0-9]+;0;1;.*"));
    std::string const session = field(hello, 3);
    for (std::string const& attribute :
         {std::string("RCOD=hcndCnct"), std::string("RSCD=d0"), "CPID=d" + server, "SSID=d" + session}) {
        EXPECT_THAT(hello + ";", HasSubstr(";" + attribute + ";"));
    }

    // Each line, the request that its answer names, and what the answer has to hold; null: there is none, and
    // the next line is served.
    std::string const ids = ";" + session + ";4711;0;";
    std::string const again = "65536;system.listFacilities" + ids + "2";
    struct {
        std::string line;
        char const* code;
        char const* attribute;
    } const conversation[] = {
        {"65536;system.cndCnct" + ids + "2;CPID=d1", nullptr, ""},
        {again, "listFacilities", ";FLST=j!232!3aqmx!2corbu;"},
        {"65536;orbu.index" + ids + "2", "index", ";MLST="},
        {"65536;orbu.noSuchCode" + ids + "2", nullptr, ""},
        {"65536;orbu.PleaseWaitDialog" + ids + "1;waiting=hTrue", nullptr, ""},
        {"65536;orbu.ErrorDialog" + ids + "1;caption=hasynchronous", nullptr, ""},
        {"65536;orbu.PleaseWaitDialog" + ids + "2;waiting=hFalse", "PleaseWaitDialog", ";RSCD=d0;"},
        {"65536;orbu.ErrorDialog" + ids + "2;title=hDisk!20full", "ErrorDialog", ";RSCD=d0;"},
        {"65536;qmx.MessageBox" + ids + "2;button_0=hA;focus_button_index=d1", "MessageBox",
         ";selected_button=d1;"},
        {"\n\n", nullptr, ""},
        {"65537;system.listFacilities" + ids + "2", nullptr, ""},
        {std::string("\xff\xfe\x01;;;=\xc3", 8), nullptr, ""},
        {"65536;orbu.PleaseWaitDialog" + ids + "2;" + std::string(20000, 'x'), nullptr, ""},
        {again, "listFacilities", ""},
    };
    for (auto const& step : conversation) {
        peer.send(step.line + "\n");
        if (step.code != nullptr) {
            std::string const answer = answerOf(peer, step.code);
            EXPECT_THAT(answer, StartsWith("65536;")) << step.line;
            EXPECT_THAT(answer, HasSubstr(";4711;" + session + ";0;1;")) << step.line;
            EXPECT_THAT(answer + ";", HasSubstr(step.attribute)) << step.line;
        }
    }

    // A half line is a line: its rest is another one, and the line after that is served.
    peer.send("65536;system.listFac");
    ASSERT_TRUE(eventually([&] { return serverLog("Packet Unmarshalling:65536;system.listFac\n"); }));
    peer.send("ilities;9;9;0;2\n65536;system.cndTerm" + ids + "2\n");
    EXPECT_THAT(answerOf(peer, "cndTerm"), Not(IsEmpty()));
    // The session is gone: a packet for it opens a new one, which has no writer of its own.
    EXPECT_EQ(peer.receive(std::chrono::milliseconds(20)), "");
}

// The dialogs through the library, with the presenter told how to answer.
TEST_F(ConversationTest, AnswersAsItIsTold) {
    std::string const rules = directory() + "/answers";
    struct {
        char const* rule;
        char const* request;
        long button;
    } const cases[] = {
        {"", "qmx.MessageBox", 1},
        {"for=ErrorDialog never\nfor=MessageBox after=20ms button=7", "qmx.MessageBox", 7},
        {"for=ErrorDialog after=20ms button=0", "orbu.ErrorDialog", 0},
        {"nonsense=1; button=3", "qmx.MessageBox", 3},
    };
    client_.reset();
    ASSERT_TRUE(signalServer(SIGTERM));
    ASSERT_TRUE(eventually([&] { return !fileExists(prefix()); }));
    setVariable("ORBU_QMX_ANSWERS_FILE", rules);
    client_ = connect();
    ASSERT_TRUE(client_);
    for (auto const& step : cases) {
        writeFile(rules, step.rule);
        QMXPipePacket response;
        EXPECT_EQ(call(*client_, step.request, response, 1), SendDone) << step.rule;
        EXPECT_EQ(response.attributeAsLong("selected_button"), step.button) << step.rule;
        EXPECT_TRUE(response.hasLongAttribute("RSCD")) << step.rule;
    }

    // Dialogs do not wait for one another: one that is never answered stands open while others come and go,
    // and goes with its client.
    writeFile(rules, "caption=stuck never\nafter=300ms");
    RawPeer peer(prefix(), peerProcess_.pid(), 0);
    peer.send("65536;system.cndCnct;0;1;0;2;CPID=d" + std::to_string(peerProcess_.pid()) + "\n");
    std::string const ids = ";" + field(peer.receive(), 3) + ";1;0;2;";
    peer.send("65536;qmx.MessageBox" + ids + "caption=hstuck\n65536;qmx.MessageBox" + ids +
              "focus_button_index=d5\n" + "65536;qmx.MessageBox" + ids + "focus_button_index=d6\n");
    auto const begin = std::chrono::steady_clock::now();
    EXPECT_THAT(peer.receive() + peer.receive(),
                testing::AllOf(HasSubstr("button=d5"), HasSubstr("button=d6")));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(590))
        << "one after the other";
    peerProcess_.kill(SIGKILL);
    QMXPipePacket response;
    EXPECT_EQ(call(*client_, "system.listLocales", response), SendDone);

    // A server that dies under an open dialog ends the wait.
    writeFile(rules, "exit=9");
    expectError("QMX is unavailable");
    EXPECT_EQ(call(*client_, "orbu.ErrorDialog", response), SendUnavailable);
    expectRemains();
}

} // namespace
