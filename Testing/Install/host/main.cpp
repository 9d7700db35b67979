// Records an AAC file to MP4: the host's own source, the multiplexer and the file sink in one graph.
#include "aac_source.h"

#include <MediaKit/Factories.h>
#include <Platform/Com/ComPtr.h>
#include <Platform/DirectShow/IFileSinkFilter.h>
#include <Platform/DirectShow/IMediaControl.h>
#include <Platform/Graph/CFilterGraph.h>

using namespace Norvane::MediaKit::Filters;

int main() {
    HRESULT hr = S_OK;
    auto* const aac = new AacSource("in.aac", &hr);
    ComPtr<IBaseFilter> source = aac, mux, sink;
    ComPtr<IGraphBuilder> graph;
    if (FAILED(CreateMP4MediaMuxFilter(mux.put())) || FAILED(CreateSharedFileSinkFilter(sink.put())) ||
        FAILED(CreateFilterGraph(graph.put())))
        return 1;
    sink.query<IFileSinkFilter>()->SetFileName(L"out.mp4", nullptr);
    for (const auto& filter : {source, mux, sink}) graph->AddFilter(filter.get(), nullptr);

    ComPtr<IPin> muxIn, muxOut, sinkIn;
    mux->FindPin(L"Input_0", muxIn.put());
    mux->FindPin(L"Output", muxOut.put());
    sink->FindPin(L"input", sinkIn.put());
    if (FAILED(graph->Connect(muxOut.get(), sinkIn.get())) || FAILED(graph->Connect(aac->stream, muxIn.get())))
        return 1;

    const auto control = graph.query<IMediaControl>();
    if (FAILED(control->Run())) return 1;
    aac->stream->WaitForEnd();
    control->Stop();  // waits until the last frame is written, and finishes the file
}
