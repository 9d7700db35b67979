#include "VideoIO/StreamFilters/Authoring/LiveIndex.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"
#include "VideoIO/StreamFilters/Authoring/TimeMath.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

namespace {

constexpr REFERENCE_TIME kStatusPeriod = 300000000;  // 30 s

/// Samples copied to a reader with the lock held at a time: a long history does not hold the writer up.
constexpr std::size_t kFetchPortion = 4096;

}  // namespace

void LiveIndex::BeginRecording() {
    const CAutoLock lock(&m_lock);
    m_liveSource.m_ended = false;
    for (auto& [number, track] : m_liveSource.m_tracks) track.recordingStart = track.samples.size();
    for (const auto& [key, consumer] : m_liveSource.m_consumers) consumer->finished = consumer->closed;
}

void LiveIndex::ShiftRecording(std::uint64_t bytes) {
    const CAutoLock lock(&m_lock);
    for (auto& [number, track] : m_liveSource.m_tracks)
        for (std::size_t i = track.recordingStart; i < track.samples.size(); ++i) track.samples[i].offset += bytes;
}

void LiveIndex::Append(std::uint32_t track, std::span<const LiveSampleInfo> samples) {
    if (samples.empty()) return;
    const CAutoLock lock(&m_lock);
    Track& index = m_liveSource.m_tracks[track];
    for (const LiveSampleInfo& sample : samples) AppendEntry(index, sample);
    for (const auto& [key, consumer] : m_liveSource.m_consumers)
        if (consumer->track == track && !consumer->closed) consumer->event.SetEvent();
}

void LiveIndex::AppendEntry(Track& track, const LiveSampleInfo& sample) {
    track.samples.push_back(
        {sample.offset, sample.start, sample.stop, sample.mediaStart, sample.mediaStop, sample.size, sample.sync});
    track.duration = AddTimes(track.duration, SubtractTimes(sample.stop, sample.start));
    const std::size_t last = track.samples.size() - 1;
    if (!track.statusMark) {
        track.statusMark = 0;
    } else if (SubtractTimes(sample.start, track.samples[*track.statusMark].start) > kStatusPeriod) {
        if (QZ_LOG_ENABLED(5))
            QZReport(5, L"MP4 writer status: %s, duration %s, %d samples",
                     qz_DSFilters::FormatTime(sample.start).c_str(), qz_DSFilters::FormatTime(track.duration).c_str(),
                     static_cast<int>(track.samples.size()));
        track.statusMark = last;
    }
}

bool LiveIndex::HaveReached(std::span<const std::uint32_t> tracks, REFERENCE_TIME stop) const {
    const CAutoLock lock(&m_lock);
    for (const std::uint32_t track : tracks) {
        const Track* const index = FilledTrack(track);
        if (index == nullptr || index->samples.back().stop < stop) return false;
    }
    return true;
}

void LiveIndex::EndRecording() {
    const CAutoLock lock(&m_lock);
    m_liveSource.m_ended = true;
    for (const auto& [key, consumer] : m_liveSource.m_consumers) {
        consumer->finished = true;
        if (!consumer->closed) consumer->event.SetEvent();
    }
}

REFERENCE_TIME LiveIndex::TrackPosition(std::uint32_t track) const {
    const CAutoLock lock(&m_lock);
    const Track* const index = FilledTrack(track);
    return index == nullptr ? 0 : index->samples.back().start;
}

REFERENCE_TIME LiveIndex::Position() const {
    const CAutoLock lock(&m_lock);
    std::optional<REFERENCE_TIME> position;
    for (const auto& [number, track] : m_liveSource.m_tracks)
        if (!track.samples.empty()) position = std::min(position.value_or(MaxTime), track.samples.back().start);
    return position.value_or(0);
}

LiveIndex::History LiveIndex::AddConsumer(std::uint32_t track, std::uint64_t key, const wchar_t* name) {
    auto added = std::make_shared<Consumer>();
    added->track = track;
    if (name != nullptr) added->name = name;

    const CAutoLock lock(&m_lock);
    added->finished = m_liveSource.m_ended;
    const ConsumerPtr consumer = m_liveSource.m_consumers.try_emplace(key, std::move(added)).first->second;
    if (Available(*consumer) > 0 && !consumer->closed) consumer->event.SetEvent();
    const Track* const index = FilledTrack(track);
    if (index == nullptr) return {};
    const auto& samples = index->samples;
    return {samples.size(), samples.front().start, samples.front().size, samples.back().start};
}

std::optional<std::wstring> LiveIndex::RemoveConsumer(std::uint64_t key) {
    const CAutoLock lock(&m_lock);
    const auto found = m_liveSource.m_consumers.find(key);
    if (found == m_liveSource.m_consumers.end()) return std::nullopt;
    std::wstring name = found->second->name;
    m_liveSource.m_consumers.erase(found);
    return name;
}

HRESULT LiveIndex::GetSamples(std::uint64_t key, std::vector<LiveSampleInfo>& samples, std::uint32_t timeoutMs,
                              HANDLE abortEvent) {
    ConsumerPtr consumer;  // keeps it alive if it is removed during the wait
    if (const HRESULT hr = Find(key, consumer); FAILED(hr)) return hr;
    if (const auto result = Look(*consumer, samples, false)) return *result;

    const HANDLE events[] = {consumer->event.get(), abortEvent};
    switch (WaitForMultipleObjects(2, events, FALSE, timeoutMs)) {
        case WAIT_OBJECT_0:
            if (const auto result = Look(*consumer, samples, true)) return *result;
            samples.clear();  // another thread fetched them
            return S_OK;
        case WAIT_OBJECT_0 + 1: return E_ABORT;
        case WAIT_TIMEOUT: return VFW_E_TIMEOUT;
        default: return E_UNEXPECTED;
    }
}

/// A track is there without samples when memory ran out at its first one.
const LiveIndex::Track* LiveIndex::FilledTrack(std::uint32_t number) const {
    const auto found = m_liveSource.m_tracks.find(number);
    return found == m_liveSource.m_tracks.end() || found->second.samples.empty() ? nullptr : &found->second;
}

HRESULT LiveIndex::Find(std::uint64_t key, ConsumerPtr& consumer) const {
    const CAutoLock lock(&m_lock);
    const auto it = m_liveSource.m_consumers.find(key);
    QZCheckCondition(it != m_liveSource.m_consumers.end(), E_INVALIDARG);
    consumer = it->second;
    return S_OK;
}

std::size_t LiveIndex::Available(const Consumer& consumer) const {
    const auto found = m_liveSource.m_tracks.find(consumer.track);
    return found == m_liveSource.m_tracks.end() ? 0 : found->second.samples.size() - consumer.next;
}

std::optional<HRESULT> LiveIndex::Look(Consumer& consumer, std::vector<LiveSampleInfo>& samples, bool woken) {
    std::size_t count = 0;
    {
        const CAutoLock lock(&m_lock);
        count = Available(consumer);
        if (count == 0) {
            if (woken && !consumer.closed) consumer.event.ResetEvent();
            if (!consumer.finished) return std::nullopt;
            if (!woken) consumer.closed = true;
            return S_FALSE;
        }
    }
    samples.clear();
    samples.reserve(count);
    Fetch(consumer, count, samples);
    return S_OK;
}

void LiveIndex::Fetch(Consumer& consumer, std::size_t count, std::vector<LiveSampleInfo>& samples) {
    while (samples.size() < count) {
        const CAutoLock lock(&m_lock);
        const auto& index = m_liveSource.m_tracks.find(consumer.track)->second.samples;
        const std::size_t end = std::min(consumer.next + std::min(count - samples.size(), kFetchPortion), index.size());
        if (consumer.next == end) return;
        for (; consumer.next < end; ++consumer.next) samples.push_back(Expand(index[consumer.next]));
        if (consumer.next == index.size()) consumer.event.ResetEvent();
    }
}

LiveSampleInfo LiveIndex::Expand(const Entry& entry) {
    return {entry.offset, entry.size, 0, entry.start, entry.stop, entry.mediaStart, entry.mediaStop, entry.sync};
}

}  // namespace Norvane::MediaKit::Filters
