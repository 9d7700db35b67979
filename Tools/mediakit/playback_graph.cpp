#include "Tools/mediakit/playback_graph.h"

#include "MediaKit/Factories.h"
#include "MediaKit/IReadingPolicy.h"
#include "MediaKit/IStreamRate.h"
#include "MediaKit/IVideoOrientation.h"
#include "Platform/DirectShow/IEnumMediaTypes.h"
#include "Platform/DirectShow/IEnumPins.h"
#include "Platform/DirectShow/IFileSourceFilter.h"
#include "Platform/DirectShow/IMediaEventSink.h"
#include "Platform/DirectShow/IMediaSeeking.h"
#include "Platform/Graph/CFilterGraph.h"
#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/file_byte_stream.h"
#include "Tools/mediakit/input_file.h"
#include "Tools/mediakit/system_error.h"
#include "VideoIO/StreamFilters/Container/fourcc.h"

#include <algorithm>
#include <set>
#include <utility>

namespace mediakit_tool {

namespace {

using namespace Norvane::MediaKit::Filters;

/// Of those that a file without streams has.
constexpr std::size_t kMostTracksTold = 8;

template <class Use>
void ForEachPin(IBaseFilter& filter, PIN_DIRECTION direction, Use use) {
    ComPtr<IEnumPins> pins;
    if (FAILED(filter.EnumPins(pins.put()))) return;
    for (;;) {
        ComPtr<IPin> pin;
        if (pins->Next(1, pin.put(), nullptr) != S_OK) return;
        PIN_DIRECTION its;
        if (pin->QueryDirection(&its) == S_OK && its == direction && !use(pin)) return;
    }
}

std::string NameOf(IPin& pin) {
    PIN_INFO info{};
    if (FAILED(pin.QueryPinInfo(&info))) return {};
    if (info.pFilter != nullptr) info.pFilter->Release();
    return win32::NarrowForDisplay(info.achName);
}

/// The first one that the pin offers.
CMediaType TypeOf(IPin& pin) {
    CMediaType type;
    ComPtr<IEnumMediaTypes> types;
    AM_MEDIA_TYPE* first = nullptr;
    if (FAILED(pin.EnumMediaTypes(types.put())) || types->Next(1, &first, nullptr) != S_OK) return type;
    type = *first;
    DeleteMediaType(first);
    return type;
}

Stream Describe(const ComPtr<IPin>& pin, std::size_t number) {
    Stream stream;
    stream.number = number;
    stream.name = NameOf(*pin);
    stream.pin = pin;
    stream.type = TypeOf(*pin);
    if (const auto track = pin.query<ITrackInformation>()) track->GetTrackInformation(&stream.track);
    if (const auto rate = pin.query<qz_DSFilters::IStreamRate>()) rate->GetRate(&stream.rate);
    if (const auto orientation = pin.query<qz_DSFilters::IVideoOrientation>())
        orientation->GetOrientation(&stream.orientation);
    return stream;
}

/// What players of other makers do.
constexpr Norvane::MediaKit::Filters::ReadingOptions kLenient{.avc3AsAvc1 = true,
                                                              .skipSegmentBoxes = true,
                                                              .syncWithoutTable = true,
                                                              .fragmentDecodeTimes = true,
                                                              .pcmSizeFromEntry = true,
                                                              .contiguousRuns = true,
                                                              .skipBrokenParts = true,
                                                              .emptyEdits = true};

}  // namespace

ComPtr<IPin> FreePin(IBaseFilter& filter, PIN_DIRECTION direction) {
    ComPtr<IPin> found;
    ForEachPin(filter, direction, [&found](const ComPtr<IPin>& pin) {
        ComPtr<IPin> peer;
        if (pin->ConnectedTo(peer.put()) == S_OK) return true;
        found = pin;
        return false;
    });
    return found;
}

bool Stream::IsVideo() const { return track.handler == vio::mp4::fourcc("vide"); }

std::string Stream::Entry() const { return win32::NarrowForDisplay(vio::mp4::fourcc_text(track.sampleEntry)); }

// The graph goes before the interfaces of its filters; what counts is that it is stopped by then.
PlaybackGraph::~PlaybackGraph() {
    if (m_control) m_control->Stop();
}

bool PlaybackGraph::Open(const std::string& path, const ReadingOptions& options) {
    m_path = path;
    const std::string objection = InputObjection(path);
    if (!objection.empty()) return Fail(objection);
    if (!MakeFilters() || !Load(path) || !Connect(options)) return false;
    FindStreams();
    return true;
}

bool PlaybackGraph::MakeFilters() {
    if (!Check(CreateFilterGraph(m_graph.put()), "making the graph")) return false;
    m_control = m_graph.query<IMediaControl>();
    m_events = m_graph.query<IMediaEvent>();
    return Check(CreateSharedFileSourceFilter(m_source.put()), "making the file source") &&
           Check(CreateMP4MediaDemuxFilter(m_demultiplexer.put()), "making the demultiplexer") &&
           Check(m_graph->AddFilter(m_source.get(), L"File source"), "adding the file source") &&
           Check(m_graph->AddFilter(m_demultiplexer.get(), L"Demultiplexer"), "adding the demultiplexer");
}

bool PlaybackGraph::Load(const std::string& path) {
    const auto file = m_source.query<IFileSourceFilter>();
    if (!file) return Check(E_NOINTERFACE, "setting up the file source");
    CMediaType type;  // the source offers what it was given
    type.SetType(&MEDIATYPE_Stream);
    type.SetSubtype(&MEDIASUBTYPE_None);
    return Check(file->Load(win32::ConvertFromUtf8(path).c_str(), &type), "cannot be opened");
}

bool PlaybackGraph::Connect(const ReadingOptions& options) {
    const auto policy = m_demultiplexer.query<IReadingPolicy>();
    if (policy && !options.strict) policy->SetOptions(&kLenient);
    const ComPtr<IPin> output = FreePin(*m_source, PINDIR_OUTPUT);
    const ComPtr<IPin> input = FreePin(*m_demultiplexer, PINDIR_INPUT);
    const HRESULT hr = m_graph->ConnectDirect(output.get(), input.get(), nullptr);
    if (SUCCEEDED(hr)) return true;
    const auto complaints = m_log.Complaints();
    return Fail("cannot be played: " + (complaints.empty() ? ResultText(hr) : complaints.back()));
}

void PlaybackGraph::FindStreams() {
    ForEachPin(*m_demultiplexer, PINDIR_OUTPUT, [this](const ComPtr<IPin>& pin) {
        m_streams.push_back(Describe(pin, m_streams.size()));
        return true;
    });
}

std::vector<FileTrack> PlaybackGraph::TracksNotPlayed() const {
    FileByteStream file;
    if (file.Open(m_path) != NO_ERROR) return {};
    std::multiset<DWORD> played;
    for (const Stream& stream : m_streams) played.insert(stream.track.trackId);
    std::vector<FileTrack> tracks = ReadContainerFacts(file).tracks;
    std::erase_if(tracks, [&played](const FileTrack& track) { return !played.extract(track.trackId).empty(); });
    return tracks;
}

std::string PlaybackGraph::NoStreamsText() const {
    const std::vector<FileTrack> tracks = TracksNotPlayed();
    std::string text = "no track that can be played";
    for (std::size_t i = 0; i < tracks.size() && i < kMostTracksTold; ++i)
        text += (i == 0 ? ": " : ", ") + tracks[i].ToText();
    return tracks.size() <= kMostTracksTold ? text : text + ", ...";
}

std::string PlaybackGraph::NoPinText(std::size_t number) const {
    return "there is no pin " + std::to_string(number) + "; the last one is " + std::to_string(m_streams.size() - 1);
}

std::optional<REFERENCE_TIME> PlaybackGraph::Duration() const {
    if (m_streams.empty()) return std::nullopt;
    const auto seeking = m_streams.front().pin.query<IMediaSeeking>();
    LONGLONG duration = 0;
    if (!seeking || FAILED(seeking->GetDuration(&duration))) return std::nullopt;
    return duration;
}

bool PlaybackGraph::ConnectTap(const Stream& stream, SampleConsumer& consumer) {
    HRESULT hr = S_OK;
    auto* const tap = new TapFilter(consumer, m_ended, &hr);
    const ComPtr<IBaseFilter> filter(tap);
    if (!Check(hr, "making a tap") || !Check(m_graph->AddFilter(tap, L"Tap"), "adding a tap")) return false;
    m_taps.push_back({filter, tap});
    return Check(m_graph->ConnectDirect(stream.pin.get(), tap->Input(), nullptr), "connecting " + stream.name);
}

void PlaybackGraph::DisconnectTaps() {
    for (const Tap& tap : m_taps) m_graph->RemoveFilter(tap.filter.get());
    m_taps.clear();
}

/// Through each pin: the demultiplexer heeds the one that leads.
bool PlaybackGraph::Seek(REFERENCE_TIME time) {
    for (const Stream& stream : m_streams) {
        ComPtr<IPin> peer;
        const auto seeking = stream.pin.query<IMediaSeeking>();
        if (!seeking || stream.pin->ConnectedTo(peer.put()) != S_OK) continue;
        LONGLONG start = time;
        const HRESULT hr =
            seeking->SetPositions(&start, AM_SEEKING_AbsolutePositioning, nullptr, AM_SEEKING_NoPositioning);
        if (!Check(hr, "seeking")) return false;
    }
    return true;
}

bool PlaybackGraph::Run() {
    m_failure.clear();
    return Check(m_control->Run(), "starting");
}

bool PlaybackGraph::AllEnded() const {
    return std::all_of(m_taps.begin(), m_taps.end(), [](const Tap& tap) { return tap.tap->Ended(); });
}

PlaybackGraph::Outcome PlaybackGraph::Wait(HANDLE interrupt, DWORD milliseconds) {
    const HANDLE events[] = {m_ended, EventHandle(), interrupt};
    while (!AllEnded()) {
        const DWORD woken = WaitForMultipleObjects(interrupt == nullptr ? 2 : 3, events, FALSE, milliseconds);
        if (woken == WAIT_OBJECT_0 + 2) return Outcome::Interrupted;
        if (!HandleEvents()) return Outcome::Failed;
        if (woken == WAIT_TIMEOUT) return Outcome::TimedOut;
    }
    return Outcome::Ended;
}

/// A pin that fails ends its stream before it says why.
bool PlaybackGraph::Stop() {
    if (!m_control) return m_failure.empty();
    Check(m_control->Stop(), "stopping");
    HandleEvents();
    return m_failure.empty();
}

HANDLE PlaybackGraph::EventHandle() const {
    OAEVENT handle = 0;
    m_events->GetEventHandle(&handle);
    return reinterpret_cast<HANDLE>(handle);
}

bool PlaybackGraph::HandleEvents() {
    LONG code = 0;
    LONG_PTR first = 0, second = 0;
    bool well = true;
    while (m_events->GetEvent(&code, &first, &second, 0) == S_OK) {
        if (code == EC_ERRORABORT) well = Fail("reading failed: " + ReadFailure(static_cast<HRESULT>(first)));
        m_events->FreeEventParams(code, first, second);
    }
    return well;
}

/// A pin has no words for a read that failed: the source has, when it was not just that the file ends there. A sample
/// that is larger than the file has no room in the pin's buffer.
std::string PlaybackGraph::ReadFailure(HRESULT hr) const {
    if (hr != E_FAIL && hr != VFW_E_BUFFER_OVERFLOW) return ResultText(hr);
    const std::string error = m_log.ReadError();
    return error.empty() ? "a sample is not in the file, which may be cut off" : error;
}

bool PlaybackGraph::Check(HRESULT hr, const std::string& what) {
    return SUCCEEDED(hr) || Fail(what + ": " + ResultText(hr));
}

bool PlaybackGraph::Fail(const std::string& text) {
    if (m_failure.empty()) m_failure = text;
    return false;
}

}  // namespace mediakit_tool
