#include "Tools/mediakit/remux_graph.h"

#include "Tools/mediakit/frame_rate.h"
#include "Tools/mediakit/system_error.h"

#include <algorithm>
#include <cmath>

namespace mediakit_tool {

namespace {

using Norvane::MediaKit::Filters::TrackInformation;

/// The multiplexer's chunk is a quarter of a second; twice that lets it choose. More only takes its place in the
/// processor's cache.
constexpr double kSecondsKept = 0.6;
/// What the multiplexer asks for.
constexpr LONG kLeastBuffers = 20;
constexpr LONG kMostBuffers = 1024;
/// 100 ns; a year.
constexpr double kFarthestEdit = 365.0 * 86400 * 1e7;
/// Behind this rate the units of 100 ns between the filters cannot tell all ticks apart.
constexpr DWORD kFinestTimescale = 5'000'000;

LONG BuffersFor(const TrackInformation& track) {
    const double seconds = static_cast<double>(track.duration) / static_cast<double>(kUnitsPerSecond);
    const double wanted = seconds > 0 ? kSecondsKept * static_cast<double>(track.sampleCount) / seconds : 0;
    return static_cast<LONG>(std::clamp<double>(wanted, kLeastBuffers, kMostBuffers));
}

/// In 100 ns.
REFERENCE_TIME EditOf(const TrackInformation& track) {
    const double seconds = track.timescale > 0 ? static_cast<double>(track.edit) / track.timescale : 0;
    return std::llround(std::clamp(seconds * static_cast<double>(kUnitsPerSecond), -kFarthestEdit, kFarthestEdit));
}

TrackSettings SettingsFor(const Stream& stream) {
    TrackSettings settings;
    if (stream.IsVideo()) settings.orientation = stream.orientation;
    if (stream.track.timescale <= kFinestTimescale) settings.timescale = stream.track.timescale;
    settings.keepStart = settings.decodeTimes = true;
    return settings;
}

}  // namespace

bool RemuxGraph::Build(const MovieOutputSettings& settings) {
    if (!m_output.Make(*m_source.Graph(), settings)) return Fail(m_output.Failure());
    for (const Stream& stream : m_source.Streams())
        if (!AddTrack(stream)) return false;
    if (m_tracks.empty()) return true;
    if (!m_output.ConnectSink()) return Fail(m_output.Failure());
    return SeekToFirstSample();
}

/// By themselves the pins start at 0, and pass over most of what lies in front of it.
bool RemuxGraph::SeekToFirstSample() {
    REFERENCE_TIME earliest = 0;
    for (const Track& track : m_tracks) earliest = std::min(earliest, -EditOf(track.stream->track));
    return earliest == 0 || m_source.Seek(earliest);
}

bool RemuxGraph::AddTrack(const Stream& stream) {
    AdaptedStream adapted = AdaptForMultiplexer(stream.type, stream.track);
    std::string refusal = adapted.refusal;
    if (const auto given = m_refused.find(stream.number); given != m_refused.end()) refusal = given->second;
    if (refusal.empty() && !m_output.Accepts(adapted.type))
        refusal = "the multiplexer writes H.264, H.265 and AAC only";
    if (refusal.empty() && stream.track.sampleCount == 0) refusal = "it has no samples";
    if (!refusal.empty()) {
        m_leftOut.push_back({&stream, refusal});
        return true;
    }
    auto progress = std::make_unique<RemuxProgress>();
    HRESULT hr = S_OK;
    auto* const filter = new RemuxFilter(std::move(adapted), BuffersFor(stream.track), EditOf(stream.track),
                                         stream.track.totalBytes, *progress, m_control, &hr);
    const ComPtr<IBaseFilter> counted(filter);
    IGraphBuilder& graph = *m_source.Graph();
    const std::wstring name = L"Remux " + std::to_wstring(stream.number);
    if (SUCCEEDED(hr)) hr = graph.AddFilter(filter, name.c_str());
    if (SUCCEEDED(hr)) hr = graph.ConnectDirect(stream.pin.get(), &filter->Input(), nullptr);
    if (FAILED(hr)) return Fail("connecting " + stream.name + ": " + ResultText(hr));
    if (!m_output.AddTrack(filter->Output(), SettingsFor(stream))) return Fail(m_output.Failure());
    m_tracks.push_back({&stream, std::move(progress)});
    return true;
}

bool RemuxGraph::AllEnded() const {
    return std::ranges::all_of(m_tracks, [](const Track& track) { return track.progress->ended.load(); });
}

std::vector<std::size_t> RemuxGraph::Blocking() const {
    std::vector<std::size_t> blocking;
    for (const Track& track : m_tracks)
        if (track.progress->ended && track.progress->samples == 0) blocking.push_back(track.stream->number);
    return blocking;
}

HRESULT RemuxGraph::Refused() const {
    for (const Track& track : m_tracks)
        if (const HRESULT hr = track.progress->refused; hr != S_OK) return hr;
    return S_OK;
}

bool RemuxGraph::Fail(const std::string& text) {
    if (m_failure.empty()) m_failure = text;
    return false;
}

}  // namespace mediakit_tool
