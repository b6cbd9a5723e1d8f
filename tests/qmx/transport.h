// What the transport's tests share: channels over pipes, a conduit whose hooks a test can turn, conversations
// as lines, and a watch on the log.
#pragma once

#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

#include "qmx/qmxPipeConduit.h"
#include "qmx/qmxPipeEndpoint.h"
#include "qmx/qmxPipeFacility.h"
#include "qmx/qmxPipeFile.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxPipeSession.h"
#include "support/model.h"

inline std::string text(TStr const& s) { return s.isNull() ? std::string() : std::string(s.toUtf8()); }

// One direction of a conversation. Copies share its ends; what has come in waits at the copy that took it.
struct Channel {
    void tell(std::string const& line) { writer.write(TStr((line + "\n").c_str())); }
    std::string heard() { return text(reader.readLine()); }

    QMXPipeReadEndpoint reader;
    QMXPipeWriteEndpoint writer;
};

// A conduit that a test steers, and that ends with its scope.
class Side : public QMXPipeConduit {
public:
    explicit Side(bool server, bool internal = false)
        : QMXPipeConduit(server, QMXPipe::Synchronous, internal) {}
    ~Side() override { close(false, true, true); }

    bool isServerRunning() override { return running(); }
    // A client that connects is reached through `reply`.
    bool setupWriter(int index) override {
        addWriter(index, reply);
        return true;
    }

    std::function<bool()> running = [] { return true; };
    QMXPipeWriteEndpoint reply;
};

// Every line that is logged as an error must have been expected.
class TransportTest : public ::testing::Test {
public:
    TransportTest() { QMXPipeConduit::sLastSessionId = 10; }
    ~TransportTest() override {
        EXPECT_EQ(mReports.take(), mExpected) << "logged errors";
        for (Channel& channel : mChannels) {
            channel.reader.close();
            channel.writer.close();
        }
    }

    void expectError(std::string const& message) { mExpected.push_back(message); }

    // A new channel; both ends are closed after the test.
    Channel channel() {
        TList<QMXPipeIODevice*> pair = createPipeDevicePair();
        QMXPipeReadEndpoint const reader(pair.front());
        pair.removeFirst();
        mChannels.push_back({reader, QMXPipeWriteEndpoint(pair.front())});
        return mChannels.back();
    }

private:
    Reports mReports;
    Texts mExpected;
    std::vector<Channel> mChannels;
};

// Plays the partner of a conduit: "> line" goes to the conduit, which polls; "< line" has to be what it says
// next. At the end it has nothing more to say.
inline void converse(QMXPipeConduit& side, Channel& toSide, Channel& fromSide,
                     std::vector<std::string> const& script) {
    for (std::string const& step : script) {
        if (step[0] == '>') {
            toSide.tell(step.substr(2));
            side.poll();
        } else {
            EXPECT_EQ(fromSide.heard(), step.substr(2));
        }
    }
    EXPECT_EQ(fromSide.heard(), "");
}

// The facility "test" for the length of a scope.
struct Registered : QMXPipeFacility {
    Registered() { QMXPipeConduit::registerFacility(this, "test"); }
    ~Registered() override { QMXPipeConduit::unregisterFacility("test"); }
};
