#include "VideoIO/StreamFilters/Authoring/RecordingMonitor.h"

#include "MediaKit/Results.h"
#include "VideoIO/StreamFilters/Authoring/LiveIndex.h"

#include <utility>

namespace Norvane::MediaKit::Filters {

namespace {

constexpr REFERENCE_TIME kEnoughRecorded = 10000000;  // 1 s

}  // namespace

void RecordingMonitor::BeginRun() {
    m_newSamples = m_newBytes = 0;
    m_damaged = false;
    const CAutoLock lock(&m_lock);
    m_result = {};
    m_result.state = RecordingState::Waiting;
}

void RecordingMonitor::BeginFile(std::vector<std::uint32_t> tracks) {
    m_tracks = std::move(tracks);
    const CAutoLock lock(&m_lock);
    m_result.state = RecordingState::Recording;
}

void RecordingMonitor::EndRun(bool fileComplete) {
    const CAutoLock lock(&m_lock);
    m_result.state = RecordingState::Ended;
    m_result.fileComplete = fileComplete && !m_damaged;
}

void RecordingMonitor::AddToIndex(std::uint32_t track, std::span<const LiveSampleInfo> samples) {
    m_index.Append(track, samples);
    if (m_enoughRecorded || !m_index.HaveReached(m_tracks, kEnoughRecorded)) return;
    m_enoughRecorded = true;
    m_host.SendGraphEvent(QZ_EC_ENOUGH_RECORDED, 0, 0);
}

void RecordingMonitor::Publish(bool lost) {
    const auto samples = std::exchange(m_newSamples, 0);
    const auto bytes = std::exchange(m_newBytes, 0);
    const CAutoLock lock(&m_lock);
    (lost ? m_result.samplesLost : m_result.samplesWritten) += samples;
    (lost ? m_result.bytesLost : m_result.bytesWritten) += bytes;
}

void RecordingMonitor::CountLost(std::uint64_t samples, std::uint64_t bytes) {
    const CAutoLock lock(&m_lock);
    m_result.samplesLost += samples;
    m_result.bytesLost += bytes;
}

void RecordingMonitor::CountDiscarded(std::uint64_t samples) {
    const CAutoLock lock(&m_lock);
    m_result.samplesDiscarded += samples;
}

void RecordingMonitor::Fail(HRESULT result, std::wstring text, std::uint64_t position) {
    {
        const CAutoLock lock(&m_lock);
        if (FAILED(m_result.failure.result)) return;
        m_result.failure = {result, std::move(text), position};
    }
    m_host.SendGraphEvent(QZ_EC_RECORDING_FAILED, result, 0);
}

RecordingResult RecordingMonitor::Result() const {
    const CAutoLock lock(&m_lock);
    return m_result;
}

}  // namespace Norvane::MediaKit::Filters
