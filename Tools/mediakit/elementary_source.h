// The host's source filter: one elementary stream, pushed as fast as downstream takes it.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CSource.h"
#include "Tools/mediakit/slice_allocator.h"
#include "Tools/mediakit/unit_reader.h"

#include <array>
#include <atomic>

namespace mediakit_tool {

/// How far a source has come. Written by its thread, read by any.
struct SourceProgress {
    std::atomic<std::uint64_t> samples{0};
    std::atomic<std::uint64_t> syncSamples{0};
    std::atomic<std::uint64_t> bytes{0};      ///< of the samples
    std::atomic<REFERENCE_TIME> duration{0};  ///< latest stop time, 100 ns
    std::atomic<HRESULT> refused{S_OK};       ///< how downstream answered when it took no more samples
    std::atomic<bool> ended{false};           ///< the thread delivers nothing more
};

/// What a source reads and where it tells how far it is. Both outlive the source.
struct SourceFeed {
    UnitReader* reader;
    SourceProgress* progress;
};

/// A CSource with one output pin over an opened reader. The pin brings its own
/// allocator; its thread delivers units as samples, then the end of the stream.
class ElementarySource final : public CSource {
public:
    /// `endEvent` is set when the thread has delivered its last.
    ElementarySource(const SourceFeed& feed, HANDLE endEvent, HRESULT* phr);

    IPin* Output() { return GetPin(0); }
};

/// Its pin. Samples go downstream in batches, which meet the multiplexer's lock once; a batch never
/// waits for the input or for a free sample, so that a slow stream is not held up.
class ElementaryStream final : public CSourceStream, private ReadListener {
public:
    ElementaryStream(ElementarySource& source, const SourceFeed& feed, HANDLE endEvent, HRESULT* phr);
    ~ElementaryStream() override;

    HRESULT GetMediaType(CMediaType* pMediaType) override;
    HRESULT DecideAllocator(IMemInputPin* pPin, IMemAllocator** pAlloc) override;
    HRESULT DecideBufferSize(IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* ppropInputRequest) override;
    HRESULT FillBuffer(IMediaSample* pSample) override;
    HRESULT GetDeliveryBuffer(IMediaSample** ppSample, REFERENCE_TIME* pStartTime, REFERENCE_TIME* pEndTime,
                              DWORD dwFlags) override;
    HRESULT Deliver(IMediaSample* pSample) override;
    HRESULT DeliverEndOfStream() override;
    HRESULT DoBufferProcessingLoop() override;

private:
    void Count(const Unit& unit, std::size_t size);
    void AboutToRead() override { SendBatch(); }
    /// The answer to this batch, or to the first that was not taken whole.
    HRESULT SendBatch();
    void DropBatch();

    UnitReader& m_reader;
    SourceProgress& m_progress;
    const HANDLE m_endEvent;
    SliceAllocator* m_allocator = nullptr;  ///< the base's m_pAllocator, which counts it
    // The streaming thread's.
    std::array<IMediaSample*, 128> m_batch{};  ///< counted
    std::size_t m_batched = 0;
    HRESULT m_answer = S_OK;
};

}  // namespace mediakit_tool
