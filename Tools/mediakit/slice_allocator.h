// Samples that point into blocks of input.
#pragma once

#include "Platform/DirectShow/CMediaSample.h"
#include "Platform/DirectShow/IMemAllocator.h"
#include "Platform/Kernel/Event.h"
#include "Tools/mediakit/unit_reader.h"

#include <atomic>
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
///
/// GetBuffer and Fill belong to the one thread that delivers; samples come back on any thread. The two
/// sides share a list and a few counters and take no lock: they meet for every sample.
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
    /// What is remembered of a sample that went out.
    struct Out {
        REFERENCE_TIME start;
        std::uint64_t bytesBefore;  ///< in all samples that went before it
    };
    static constexpr std::uint64_t kNever = ~std::uint64_t{0};

    const Out& At(std::uint64_t number) const { return m_ring[number % m_ring.size()]; }
    bool Full(std::uint64_t back) const;
    bool HalfEmpty(std::uint64_t back) const;
    REFERENCE_TIME SpanOut(std::uint64_t back) const;
    std::uint64_t BytesOut(std::uint64_t back) const;
    void WaitForRoom();
    Sample* TakeFree();
    void Remember(REFERENCE_TIME start, std::size_t size);

    const Limits m_limits;

    // The delivering thread's. Samples are numbered as they go out, and come back in that order.
    std::vector<std::unique_ptr<Sample>> m_samples;
    Sample* m_free = nullptr;  ///< a list
    std::vector<Out> m_ring;   ///< of those that are out
    std::uint64_t m_sent = 0;  ///< samples that went out
    std::uint64_t m_bytesSent = 0;
    REFERENCE_TIME m_latestStart = 0;

    std::atomic<Sample*> m_returned{nullptr};     ///< a list, pushed by any thread, taken whole by the delivering one
    std::atomic<std::uint64_t> m_back{0};         ///< samples that came back
    std::atomic<std::uint64_t> m_wakeAt{kNever};  ///< the value of m_back that the waiting thread waits for
    std::atomic<bool> m_committed{false};
    CAMEvent m_room;  ///< set when m_wakeAt is reached, and by Decommit
};

}  // namespace mediakit_tool
