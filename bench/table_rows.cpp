#include "rows.h"

#include "orbuutil/tstr.h"
#include "qmx/qmxDictionary.h"

#include <benchmark/benchmark.h>

#ifdef ORBU_PEER_GLIB
#include <glib.h>
#endif

namespace {

const char* const keys[16] = {"selector", "locale",  "caption", "text",    "detail", "button1",
                              "button2",  "button3", "default", "timeout", "icon",   "parent",
                              "width",    "height",  "RCOD",    "MTHN"};

} // namespace

void registerTableRows() {
    benchmark::RegisterBenchmark("dictionary16/ours", [](benchmark::State& state) {
        QMXDictionary dictionary;
        TStr names[16];
        for (int i = 0; i < 16; ++i) {
            names[i] = keys[i];
            dictionary.set(names[i], static_cast<long>(i));
        }
        unsigned next = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(dictionary.getLong(names[next++ % 16]));
        }
    });
#ifdef ORBU_PEER_GLIB
    benchmark::RegisterBenchmark("dictionary16/glib", [](benchmark::State& state) {
        GHashTable* table = g_hash_table_new(g_str_hash, g_str_equal);
        for (long i = 0; i < 16; ++i) {
            g_hash_table_insert(table, g_strdup(keys[i]), GSIZE_TO_POINTER(static_cast<gsize>(i)));
        }
        unsigned next = 0;
        for (auto _ : state) {
            benchmark::DoNotOptimize(g_hash_table_lookup(table, keys[next++ % 16]));
        }
        g_hash_table_destroy(table);
    });
#endif
}
