#include "rows.h"

#include "orbuutil/tstr.h"
#include "qmx/qmxMarshal.h"

#include <benchmark/benchmark.h>

#ifdef ORBU_PEER_GLIB
#include <glib.h>
#endif

namespace {

void marshalRows(const std::string& size, unsigned long bytes) {
    const std::string text = sampleText("sentence", bytes);
    benchmark::RegisterBenchmark(("marshalString/" + size + "/ours").c_str(),
                                 [text](benchmark::State& state) {
                                     const TStr source(text.c_str());
                                     for (auto _ : state) {
                                         TStr escaped = marshalString(source);
                                         benchmark::DoNotOptimize(escaped.handle());
                                     }
                                 });
    benchmark::RegisterBenchmark(("unmarshalString/" + size + "/ours").c_str(),
                                 [text](benchmark::State& state) {
                                     const TStr escaped = marshalString(TStr(text.c_str()));
                                     for (auto _ : state) {
                                         TStr plain = unmarshalString(escaped);
                                         benchmark::DoNotOptimize(plain.handle());
                                     }
                                 });
#ifdef ORBU_PEER_GLIB
    benchmark::RegisterBenchmark(("marshalString/" + size + "/glib").c_str(),
                                 [text](benchmark::State& state) {
                                     for (auto _ : state) {
                                         char* escaped = g_uri_escape_string(text.c_str(), nullptr, FALSE);
                                         benchmark::DoNotOptimize(escaped);
                                         g_free(escaped);
                                     }
                                 });
    benchmark::RegisterBenchmark(("unmarshalString/" + size + "/glib").c_str(),
                                 [text](benchmark::State& state) {
                                     char* escaped = g_uri_escape_string(text.c_str(), nullptr, FALSE);
                                     for (auto _ : state) {
                                         char* plain = g_uri_unescape_string(escaped, nullptr);
                                         benchmark::DoNotOptimize(plain);
                                         g_free(plain);
                                     }
                                     g_free(escaped);
                                 });
#endif
}

} // namespace

void registerTextRows() {
    marshalRows("64", 64);
    marshalRows("64k", 64 * 1024);

    benchmark::RegisterBenchmark("arg/ours", [](benchmark::State& state) {
        const TStr format("%1: cannot open %2 (error %3)");
        const TStr program("orbu");
        const TStr file("/var/tmp/QMX4242/.serverpid");
        for (auto _ : state) {
            TStr work(format);
            TStr filled = work.arg(program).arg(file).arg(4242L);
            benchmark::DoNotOptimize(filled.handle());
        }
    });
#ifdef ORBU_PEER_GLIB
    benchmark::RegisterBenchmark("arg/glib", [](benchmark::State& state) {
        const char* program = "orbu";
        const char* file = "/var/tmp/QMX4242/.serverpid";
        for (auto _ : state) {
            benchmark::DoNotOptimize(program);
            benchmark::DoNotOptimize(file);
            char* filled = g_strdup_printf("%s: cannot open %s (error %ld)", program, file, 4242L);
            benchmark::DoNotOptimize(filled);
            g_free(filled);
        }
    });
#endif
}
