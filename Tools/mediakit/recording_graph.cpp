#include "Tools/mediakit/recording_graph.h"

#include "Platform/DirectShow/IMediaEventSink.h"
#include "Platform/Graph/CFilterGraph.h"
#include "Tools/mediakit/system_error.h"

namespace mediakit_tool {

// The graph goes before the interfaces of its filters; what counts is that it is stopped by then.
RecordingGraph::~RecordingGraph() {
    if (m_control) m_control->Stop();
}

bool RecordingGraph::Build(const RecordOptions& options, const std::vector<SourceFeed>& feeds, HANDLE endEvent) {
    if (!Check(CreateFilterGraph(m_graph.put()), "making the graph")) return false;
    m_control = m_graph.query<IMediaControl>();
    m_events = m_graph.query<IMediaEvent>();
    const MovieOutputSettings settings{options.output, options.faststart, options.software, options.title};
    if (!Check(m_output.Make(*m_graph, settings))) return false;
    for (const SourceFeed& feed : feeds)
        if (!AddSource(options, feed, endEvent)) return false;
    return Check(m_output.ConnectSink());
}

bool RecordingGraph::AddSource(const RecordOptions& options, const SourceFeed& feed, HANDLE endEvent) {
    HRESULT hr = S_OK;
    auto* const source = new ElementarySource(feed, endEvent, &hr);
    const ComPtr<IBaseFilter> filter(source);
    const std::wstring name = L"Source " + std::to_wstring(++m_sources);
    if (!Check(hr, "making a source") || !Check(m_graph->AddFilter(filter.get(), name.c_str()), "adding a source"))
        return false;
    TrackSettings settings;
    if (feed.reader->Facts().video && options.rotate != 0)
        settings.orientation = static_cast<DWORD>(options.rotate / 90);
    return Check(m_output.AddTrack(*source->Output(), settings));
}

bool RecordingGraph::Run() { return Check(m_control->Run(), "starting"); }

bool RecordingGraph::Stop() { return Check(m_control->Stop(), "finishing"); }

HANDLE RecordingGraph::EventHandle() const {
    OAEVENT handle = 0;
    m_events->GetEventHandle(&handle);
    return reinterpret_cast<HANDLE>(handle);
}

bool RecordingGraph::HandleEvents() {
    LONG code = 0;
    LONG_PTR first = 0, second = 0;
    bool well = true;
    while (m_events->GetEvent(&code, &first, &second, 0) == S_OK) {
        if (code == EC_ERRORABORT) well = Check(static_cast<HRESULT>(first), "a filter gave up");
        m_events->FreeEventParams(code, first, second);
    }
    return well;
}

bool RecordingGraph::Check(bool done) {
    if (!done && m_failure.empty()) m_failure = m_output.Failure();
    return done;
}

bool RecordingGraph::Check(HRESULT hr, const std::string& what) {
    if (SUCCEEDED(hr)) return true;
    if (m_failure.empty()) m_failure = what + ": " + ResultText(hr);
    return false;
}

}  // namespace mediakit_tool
