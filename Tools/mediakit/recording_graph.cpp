#include "Tools/mediakit/recording_graph.h"

#include "MediaKit/Factories.h"
#include "MediaKit/IOverrideMediaType.h"
#include "MediaKit/IRecordingPolicy.h"
#include "Platform/DirectShow/IEnumPins.h"
#include "Platform/DirectShow/IFileSinkFilter2.h"
#include "Platform/DirectShow/IMediaEventSink.h"
#include "Platform/DirectShow/IPin.h"
#include "Platform/Graph/CFilterGraph.h"
#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/system_error.h"

namespace mediakit_tool {

namespace {

using namespace Norvane::MediaKit::Filters;

/// The first pin of that direction that is not connected yet.
ComPtr<IPin> FreePin(IBaseFilter& filter, PIN_DIRECTION direction) {
    ComPtr<IEnumPins> pins;
    if (FAILED(filter.EnumPins(pins.put()))) return {};
    for (;;) {
        ComPtr<IPin> pin, peer;
        if (pins->Next(1, pin.put(), nullptr) != S_OK) return {};
        PIN_DIRECTION its;
        if (pin->QueryDirection(&its) == S_OK && its == direction && pin->ConnectedTo(peer.put()) != S_OK) return pin;
    }
}

}  // namespace

// The graph goes before the interfaces of its filters; what counts is that it is stopped by then.
RecordingGraph::~RecordingGraph() {
    if (m_control) m_control->Stop();
}

bool RecordingGraph::Build(const RecordOptions& options, const std::vector<SourceFeed>& feeds, HANDLE endEvent) {
    if (!MakeFilters() || !Configure(options)) return false;
    for (const SourceFeed& feed : feeds)
        if (!AddSource(options, feed, endEvent)) return false;
    const ComPtr<IPin> output = FreePin(*m_multiplexer, PINDIR_OUTPUT);
    const ComPtr<IPin> input = FreePin(*m_sink, PINDIR_INPUT);
    return Check(m_graph->ConnectDirect(output.get(), input.get(), nullptr), "connecting the file sink");
}

bool RecordingGraph::MakeFilters() {
    if (!Check(CreateFilterGraph(m_graph.put()), "making the graph")) return false;
    m_control = m_graph.query<IMediaControl>();
    m_events = m_graph.query<IMediaEvent>();
    return Check(CreateMP4MediaMuxFilter(m_multiplexer.put()), "making the multiplexer") &&
           Check(CreateSharedFileSinkFilter(m_sink.put()), "making the file sink") &&
           Check(m_graph->AddFilter(m_multiplexer.get(), L"Multiplexer"), "adding the multiplexer") &&
           Check(m_graph->AddFilter(m_sink.get(), L"File sink"), "adding the file sink");
}

/// Settings come before connections.
bool RecordingGraph::Configure(const RecordOptions& options) {
    m_settings = m_multiplexer.query<qz_MPEGSystemFilters::IMPEG4Mux>();
    const auto file = m_sink.query<IFileSinkFilter2>();
    if (!m_settings || !file) return Check(E_NOINTERFACE, "setting up the filters");
    m_settings->SetMoveMoovToFront(options.faststart);
    if (options.software) m_settings->SetSoftware(win32::ConvertFromUtf8(*options.software).c_str());
    if (options.title) m_settings->SetDescription(win32::ConvertFromUtf8(*options.title).c_str());
    file->SetMode(AM_FILE_OVERWRITE);
    return Check(file->SetFileName(win32::ConvertFromUtf8(options.output).c_str(), nullptr), "naming the output");
}

bool RecordingGraph::AddSource(const RecordOptions& options, const SourceFeed& feed, HANDLE endEvent) {
    HRESULT hr = S_OK;
    auto* const source = new ElementarySource(feed, endEvent, &hr);
    const ComPtr<IBaseFilter> filter(source);
    const std::wstring name = L"Source " + std::to_wstring(++m_sources);
    if (!Check(hr, "making a source") || !Check(m_graph->AddFilter(filter.get(), name.c_str()), "adding a source"))
        return false;
    const ComPtr<IPin> input = FreePin(*m_multiplexer, PINDIR_INPUT);
    if (!Check(m_graph->ConnectDirect(source->Output(), input.get(), nullptr), "connecting a source")) return false;
    if (const auto policy = input.query<IRecordingPolicy>()) {
        policy->SetKeepEveryUnit(TRUE);
        policy->SetEveryRandomAccessPictureIsSync(TRUE);
    }
    const auto orientation = input.query<qz_DSFilters::IOverrideMediaType>();
    if (feed.reader->Facts().video && options.rotate != 0 && orientation)
        return Check(orientation->SetOrientation(static_cast<DWORD>(options.rotate / 90)), "setting the rotation");
    return true;
}

bool RecordingGraph::Run() {
    return Check(m_control->Run(), "starting");
}

bool RecordingGraph::Stop() {
    return Check(m_control->Stop(), "finishing");
}

REFERENCE_TIME RecordingGraph::Position() const {
    REFERENCE_TIME position = 0;
    m_settings->GetCurrentPosition(&position);
    return position;
}

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

bool RecordingGraph::Check(HRESULT hr, const std::string& what) {
    if (SUCCEEDED(hr)) return true;
    if (m_failure.empty()) m_failure = what + ": " + ResultText(hr);
    return false;
}

}  // namespace mediakit_tool
