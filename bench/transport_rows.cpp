#include "rows.h"

#include "process.h"

#include "orbuutil/tstr.h"
#include "qmx/qmxPipeNamedConduit.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxPipeSession.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <utility>

#ifdef ORBU_PEER_SDBUS
#include <systemd/sd-bus.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

// What is compared is measured in turns of this length, so that a machine that is busy in between is as busy
// for all.
constexpr int kTurns = 21;
constexpr int kCallsPerTurn = 60;

// One way of asking and being answered. The medians of its turns are what counts.
class Contender {
public:
    Contender(std::string name, pid_t server, std::function<bool()> call)
        : mName(std::move(name)), mServer(server), mCall(std::move(call)) {}

    bool turn() {
        std::vector<double> times;
        const double cpuBefore = cpuSeconds(0) + cpuSeconds(mServer);
        for (int i = 0; i < kCallsPerTurn; ++i) {
            const auto start = Clock::now();
            if (!mCall()) {
                return false;
            }
            times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
        }
        mCpu.push_back((cpuSeconds(0) + cpuSeconds(mServer) - cpuBefore) * 1e6 / kCallsPerTurn);
        mTimes.push_back(median(times));
        return true;
    }

    void report(benchmark::State& state) const {
        state.counters[mName + "_us"] = median(mTimes);
        state.counters[mName + "_cpu_us"] = median(mCpu);
    }

private:
    std::string mName;
    pid_t mServer;
    std::function<bool()> mCall;
    std::vector<double> mTimes;
    std::vector<double> mCpu;
};

// The thread's sleeps end as exactly as they can; put back afterwards.
class ExactSleeps {
public:
    ExactSleeps() : mSlack(prctl(PR_GET_TIMERSLACK)) { prctl(PR_SET_TIMERSLACK, 1UL); }
    ExactSleeps(const ExactSleeps&) = delete;
    ExactSleeps& operator=(const ExactSleeps&) = delete;
    ~ExactSleeps() { prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(mSlack)); }

private:
    int mSlack;
};

// A companion on a prefix of its own, and a client of it.
class Companion {
public:
    Companion() {
        mConduit = connect();
        std::ifstream(mDirectory.path() + "/bench/.serverpid") >> mServer;
    }
    Companion(const Companion&) = delete;
    Companion& operator=(const Companion&) = delete;
    ~Companion() {
        delete mConduit;
        if (mServer > 0) {
            kill(mServer, SIGTERM);
            while (kill(mServer, 0) == 0) {
                usleep(1000);
            }
        }
    }

    // A new client.
    QMXPipeNamedConduit* connect() const {
        return QMXPipeNamedConduit::connect(ORBU_BENCH_SERVER, TStr((mDirectory.path() + "/bench").c_str()),
                                            100000);
    }

    bool works() const { return mConduit != nullptr && mServer > 0; }
    pid_t server() const { return mServer; }
    QMXPipeNamedConduit* conduit() const { return mConduit; }

private:
    TemporaryDirectory mDirectory;
    QMXPipeNamedConduit* mConduit = nullptr;
    pid_t mServer = 0;
};

bool askCompanion(QMXPipeNamedConduit* conduit) {
    QMXPipePacket request("system.listFacilities", nullptr, QMXPipe::Synchronous);
    request.setAttribute("selector", TStr("bench"));
    request.setAttribute("locale", TStr("en_GB"));
    QMXPipePacket response;
    return conduit->defaultSession()->send(&request, &response) == SendDone && response.hasAttribute("FLST");
}

// The least that two FIFOs and the same sleeps cost: a server that waits for a line and sends it back, and a
// client that writes, then reads and sleeps until there was an answer.
class BareFifos {
public:
    BareFifos()
        : mThere(fifo("/0")),
          mBack(fifo("/1")),
          mServer([this] { serve(); }),
          mOut(open(mThere.c_str(), O_RDWR)),
          mIn(open(mBack.c_str(), O_RDWR | O_NONBLOCK)) {}
    BareFifos(const BareFifos&) = delete;
    BareFifos& operator=(const BareFifos&) = delete;
    ~BareFifos() {
        close(mIn);
        close(mOut);
    }

    pid_t server() const { return mServer.pid(); }

    bool ask() const {
        const char request[] =
            "65536;system.listFacilities;0;11;0;2;CPID=d12345;locale=hen_GB;selector=hbench\n";
        if (write(mOut, request, sizeof request - 1) < 0) {
            return false;
        }
        char line[4096];
        ssize_t bytes = 0;
        do {
            bytes = read(mIn, line, sizeof line);
            usleep(100);
        } while (bytes <= 0);
        return true;
    }

private:
    std::string fifo(const char* name) const {
        std::string path = mDirectory.path() + name;
        mkfifo(path.c_str(), 0700);
        return path;
    }

    void serve() const {
        const int in = open(mThere.c_str(), O_RDWR);
        const int out = open(mBack.c_str(), O_RDWR);
        char line[4096];
        for (;;) {
            pollfd ready = {in, POLLIN, 0};
            poll(&ready, 1, -1);
            const ssize_t bytes = read(in, line, sizeof line);
            if (bytes <= 0 || write(out, line, static_cast<size_t>(bytes)) != bytes) {
                return;
            }
        }
    }

    TemporaryDirectory mDirectory;
    std::string mThere;
    std::string mBack;
    Child mServer;
    int mOut;
    int mIn;
};

#ifdef ORBU_PEER_SDBUS
int answer(sd_bus_message* request, void*, sd_bus_error*) {
    const char* selector = nullptr;
    const char* locale = nullptr;
    sd_bus_message* reply = nullptr;
    if (sd_bus_message_read(request, "ss", &selector, &locale) < 0 ||
        sd_bus_message_new_method_return(request, &reply) < 0) {
        return -1;
    }
    sd_bus_message_append(reply, "as", 2, "orbu", "qmx");
    const int result = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return result < 0 ? result : 1;
}

void sdbusServer(int fd) {
    sd_bus* bus = nullptr;
    sd_id128_t id;
    sd_id128_randomize(&id);
    if (sd_bus_new(&bus) < 0 || sd_bus_set_fd(bus, fd, fd) < 0 || sd_bus_set_server(bus, 1, id) < 0 ||
        sd_bus_set_anonymous(bus, 1) < 0 || sd_bus_start(bus) < 0 ||
        sd_bus_add_object(bus, nullptr, "/bench", answer, nullptr) < 0) {
        return;
    }
    for (;;) {
        const int done = sd_bus_process(bus, nullptr);
        if (done < 0 || (done == 0 && sd_bus_wait(bus, UINT64_MAX) < 0)) {
            return;
        }
    }
}

// A bus between two processes over a socket pair.
class DirectBus {
public:
    DirectBus()
        : mServer([this] {
              close(mEnds.fd[0]);
              sdbusServer(mEnds.fd[1]);
          }) {
        close(mEnds.fd[1]);
        mWorks = sd_bus_new(&mBus) >= 0 && sd_bus_set_fd(mBus, mEnds.fd[0], mEnds.fd[0]) >= 0 &&
                 sd_bus_set_anonymous(mBus, 1) >= 0 && sd_bus_start(mBus) >= 0;
    }
    DirectBus(const DirectBus&) = delete;
    DirectBus& operator=(const DirectBus&) = delete;
    ~DirectBus() { sd_bus_flush_close_unref(mBus); }

    pid_t server() const { return mServer.pid(); }

    bool ask() {
        sd_bus_message* reply = nullptr;
        sd_bus_error error = SD_BUS_ERROR_NULL;
        if (!mWorks || sd_bus_call_method(mBus, nullptr, "/bench", "org.bench.Bench", "ListFacilities",
                                          &error, &reply, "ss", "bench", "en_GB") < 0) {
            return false;
        }
        char** items = nullptr;
        const bool read = sd_bus_message_read_strv(reply, &items) >= 0 && items != nullptr;
        for (char** item = items; item != nullptr && *item != nullptr; ++item) {
            std::free(*item);
        }
        std::free(items);
        sd_bus_message_unref(reply);
        return read;
    }

private:
    struct Ends {
        Ends() {
            if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fd) != 0) {
                throw std::runtime_error("no socket pair");
            }
        }
        int fd[2];
    };

    Ends mEnds;
    Child mServer;
    sd_bus* mBus = nullptr;
    bool mWorks = false;
};
#endif

void requests(benchmark::State& state) {
    Companion companion;
    if (!companion.works()) {
        state.SkipWithError("the companion does not start");
        return;
    }
    BareFifos fifos;
    std::vector<Contender> contenders;
    contenders.emplace_back("ours", companion.server(), [&] { return askCompanion(companion.conduit()); });
    contenders.emplace_back("bare", fifos.server(), [&] {
        const ExactSleeps exact;
        return fifos.ask();
    });
    contenders.emplace_back("inexact", fifos.server(), [&] { return fifos.ask(); });
    // What the two sleeps of a call cost by themselves.
    contenders.emplace_back("sleeps", fifos.server(), [] {
        const ExactSleeps exact;
        usleep(100);
        usleep(100);
        return true;
    });
#ifdef ORBU_PEER_SDBUS
    DirectBus bus;
    contenders.emplace_back("sdbus", bus.server(), [&] { return bus.ask(); });
#endif
    for (auto _ : state) {
        for (int turn = 0; turn < kTurns; ++turn) {
            for (Contender& contender : contenders) {
                if (!contender.turn()) {
                    state.SkipWithError("a call failed");
                    return;
                }
            }
        }
    }
    for (const Contender& contender : contenders) {
        contender.report(state);
    }
}

// A client that waits for an answer that does not come, and a loop of bare sleeps, both at once. The first
// seconds, in which a wait sleeps more exactly, do not count.
void waiting(benchmark::State& state) {
    const Companion companion;
    if (!companion.works()) {
        state.SkipWithError("the companion does not start");
        return;
    }
    const Child client([&] {
        QMXPipeNamedConduit* const conduit = companion.connect();
        if (conduit == nullptr) {
            return;
        }
        QMXPipePacket response;
        conduit->defaultSession()->prepareToWaitForPacket();
        conduit->defaultSession()->waitForPacket(&response, 100);
    });
    const Child sleeper([] {
        for (;;) {
            usleep(100);
        }
    });
    for (auto _ : state) {
        usleep(2000000);
        const auto start = Clock::now();
        const double client0 = cpuSeconds(client.pid());
        const double sleeper0 = cpuSeconds(sleeper.pid());
        usleep(8000000);
        const double client1 = cpuSeconds(client.pid());
        const double sleeper1 = cpuSeconds(sleeper.pid());
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.counters["ours_percent"] = (client1 - client0) / seconds * 100;
        state.counters["bare_percent"] = (sleeper1 - sleeper0) / seconds * 100;
    }
}

// A companion with a client that asks nothing.
void idleCompanion(benchmark::State& state) {
    Companion companion;
    if (!companion.works()) {
        state.SkipWithError("the companion does not start");
        return;
    }
    for (auto _ : state) {
        const auto start = Clock::now();
        const double before = cpuSeconds(companion.server());
        usleep(4000000);
        state.counters["cpu_percent"] = (cpuSeconds(companion.server()) - before) /
                                        std::chrono::duration<double>(Clock::now() - start).count() * 100;
    }
}

} // namespace

void registerTransportRows() {
    benchmark::RegisterBenchmark("request", requests)->Iterations(1);
    benchmark::RegisterBenchmark("waiting", waiting)->Iterations(1);
    benchmark::RegisterBenchmark("idle", idleCompanion)->Iterations(1);
}
