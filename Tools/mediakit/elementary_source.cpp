#include "Tools/mediakit/elementary_source.h"

#include <algorithm>

namespace mediakit_tool {

namespace {

// Of the host's own; nothing is registered under it.
constexpr CLSID kElementarySource = make_guid("2F0D6B4E-7C1A-4E52-9B3D-5A8E61C40F97");

/// The multiplexer's chunk is a quarter of a second; twice that lets it choose.
constexpr REFERENCE_TIME kChunkSpans = 5'000'000;
/// Pictures that may stand out of order at the ends of the span.
constexpr int kReorderSlack = 18;

SliceAllocator::Limits LimitsFor(const TrackFacts& facts) {
    SliceAllocator::Limits limits;
    limits.span = kChunkSpans + (facts.video ? kReorderSlack * facts.rate.AvgTimePerFrame() : 0);
    return limits;
}

/// The one writer adds; readers see some recent value.
void Add(std::atomic<std::uint64_t>& counter, std::uint64_t amount) {
    counter.store(counter.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
}

}  // namespace

// The pin adds itself to the filter, which deletes it.
ElementarySource::ElementarySource(const SourceFeed& feed, HANDLE endEvent, HRESULT* phr)
    : CSource("Elementary source", nullptr, kElementarySource, phr) {
    new ElementaryStream(*this, feed, endEvent, phr);
}

ElementaryStream::ElementaryStream(ElementarySource& source, const SourceFeed& feed, HANDLE endEvent, HRESULT* phr)
    : CSourceStream("Elementary stream", phr, &source, L"Output"),
      m_reader(*feed.reader),
      m_progress(*feed.progress),
      m_endEvent(endEvent) {
    m_reader.SetListener(this);
}

ElementaryStream::~ElementaryStream() { m_reader.SetListener(nullptr); }

HRESULT ElementaryStream::GetMediaType(CMediaType* pMediaType) {
    return pMediaType == nullptr ? E_POINTER : pMediaType->Set(m_reader.MediaType());
}

HRESULT ElementaryStream::DecideAllocator(IMemInputPin* pPin, IMemAllocator** pAlloc) {
    *pAlloc = nullptr;
    ComPtr<SliceAllocator> allocator(new SliceAllocator(LimitsFor(m_reader.Facts())));
    const HRESULT hr = pPin->NotifyAllocator(allocator.get(), TRUE);
    if (FAILED(hr)) return hr;
    m_allocator = allocator.get();
    *pAlloc = allocator.detach();
    return S_OK;
}

HRESULT ElementaryStream::DecideBufferSize(IMemAllocator*, ALLOCATOR_PROPERTIES*) { return S_OK; }

HRESULT ElementaryStream::FillBuffer(IMediaSample* pSample) {
    Unit unit;
    if (!m_reader.Next(&unit)) return S_FALSE;
    const std::size_t size = unit.slice.size;
    const HRESULT hr = m_allocator->Fill(pSample, unit);
    if (SUCCEEDED(hr)) Count(unit, size);
    return hr;
}

void ElementaryStream::Count(const Unit& unit, std::size_t size) {
    Add(m_progress.samples, 1);
    Add(m_progress.syncSamples, unit.sync);
    Add(m_progress.bytes, size);
    const REFERENCE_TIME duration = m_progress.duration.load(std::memory_order_relaxed);
    m_progress.duration.store(std::max(duration, unit.stop), std::memory_order_relaxed);
}

HRESULT ElementaryStream::GetDeliveryBuffer(IMediaSample** ppSample, REFERENCE_TIME* pStartTime,
                                            REFERENCE_TIME* pEndTime, DWORD dwFlags) {
    const HRESULT hr = CSourceStream::GetDeliveryBuffer(ppSample, pStartTime, pEndTime, dwFlags | AM_GBF_NOWAIT);
    if (hr != VFW_E_TIMEOUT) return hr;
    SendBatch();
    return CSourceStream::GetDeliveryBuffer(ppSample, pStartTime, pEndTime, dwFlags);
}

HRESULT ElementaryStream::Deliver(IMediaSample* pSample) {
    pSample->AddRef();
    m_batch[m_batched++] = pSample;
    return m_batched == m_batch.size() ? SendBatch() : m_answer;
}

HRESULT ElementaryStream::DeliverEndOfStream() {
    const HRESULT hr = SendBatch();
    return hr == S_OK ? CSourceStream::DeliverEndOfStream() : hr;
}

HRESULT ElementaryStream::SendBatch() {
    if (m_batched == 0) return m_answer;
    LONG taken = 0;
    const HRESULT hr = m_pInputPin->ReceiveMultiple(m_batch.data(), static_cast<LONG>(m_batched), &taken);
    DropBatch();
    if (hr != S_OK && m_answer == S_OK) m_progress.refused = m_answer = hr;
    return m_answer;
}

void ElementaryStream::DropBatch() {
    for (std::size_t i = 0; i < m_batched; ++i) m_batch[i]->Release();
    m_batched = 0;
}

HRESULT ElementaryStream::DoBufferProcessingLoop() {
    m_answer = S_OK;
    const HRESULT hr = CSourceStream::DoBufferProcessingLoop();
    DropBatch();  // a stop came in between
    m_progress.ended = true;
    SetEvent(m_endEvent);
    return hr;
}

}  // namespace mediakit_tool
