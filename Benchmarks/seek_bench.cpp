// Seeking in a recording of ten hours while it plays: from the request to the first sample of the new place.
#include "Platform/Kernel/Event.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/playback_graph.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

using namespace mediakit_tool;

namespace {

/// Tells of the first sample after a seek.
class FirstSampleWatch final : public SampleConsumer {
public:
    HRESULT Take(IMediaSample& sample) override {
        if (sample.IsDiscontinuity() == S_OK) arrived.Set();
        return S_OK;
    }
    CAMEvent arrived;
};

void SeekInTenHours(benchmark::State& state) {
    const char* const file = std::getenv("MEDIAKIT_BENCH_FILE");
    if (file == nullptr) return state.SkipWithError("MEDIAKIT_BENCH_FILE names no recording; use run.sh");
    Messages messages(true);
    LogWatch log(messages, 0);
    PlaybackGraph graph(log);
    FirstSampleWatch watch;
    if (!graph.Open(file, {}) || !graph.ConnectTap(graph.Streams().front(), watch) || !graph.Run())
        return state.SkipWithError(graph.Failure().c_str());
    watch.arrived.Wait();

    const REFERENCE_TIME duration = graph.Duration().value_or(0);
    std::uint32_t random = 1;
    for (auto _ : state) {
        random = random * 1664525 + 1013904223;  // Numerical Recipes' generator
        watch.arrived.Reset();
        graph.Seek(static_cast<REFERENCE_TIME>(static_cast<double>(duration) * random / 4294967296.0));
        watch.arrived.Wait();
    }
    graph.Stop();
}
BENCHMARK(SeekInTenHours)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
