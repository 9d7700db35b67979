// Which samples have reached the file, for readers that follow a recording while it is written.
#pragma once

#include "MediaKit/ILiveSourceProvider.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Wil.h"
#include "VideoIO/StreamFilters/Authoring/SegmentedVector.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// An index of samples for each track, and the readers ("consumers") that fetch from it. It is never pruned,
/// and outlives the recording: a reader may request the history at any time.
///
/// Threads: any. The lock is taken after the filter lock, never the other way, and nothing but
/// the log is called with it held; the one wait, in GetSamples, holds no lock.
///
/// A consumer keeps its position in the index and no copy of what it has not fetched: a slow reader costs the writer
/// nothing, and no memory.
class LiveIndex {
public:
    /// What the log reports of a new consumer.
    struct History {
        std::size_t samples = 0;
        REFERENCE_TIME firstStart = 0;
        std::uint32_t firstSize = 0;  ///< bytes
        REFERENCE_TIME lastStart = 0;
    };

    /// Consumers that have not been told the end of the last recording continue with this one. Existing entries stay.
    void BeginRecording() MK_EXCLUDES(m_lock);

    /// Adds `bytes` to the offsets of this recording, whose data were moved towards the end of the file.
    void ShiftRecording(std::uint64_t bytes) MK_EXCLUDES(m_lock);

    /// Adds samples that have reached the file and wakes the track's consumers.
    void Append(std::uint32_t track, std::span<const LiveSampleInfo> samples) MK_EXCLUDES(m_lock);
    void Append(std::uint32_t track, const LiveSampleInfo& sample) { Append(track, std::span(&sample, 1)); }

    /// Whether each of these tracks has a sample, and its last one a stop time of at least `stop`.
    bool HaveReached(std::span<const std::uint32_t> tracks, REFERENCE_TIME stop) const MK_EXCLUDES(m_lock);

    /// Marks the end: consumers get S_FALSE once they have fetched what is there.
    void EndRecording() MK_EXCLUDES(m_lock);

    /// Start time of the track's last sample, 0 when there is none.
    REFERENCE_TIME TrackPosition(std::uint32_t track) const MK_EXCLUDES(m_lock);
    /// The smallest of these among the tracks that have samples, 0 when none has.
    REFERENCE_TIME Position() const MK_EXCLUDES(m_lock);

    /// Adds a consumer that gets the whole history first. An existing key stays as it is.
    History AddConsumer(std::uint32_t track, std::uint64_t key, const wchar_t* name) MK_EXCLUDES(m_lock);
    /// The removed consumer's name, or nothing for an unknown key.
    std::optional<std::wstring> RemoveConsumer(std::uint64_t key) MK_EXCLUDES(m_lock);
    /// See ILiveSourceProvider::GetSamples.
    HRESULT GetSamples(std::uint64_t key, std::vector<LiveSampleInfo>& samples, std::uint32_t timeoutMs,
                       HANDLE abortEvent) MK_EXCLUDES(m_lock);

private:
    /// A LiveSampleInfo without its reserved words.
    struct Entry {
        std::uint64_t offset;
        std::int64_t start;
        std::int64_t stop;
        std::int64_t mediaStart;
        std::int64_t mediaStop;
        std::uint32_t size;
        std::uint32_t sync;
    };
    static_assert(sizeof(Entry) == 48);

    struct Track {
        /// The sample that opened the current status period, none before the first sample.
        std::optional<std::size_t> statusMark;
        REFERENCE_TIME duration = 0;     ///< sum of stop - start
        std::size_t recordingStart = 0;  ///< first sample of this recording
        SegmentedVector<Entry> samples;
    };

    struct Consumer {
        std::uint32_t track = 0;
        wil::unique_event event{wil::EventOptions::ManualReset};
        std::size_t next = 0;  ///< first sample that has not been fetched
        bool finished = false;
        bool closed = false;  ///< has got S_FALSE; its event is no longer signalled
        std::wstring name;
    };
    using ConsumerPtr = std::shared_ptr<Consumer>;

    /// Null for a track that has no samples.
    const Track* FilledTrack(std::uint32_t number) const MK_REQUIRES(m_lock);
    static LiveSampleInfo Expand(const Entry& entry);
    static void AppendEntry(Track& track, const LiveSampleInfo& sample);
    HRESULT Find(std::uint64_t key, ConsumerPtr& consumer) const MK_EXCLUDES(m_lock);
    std::size_t Available(const Consumer& consumer) const MK_REQUIRES(m_lock);
    /// The result when there is one without waiting. `woken`: after a wait.
    std::optional<HRESULT> Look(Consumer& consumer, std::vector<LiveSampleInfo>& samples, bool woken)
        MK_EXCLUDES(m_lock);
    void Fetch(Consumer& consumer, std::size_t count, std::vector<LiveSampleInfo>& samples) MK_EXCLUDES(m_lock);

    struct LiveSource {
        std::map<std::uint32_t, Track> m_tracks;
        std::map<std::uint64_t, ConsumerPtr> m_consumers;
        bool m_ended = false;
    };

    mutable CCritSec m_lock{"live source", LockRank::FilterInner};
    LiveSource m_liveSource MK_GUARDED_BY(m_lock);
};

}  // namespace Norvane::MediaKit::Filters
