// A host that times its work. Each piece of it leaves a START and an END in the performance log, when that is
// on (ORBU_PERF_LOG); see what they show with `orbu perf`.
//
// usage: timed_host [ROUNDS]          1 if it is left out
#include "runtime.h"

#include "orbuint/orbuintSingletonOrder.h"
#include "orbulog/orbuPerfLog.h"
#include "orbulog/orbuPerfLogger.h"
#include "orbuutil/orbuSettings.h"
#include "orbuutil/orbuUtil.h"
#include "qmx/qmxPipeNamedConduit.h"
#include "qmx/qmxPipePacket.h"

#include <cstdio>
#include <cstdlib>

namespace {

// One entry at either end of a scope.
class Span {
public:
    Span(Orbu::VendorID vendor, char const* name) : mVendor(vendor), mName(name) { write(".START"); }
    ~Span() { write(".END"); }

private:
    void write(char const* end) const {
        OrbuPerfLogger logger;
        logger.startLoggingWMilliSecs();
        OrbuPerfLogData data;
        data.event = TStr(mName) + end;
        logger.log(OrbuPerfLog(mVendor, data));
    }

    Orbu::VendorID mVendor;
    char const* mName;
};

void countRounds() {
    Span const span(Orbu::VendorOrbuRT, "Settings");
    TStr const file =
        OrbuUtil::getOrbuFileLocation(OrbuUtil::UserSettings, TStr::null) + "OrbuUserSettings.xml";
    OrbuSettings settings(false);
    settings.open(file, false);
    TStr count("0");
    settings.getData("timed host", "rounds", count);
    settings.setData("timed host", "rounds", TStr::number(count.toInt() + 1));
    settings.save(file);
}

bool askCompanion() {
    Span const span(Orbu::VendorOrbuQMX, "Conversation");
    TStr const server =
        OrbuUtil::getOrbuFileLocation(OrbuUtil::CommonBin, TStr::null) + "QMX.app/Contents/MacOS/QMX";
    QMXPipeNamedConduit* conduit = nullptr;
    {
        Span const connecting(Orbu::VendorOrbuQMX, "Connect");
        conduit = QMXPipeNamedConduit::connect(server, QMXPipeNamedConduit::defaultPipePrefix("QMX"), 100000);
    }
    if (conduit == nullptr) {
        return false;
    }
    long result = 0;
    {
        Span const asking(Orbu::VendorOrbuQMX, "Request");
        QMXPipePacket request("system.listLocales", nullptr, QMXPipe::Synchronous);
        QMXPipePacket response(QMXPipe::SynchronicityDefault);
        result = conduit->send(&request, &response, 0);
    }
    conduit->terminate(true);
    delete conduit;
    return result == SendDone;
}

} // namespace

int main(int argc, char** argv) {
    useRuntimeOfLibrary();
    COrbuIntSingletonOrder const order;
    int const rounds = argc > 1 ? std::atoi(argv[1]) : 1;
    for (int round = 0; round < rounds; ++round) {
        Span const span(Orbu::VendorOrbuInt, "Round");
        countRounds();
        if (!askCompanion()) {
            std::fprintf(stderr, "timed_host: no answer from the companion\n");
            return 1;
        }
    }
    return 0;
}
