// Reports written and lost samples to readers, to the host and to the graph.
#pragma once

#include "MediaKit/ILiveSourceProvider.h"
#include "MediaKit/IRecordingResult.h"
#include "Platform/Kernel/CriticalSection.h"
#include "VideoIO/StreamFilters/Authoring/RecorderHost.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Norvane::MediaKit::Filters {

class LiveIndex;

/// Enters written samples in the index and keeps the recording's result, which any thread may read. All else runs under
/// the filter lock. Counts become visible by Publish, once for each delivery of upstream and not once a sample.
class RecordingMonitor {
public:
    RecordingMonitor(RecorderHost& host, LiveIndex& index) : m_host(host), m_index(index) {}

    void BeginRun() MK_EXCLUDES(m_lock);
    void BeginFile(std::vector<std::uint32_t> tracks) MK_EXCLUDES(m_lock);
    void EndRun(bool fileComplete) MK_EXCLUDES(m_lock);

    /// The samples have reached the file. Sends QZ_EC_ENOUGH_RECORDED once, when every track has a second.
    void AddToIndex(std::uint32_t track, std::span<const LiveSampleInfo> samples);
    void CountWritten(std::uint64_t bytes) {
        ++m_newSamples;
        m_newBytes += bytes;
    }
    /// What was counted since the last call has reached the system, or with `lost` has not.
    void Publish(bool lost) MK_EXCLUDES(m_lock);

    void CountLost(std::uint64_t samples, std::uint64_t bytes) MK_EXCLUDES(m_lock);
    void CountDiscarded(std::uint64_t samples) MK_EXCLUDES(m_lock);
    /// The tables refer to something that is not in the file.
    void MarkDamaged() { m_damaged = true; }
    /// Keeps the first failure of a run, and sends QZ_EC_RECORDING_FAILED for it.
    void Fail(HRESULT result, std::wstring text, std::uint64_t position) MK_EXCLUDES(m_lock);

    /// Any thread.
    RecordingResult Result() const MK_EXCLUDES(m_lock);

private:
    RecorderHost& m_host;
    LiveIndex& m_index;

    // Under the filter lock
    std::vector<std::uint32_t> m_tracks;  ///< of the file
    bool m_enoughRecorded = false;        ///< once in the filter's life
    std::uint64_t m_newSamples = 0;       ///< since the last Publish
    std::uint64_t m_newBytes = 0;
    bool m_damaged = false;

    mutable CCritSec m_lock{"recording result", LockRank::Object};
    RecordingResult m_result MK_GUARDED_BY(m_lock);
};

}  // namespace Norvane::MediaKit::Filters
