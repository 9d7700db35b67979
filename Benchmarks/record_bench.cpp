// One sample through the multiplexer's input pin, handler, output pin and sink to a file, at several
// sizes; beside it a plain write of the same bytes to a file.
#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/DirectShow/CBaseOutputPin.h"
#include "Platform/DirectShow/IFileSinkFilter.h"
#include "Platform/DirectShow/IMediaControl.h"
#include "Platform/Graph/CFilterGraph.h"
#include "VideoIO/StreamFilters/Multiplexer/MP4MediaMuxFilter2.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkFilter.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <vector>

using namespace Norvane::MediaKit::Filters;

namespace {

/// A filter whose one pin is pushed by the benchmark.
class PushSource final : public CBaseFilter {
public:
    PushSource() : CBaseFilter("push", nullptr, &m_lock, GUID_NULL), m_pin(*this, m_lock) {}
    int GetPinCount() override { return 1; }
    CBasePin* GetPin(int) override { return &m_pin; }

    class Pin final : public CBaseOutputPin {
    public:
        Pin(PushSource& filter, CCritSec& lock) : CBaseOutputPin("push", &filter, &lock, nullptr, L"Out") {}
        HRESULT CheckMediaType(const CMediaType*) override { return S_OK; }
        HRESULT GetMediaType(int position, CMediaType* type) override {
            if (position > 0) return VFW_S_NO_MORE_ITEMS;
            *type = CMediaType(&MEDIATYPE_Video);
            type->subtype = MEDIASUBTYPE_H264;
            type->formattype = FORMAT_VideoInfo;
            VIDEOINFOHEADER format{};
            format.AvgTimePerFrame = 400000;
            format.bmiHeader.biWidth = 1920;
            format.bmiHeader.biHeight = 1080;
            type->SetFormat(reinterpret_cast<const BYTE*>(&format), sizeof format);
            return S_OK;
        }
        HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES*) override {
            ALLOCATOR_PROPERTIES request{100, 1 << 17, 1, 0};
            ALLOCATOR_PROPERTIES actual{};
            return allocator->SetProperties(&request, &actual);
        }
    };

    Pin& Out() { return m_pin; }

private:
    CCritSec m_lock;
    Pin m_pin;
};

/// An access unit of `size` bytes: one IDR slice of noise behind a start code.
std::vector<BYTE> AccessUnit(std::size_t size) {
    std::vector<BYTE> bytes(size);
    std::mt19937 random(1);
    for (BYTE& byte : bytes) byte = static_cast<BYTE>(random() % 254 + 2);
    const BYTE head[] = {0, 0, 0, 1, 0x65};
    std::memcpy(bytes.data(), head, sizeof head);
    return bytes;
}

std::filesystem::path TemporaryFile() {
    return std::filesystem::temp_directory_path() / ("mediakit-bench-" + std::to_string(std::rand()) + ".mp4");
}

void RecordSample(benchmark::State& state) {
    const auto unit = AccessUnit(static_cast<std::size_t>(state.range(0)));
    const auto path = TemporaryFile();
    {
        auto* const push = new PushSource;
        ComPtr<IBaseFilter> source = push;
        ComPtr<IBaseFilter> mux = new MP4MediaMuxFilter;
        ComPtr<IBaseFilter> sink = new SharedFileSinkFilter(nullptr, nullptr);
        ComPtr<IGraphBuilder> graph;
        CreateFilterGraph(graph.put());
        for (const auto& filter : {source, mux, sink}) graph->AddFilter(filter.get(), nullptr);
        sink.query<IFileSinkFilter>()->SetFileName(path.wstring().c_str(), nullptr);
        ComPtr<IPin> muxIn, muxOut, sinkIn;
        mux->FindPin(L"Input_0", muxIn.put());
        mux->FindPin(L"Output", muxOut.put());
        sink->FindPin(L"input", sinkIn.put());
        if (FAILED(graph->ConnectDirect(muxOut.get(), sinkIn.get(), nullptr)) ||
            FAILED(graph->ConnectDirect(&push->Out(), muxIn.get(), nullptr)) ||
            FAILED(graph.query<IMediaControl>()->Run())) {
            state.SkipWithError("the graph does not run");
            return;
        }
        REFERENCE_TIME start = 0;
        for (auto _ : state) {
            ComPtr<IMediaSample> sample;
            push->Out().GetDeliveryBuffer(sample.put(), nullptr, nullptr, 0);
            BYTE* data = nullptr;
            sample->GetPointer(&data);
            std::memcpy(data, unit.data(), unit.size());
            sample->SetActualDataLength(static_cast<LONG>(unit.size()));
            REFERENCE_TIME stop = start + 400000;
            sample->SetTime(&start, &stop);
            start = stop;
            push->Out().Deliver(sample.get());
        }
        push->Out().DeliverEndOfStream();
        graph.query<IMediaControl>()->Stop();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * unit.size()));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
    std::filesystem::remove(path);
}

void PlainWrite(benchmark::State& state) {
    const auto unit = AccessUnit(static_cast<std::size_t>(state.range(0)));
    const auto path = TemporaryFile();
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    std::setvbuf(file, nullptr, _IONBF, 0);
    for (auto _ : state) benchmark::DoNotOptimize(std::fwrite(unit.data(), 1, unit.size(), file));
    std::fclose(file);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * unit.size()));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
    std::filesystem::remove(path);
}

// A fixed number of samples each: the files stay below 300 MB.
#define AT_EACH_SIZE(benchmark)                             \
    BENCHMARK(benchmark)->Arg(128)->Iterations(500'000);    \
    BENCHMARK(benchmark)->Arg(8 << 10)->Iterations(30'000); \
    BENCHMARK(benchmark)->Arg(64 << 10)->Iterations(4'000)
AT_EACH_SIZE(PlainWrite);
AT_EACH_SIZE(RecordSample);

}  // namespace
