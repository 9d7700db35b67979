// Samples that point into blocks of input.
#pragma once

#include "Platform/DirectShow/CMediaSample.h"
#include "Platform/DirectShow/IMemAllocator.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Event.h"
#include "Tools/mediakit/unit_reader.h"

#include <memory>
#include <vector>

namespace mediakit_tool {

/// Hands out samples without memory of their own; Fill points one at a unit, whose block lives until
/// the sample is released. Nothing is copied, and nothing allocated once as many samples exist as are
/// held downstream at a time.
///
/// GetBuffer waits while too much is held downstream: so many samples or bytes, but in any case so
/// much time that a multiplexer has enough of this track to go on writing. (It holds back a track
/// until all tracks have a chunk's span; a limit in bytes alone could lock up tracks of a high rate.)
/// Once stopped it goes on at half the limit, so that threads do not change over for each sample.
///
/// All samples are back before the allocator goes: filters give them up when they stop.
class SliceAllocator final : public CUnknown, public IMemAllocator {
public:
    struct Limits {
        std::size_t samples = 1024;
        std::size_t bytes = 8 * 1024 * 1024;
        REFERENCE_TIME span = 5'000'000;  ///< 100 ns; less than this is never held back
    };

    explicit SliceAllocator(const Limits& limits);
    ~SliceAllocator() override;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// The limits stand; what they come to is stored.
    HRESULT SetProperties(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) override;
    HRESULT GetProperties(ALLOCATOR_PROPERTIES* pProps) override;
    HRESULT Commit() override;
    HRESULT Decommit() override;
    HRESULT GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME* pStartTime, REFERENCE_TIME* pEndTime,
                      DWORD dwFlags) override;
    HRESULT ReleaseBuffer(IMediaSample* pBuffer) override;

    /// Makes a sample of this allocator show the unit, which it takes the block of.
    HRESULT Fill(IMediaSample* sample, Unit& unit);

private:
    class Sample;

    bool Full() const REQUIRES(m_lock);
    bool HalfEmpty() const REQUIRES(m_lock);
    REFERENCE_TIME SpanOut() const REQUIRES(m_lock);
    Sample* TakeFree() REQUIRES(m_lock);
    void PushStart(REFERENCE_TIME start) REQUIRES(m_lock);

    const Limits m_limits;
    mutable CCritSec m_lock{"SliceAllocator", LockRank::Object};
    std::vector<std::unique_ptr<Sample>> m_samples GUARDED_BY(m_lock);
    std::vector<Sample*> m_free GUARDED_BY(m_lock);
    bool m_committed GUARDED_BY(m_lock) = false;
    bool m_waiting GUARDED_BY(m_lock) = false;
    std::size_t m_bytesOut GUARDED_BY(m_lock) = 0;
    // Start times of the samples that are out, in the order they went: they come back in that order.
    std::vector<REFERENCE_TIME> m_starts GUARDED_BY(m_lock);  ///< a ring
    std::size_t m_firstStart GUARDED_BY(m_lock) = 0;
    std::size_t m_out GUARDED_BY(m_lock) = 0;
    REFERENCE_TIME m_latestStart GUARDED_BY(m_lock) = 0;
    CAMEvent m_room{true};  ///< set when a waiting GetBuffer should look again
};

}  // namespace mediakit_tool
