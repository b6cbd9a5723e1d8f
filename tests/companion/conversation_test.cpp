// How dialogs are answered, and that they do not wait for one another.
#include <csignal>
#include <unistd.h>

#include <gmock/gmock.h>

#include "support/processes.h"

using testing::HasSubstr;

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
    writeFile(rules, "caption=stuck never\nafter=20ms");
    RawPeer peer(prefix(), peerProcess_.pid(), 0);
    peer.send("65536;system.cndCnct;0;1;0;2;CPID=d" + std::to_string(peerProcess_.pid()) + "\n");
    std::string const ids = ";" + field(peer.receive(), 3) + ";1;0;2;";
    peer.send("65536;qmx.MessageBox" + ids + "caption=hstuck\n65536;qmx.MessageBox" + ids +
              "focus_button_index=d5\n" + "65536;qmx.MessageBox" + ids + "focus_button_index=d6\n");
    std::string const answers = peer.receive() + peer.receive();
    EXPECT_THAT(answers, HasSubstr("button=d5"));
    EXPECT_THAT(answers, HasSubstr("button=d6"));
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
