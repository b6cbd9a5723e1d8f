#include "rows.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv) {
    registerPacketRows();
    registerTextRows();
    registerUnicodeRows();
    registerTableRows();
    registerScaleRows();
    registerTransportRows();
    registerLoadRows();
    registerEnvelopeRows();
    registerLogRows();
    registerSettingsRows();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
