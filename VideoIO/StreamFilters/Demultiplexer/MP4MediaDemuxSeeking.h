// Moves all output pins of a demultiplexer together.
#pragma once

#include "Platform/DirectShow/CSourceSeeking.h"

namespace Norvane::MediaKit::Filters {

class MP4MediaDemuxFilter;

/// Lives as long as the filter; the pins pass their IMediaSeeking calls on to it. Fields are guarded by the filter's
/// seeking lock, which is not held while the pins' threads are waited for.
class MP4MediaDemuxSeeking final : public CSourceSeeking {
public:
    MP4MediaDemuxSeeking(MP4MediaDemuxFilter* filter, CCritSec* lock, HRESULT* phr);

    /// Of the movie, 100 ns.
    void SetDuration(REFERENCE_TIME duration) EXCLUDES(m_pLock);

protected:
    /// Stops all pins before it starts the first at the new position.
    HRESULT ChangeStart() override;
    /// Takes effect in the next segment.
    HRESULT ChangeStop() override;
    /// No effect on the pins.
    HRESULT ChangeRate() override { return S_OK; }

private:
    MP4MediaDemuxFilter* const m_demux;
};

}  // namespace Norvane::MediaKit::Filters
