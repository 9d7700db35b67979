// Moves all output pins of a demultiplexer together.
#pragma once

#include "Platform/DirectShow/CSourceSeeking.h"
#include "Platform/Kernel/Event.h"

#include <vector>

namespace Norvane::MediaKit::Filters {

class MP4MediaDemuxFilter;
class MP4MediaDemuxOutputPin;

/// Lives as long as the filter; the pins pass their IMediaSeeking calls on to it, from any thread. Fields are guarded
/// by the filter's seeking lock, which is not held while the pins' threads are waited for.
class MP4MediaDemuxSeeking final : public CSourceSeeking {
public:
    MP4MediaDemuxSeeking(MP4MediaDemuxFilter* filter, CCritSec* lock, HRESULT* phr);

    /// Of the movie, 100 ns.
    void SetDuration(REFERENCE_TIME duration) MK_EXCLUDES(m_pLock);

protected:
    /// Stops all pins before it starts the first at the new position. When several threads seek at once, the last
    /// position that was set is where all end up.
    HRESULT ChangeStart() override;
    /// Takes effect in the next segment.
    HRESULT ChangeStop() override;
    /// No effect on the pins.
    HRESULT ChangeRate() override { return S_OK; }

private:
    /// They live as long as the filter.
    std::vector<MP4MediaDemuxOutputPin*> ConnectedPins();

    MP4MediaDemuxFilter* const m_demux;
    CAMEvent m_turn;  ///< to seek, see Turn.h
};

}  // namespace Norvane::MediaKit::Filters
