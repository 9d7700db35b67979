// The pin's side of seeking.
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxSeeking.h"
#include "VideoIO/StreamFilters/Demultiplexer/Turn.h"

namespace Norvane::MediaKit::Filters {

MP4MediaDemuxOutputPin::Segment MP4MediaDemuxOutputPin::CurrentSegment() const {
    CAutoLock lock(&m_fieldLock);
    return {m_tStart, m_tStop, m_dRate};
}

void MP4MediaDemuxOutputPin::StopThread() {
    // Flushed first, since the thread may be inside of the peer, or waiting for a sample that the peer holds.
    DeliverBeginFlush();
    m_flushing = true;
    Stop();
}

void MP4MediaDemuxOutputPin::EndFlushing() {
    if (m_flushing) DeliverEndFlush();
    m_flushing = false;
}

void MP4MediaDemuxOutputPin::StopForSeek() {
    const details::Turn turn(m_turn);
    if (ThreadExists()) StopThread();
}

void MP4MediaDemuxOutputPin::RestartAt(REFERENCE_TIME start) {
    const details::Turn turn(m_turn);
    // One that was started since the first half plays from where the pin was.
    if (ThreadExists() && !m_flushing) StopThread();
    EndFlushing();
    {
        CAutoLock lock(&m_fieldLock);
        m_tStart = start;
    }
    if (ThreadExists()) Run();
}

void MP4MediaDemuxOutputPin::SetStop(REFERENCE_TIME stop) {
    CAutoLock lock(&m_fieldLock);
    m_tStop = stop;
}

bool MP4MediaDemuxOutputPin::IsSeekingMaster() {
    CAutoLock lock(m_demux->pStateLock());
    if (IsConnected() && IsVideo()) return true;
    const MP4MediaDemuxOutputPin* audio = nullptr;
    const int count = m_demux->OutputPinCount();
    for (int i = 0; i < count; ++i) {
        const MP4MediaDemuxOutputPin* const pin = m_demux->OutputPin(i);
        if (!pin->IsConnected()) continue;
        if (pin->IsVideo()) return false;
        if (audio == nullptr && pin->IsAudio()) audio = pin;
    }
    return audio == this;
}

template <class... Params, class... Args>
HRESULT MP4MediaDemuxOutputPin::Forward(HRESULT (IMediaSeeking::*operation)(Params...), Args... args) {
    MP4MediaDemuxSeeking* const seeking = m_demux->Seeking();
    QZCheckCondition(seeking != nullptr, E_OUTOFMEMORY);
    return (seeking->*operation)(args...);
}

template <class... Params, class... Args>
HRESULT MP4MediaDemuxOutputPin::ForwardFromMaster(HRESULT (IMediaSeeking::*operation)(Params...), Args... args) {
    return IsSeekingMaster() ? Forward(operation, args...) : S_OK;
}

HRESULT MP4MediaDemuxOutputPin::GetCapabilities(DWORD* pCapabilities) {
    return Forward(&IMediaSeeking::GetCapabilities, pCapabilities);
}

HRESULT MP4MediaDemuxOutputPin::CheckCapabilities(DWORD* pCapabilities) {
    return Forward(&IMediaSeeking::CheckCapabilities, pCapabilities);
}

HRESULT MP4MediaDemuxOutputPin::IsFormatSupported(const GUID* pFormat) {
    return Forward(&IMediaSeeking::IsFormatSupported, pFormat);
}

HRESULT MP4MediaDemuxOutputPin::QueryPreferredFormat(GUID* pFormat) {
    return Forward(&IMediaSeeking::QueryPreferredFormat, pFormat);
}

HRESULT MP4MediaDemuxOutputPin::GetTimeFormat(GUID* pFormat) { return Forward(&IMediaSeeking::GetTimeFormat, pFormat); }

HRESULT MP4MediaDemuxOutputPin::IsUsingTimeFormat(const GUID* pFormat) {
    return Forward(&IMediaSeeking::IsUsingTimeFormat, pFormat);
}

HRESULT MP4MediaDemuxOutputPin::SetTimeFormat(const GUID* pFormat) {
    return ForwardFromMaster(&IMediaSeeking::SetTimeFormat, pFormat);
}

HRESULT MP4MediaDemuxOutputPin::GetDuration(LONGLONG* pDuration) {
    return Forward(&IMediaSeeking::GetDuration, pDuration);
}

HRESULT MP4MediaDemuxOutputPin::GetStopPosition(LONGLONG* pStop) {
    return Forward(&IMediaSeeking::GetStopPosition, pStop);
}

HRESULT MP4MediaDemuxOutputPin::GetCurrentPosition(LONGLONG* pCurrent) {
    return Forward(&IMediaSeeking::GetCurrentPosition, pCurrent);
}

HRESULT MP4MediaDemuxOutputPin::ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                                                  const GUID* pSourceFormat) {
    return Forward(&IMediaSeeking::ConvertTimeFormat, pTarget, pTargetFormat, Source, pSourceFormat);
}

HRESULT MP4MediaDemuxOutputPin::SetPositions(LONGLONG* pCurrent, DWORD CurrentFlags, LONGLONG* pStop, DWORD StopFlags) {
    return ForwardFromMaster(&IMediaSeeking::SetPositions, pCurrent, CurrentFlags, pStop, StopFlags);
}

HRESULT MP4MediaDemuxOutputPin::GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) {
    return Forward(&IMediaSeeking::GetPositions, pCurrent, pStop);
}

HRESULT MP4MediaDemuxOutputPin::GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) {
    return Forward(&IMediaSeeking::GetAvailable, pEarliest, pLatest);
}

HRESULT MP4MediaDemuxOutputPin::SetRate(double dRate) { return ForwardFromMaster(&IMediaSeeking::SetRate, dRate); }

HRESULT MP4MediaDemuxOutputPin::GetRate(double* pdRate) { return Forward(&IMediaSeeking::GetRate, pdRate); }

HRESULT MP4MediaDemuxOutputPin::GetPreroll(LONGLONG* pllPreroll) {
    return Forward(&IMediaSeeking::GetPreroll, pllPreroll);
}

}  // namespace Norvane::MediaKit::Filters
