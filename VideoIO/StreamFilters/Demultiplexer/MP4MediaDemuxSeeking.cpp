#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxSeeking.h"

#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"
#include "VideoIO/StreamFilters/Demultiplexer/Turn.h"

namespace Norvane::MediaKit::Filters {

MP4MediaDemuxSeeking::MP4MediaDemuxSeeking(MP4MediaDemuxFilter* filter, CCritSec* lock, HRESULT* phr)
    : CSourceSeeking("MP4MediaDemuxSeeking", nullptr, phr, lock), m_demux(filter), m_turn(false, phr) {
    m_turn.Set();
}

void MP4MediaDemuxSeeking::SetDuration(REFERENCE_TIME duration) {
    CAutoLock lock(m_pLock);
    m_rtDuration = duration;
}

std::vector<MP4MediaDemuxOutputPin*> MP4MediaDemuxSeeking::ConnectedPins() {
    std::vector<MP4MediaDemuxOutputPin*> pins;
    CAutoLock lock(m_demux->pStateLock());
    const int count = m_demux->OutputPinCount();
    for (int i = 0; i < count; ++i) {
        MP4MediaDemuxOutputPin* const pin = m_demux->OutputPin(i);
        if (pin->IsConnected()) pins.push_back(pin);
    }
    return pins;
}

HRESULT MP4MediaDemuxSeeking::ChangeStart() {
    const details::Turn turn(m_turn);
    const auto pins = ConnectedPins();
    REFERENCE_TIME start = 0;
    {
        CAutoLock lock(m_pLock);
        start = m_rtStart;
    }
    for (MP4MediaDemuxOutputPin* const pin : pins) pin->StopForSeek();
    for (MP4MediaDemuxOutputPin* const pin : pins) pin->RestartAt(start);
    return S_OK;
}

HRESULT MP4MediaDemuxSeeking::ChangeStop() {
    const auto pins = ConnectedPins();
    CAutoLock lock(m_pLock);
    for (MP4MediaDemuxOutputPin* const pin : pins) pin->SetStop(m_rtStop);
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
