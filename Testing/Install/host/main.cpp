// Records an AAC file (ADTS) to MP4: a source filter of the host's own, multiplexer, sink.
#include <MediaKit/Factories.h>
#include <Platform/Com/ComPtr.h>
#include <Platform/DirectShow/CSource.h>
#include <Platform/DirectShow/IFileSinkFilter.h>
#include <Platform/DirectShow/IMediaControl.h>
#include <Platform/DirectShow/MediaFormats.h>
#include <Platform/Graph/CFilterGraph.h>
#include <Platform/Kernel/Event.h>

#include <cstdio>
#include <fstream>

using namespace Norvane::MediaKit::Filters;

struct AacStream : CSourceStream {  // 48 kHz stereo: 1024 samples a frame
    AacStream(CSource* filter, const char* path, HRESULT* phr) : CSourceStream("aac", phr, filter, L"aac"), file(path, std::ios::binary) {}
    HRESULT GetMediaType(CMediaType* type) override {
        WAVEFORMATEX wave{WAVE_FORMAT_MPEG_ADTS_AAC, 2, 48000, 16000, 1, 16, 2};
        const BYTE config[] = {0x11, 0x90};  // AAC-LC, 48 kHz, two channels (ISO/IEC 14496-3, AudioSpecificConfig)
        type->SetType(&MEDIATYPE_Audio), type->SetSubtype(&MEDIASUBTYPE_MPEG_ADTS_AAC), type->SetFormatType(&FORMAT_WaveFormatEx);
        BYTE* block = type->AllocFormatBuffer(sizeof wave + sizeof config);
        std::memcpy(block, &wave, sizeof wave), std::memcpy(block + sizeof wave, config, sizeof config);
        return S_OK;
    }
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES*) override {
        ALLOCATOR_PROPERTIES wanted{100, 8192, 1, 0}, actual;  // a frame has at most 8191 bytes
        return allocator->SetProperties(&wanted, &actual);
    }
    HRESULT FillBuffer(IMediaSample* sample) override {
        BYTE* data;
        sample->GetPointer(&data);
        if (!file.read(reinterpret_cast<char*>(data), 7)) return done.Set(), S_FALSE;
        const LONG size = (data[3] & 3) << 11 | data[4] << 3 | data[5] >> 5;
        if (size < 7 || !file.read(reinterpret_cast<char*>(data) + 7, size - 7)) return done.Set(), S_FALSE;
        REFERENCE_TIME start = frame * 1024 * 10'000'000 / 48000, stop = ++frame * 1024 * 10'000'000 / 48000;
        sample->SetActualDataLength(size), sample->SetTime(&start, &stop), sample->SetSyncPoint(TRUE);
        return S_OK;
    }
    std::ifstream file;
    REFERENCE_TIME frame = 0;
    CAMEvent done{TRUE};
};

struct AacSource : CSource {
    AacSource(const char* path, HRESULT* phr) : CSource("source", nullptr, GUID_NULL, phr), stream(new AacStream(this, path, phr)) {}
    AacStream* stream;
};

int main(int argc, char** argv) {
    if (argc != 3) return std::fprintf(stderr, "usage: %s IN.aac OUT.mp4\n", argv[0]), 2;
    HRESULT hr = S_OK;
    auto* aac = new AacSource(argv[1], &hr);
    ComPtr<IBaseFilter> source = aac, mux, sink;
    ComPtr<IGraphBuilder> graph;
    CreateMP4MediaMuxFilter(mux.put()), CreateSharedFileSinkFilter(sink.put()), CreateFilterGraph(graph.put());
    graph->AddFilter(source.get(), L"source"), graph->AddFilter(mux.get(), L"mux"), graph->AddFilter(sink.get(), L"sink");
    const std::string out = argv[2];
    sink.query<IFileSinkFilter>()->SetFileName(std::wstring(out.begin(), out.end()).c_str(), nullptr);

    ComPtr<IPin> muxIn, muxOut, sinkIn;
    mux->FindPin(L"Input_0", muxIn.put()), mux->FindPin(L"Output", muxOut.put()), sink->FindPin(L"input", sinkIn.put());
    if (FAILED(hr = graph->Connect(muxOut.get(), sinkIn.get())) || FAILED(hr = graph->Connect(aac->stream, muxIn.get())))
        return std::fprintf(stderr, "cannot connect: 0x%08X\n", static_cast<unsigned>(hr)), 1;
    auto control = graph.query<IMediaControl>();
    if (FAILED(hr = control->Run())) return std::fprintf(stderr, "cannot run: 0x%08X\n", static_cast<unsigned>(hr)), 1;
    aac->stream->done.Wait();  // the last frame is read;
    control->Stop();           // Stop waits until it is written, and finishes the file
    std::printf("%lld frames recorded to %s\n", static_cast<long long>(aac->stream->frame), argv[2]);
}
