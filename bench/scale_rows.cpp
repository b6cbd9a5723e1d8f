#include "rows.h"

#include "orbuutil/c_list.h"
#include "orbuutil/tstr.h"
#include "orbuutil/tstrList.h"
#include "qmx/qmxPipeEndpoint.h"
#include "qmx/qmxPipePacket.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <vector>

// Each is measured at n and at 2n: linear work doubles.

namespace {

void pendingLines(benchmark::State& state) {
    const long lines = state.range(0);
    int ends[2];
    if (pipe(ends) != 0 || fcntl(ends[1], F_SETPIPE_SZ, 1024 * 1024) < 0) {
        state.SkipWithError("no pipe that is large enough");
        return;
    }
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    std::string text;
    for (long line = 0; line < lines; ++line) {
        text += "a line with 30 characters here\n";
    }
    for (auto _ : state) {
        state.PauseTiming();
        if (write(ends[1], text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            state.SkipWithError("the pipe is too small");
            break;
        }
        state.ResumeTiming();
        QMXPipeReadEndpoint reader = QMXPipeReadEndpoint::fromFD(ends[0]);
        long taken = 0;
        while (reader.canReadLine()) {
            benchmark::DoNotOptimize(reader.readLine().handle());
            ++taken;
        }
        if (taken != lines) {
            state.SkipWithError("lines were lost");
        }
    }
    close(ends[0]);
    close(ends[1]);
}

void splitList(benchmark::State& state) {
    std::string text;
    for (long item = 0; item < state.range(0); ++item) {
        text += "item" + std::to_string(item) + ",";
    }
    const TStr source(text.c_str());
    const TStr comma(",");
    for (auto _ : state) {
        TList<TStr> items = stringSplit(source, comma);
        if (list_count(items.handle()) != state.range(0)) {
            state.SkipWithError("items were lost");
        }
    }
}

void largePacket(benchmark::State& state) {
    std::vector<TStr> names;
    for (long item = 0; item < state.range(0); ++item) {
        names.push_back(TStr("k") + TStr::number(item));
    }
    for (auto _ : state) {
        QMXPipePacket packet("orbu.Table", nullptr, QMXPipe::Synchronous);
        for (const TStr& name : names) {
            packet.setAttribute(name, TStr("value"));
        }
        QMXPipePacket received;
        received.unmarshal(packet.marshal(true));
        benchmark::DoNotOptimize(received.sessionId());
    }
}

} // namespace

void registerScaleRows() {
    benchmark::RegisterBenchmark("pending", pendingLines)
        ->Arg(10000)
        ->Arg(20000)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("split", splitList)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("attributes", largePacket)
        ->Arg(1000)
        ->Arg(2000)
        ->Unit(benchmark::kMillisecond);
}
