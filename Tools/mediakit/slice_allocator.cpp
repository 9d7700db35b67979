#include "Tools/mediakit/slice_allocator.h"

#include <algorithm>
#include <utility>

namespace mediakit_tool {

class SliceAllocator::Sample final : public CMediaSample {
public:
    explicit Sample(SliceAllocator* allocator, HRESULT* phr) : CMediaSample("Slice", allocator, phr) {}

    BlockRef block;
    Sample* next = nullptr;  ///< in a list of free samples
    bool filled = false;
};

SliceAllocator::SliceAllocator(const Limits& limits) : m_limits(limits), m_ring(limits.samples) {}

SliceAllocator::~SliceAllocator() = default;

HRESULT SliceAllocator::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMemAllocator) return GetInterface<IMemAllocator>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT SliceAllocator::SetProperties(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) {
    return pRequest == nullptr ? E_POINTER : GetProperties(pActual);
}

HRESULT SliceAllocator::GetProperties(ALLOCATOR_PROPERTIES* pProps) {
    if (pProps == nullptr) return E_POINTER;
    *pProps = {static_cast<LONG>(m_limits.samples), static_cast<LONG>(m_limits.bytes), 1, 0};
    return S_OK;
}

HRESULT SliceAllocator::Commit() {
    m_committed = true;
    return S_OK;
}

HRESULT SliceAllocator::Decommit() {
    m_committed = false;
    m_room.Set();
    return S_OK;
}

HRESULT SliceAllocator::GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME*, REFERENCE_TIME*, DWORD dwFlags) {
    if (ppBuffer == nullptr) return E_POINTER;
    *ppBuffer = nullptr;
    while (m_committed && Full(m_back)) {
        if ((dwFlags & AM_GBF_NOWAIT) != 0) return VFW_E_TIMEOUT;
        WaitForRoom();
    }
    if (!m_committed) return VFW_E_NOT_COMMITTED;
    Sample* const sample = TakeFree();
    if (sample == nullptr) return E_OUTOFMEMORY;
    sample->AddRef();
    *ppBuffer = sample;
    return S_OK;
}

/// Returns when half the limit is back, at Decommit, or now and then for nothing.
void SliceAllocator::WaitForRoom() {
    std::uint64_t enough = m_back + 1;
    while (enough < m_sent && !HalfEmpty(enough)) ++enough;
    // Either this sees that so many are back, or the thread that brings the last of them sees that it is waited for.
    m_wakeAt = enough;
    if (m_back < enough) m_room.Wait();
    m_wakeAt = kNever;
}

HRESULT SliceAllocator::Fill(IMediaSample* sample, Unit& unit) {
    auto* const slice = static_cast<Sample*>(sample);
    const auto size = static_cast<LONG>(unit.slice.size);
    slice->SetPointer(unit.slice.data, size);
    slice->SetActualDataLength(size);
    slice->SetTime(&unit.start, &unit.stop);
    slice->SetSyncPoint(unit.sync);
    slice->block = std::move(unit.slice.block);
    slice->filled = true;
    Remember(unit.start, unit.slice.size);
    return S_OK;
}

HRESULT SliceAllocator::ReleaseBuffer(IMediaSample* pBuffer) {
    auto* const sample = static_cast<Sample*>(pBuffer);
    sample->block.Reset();
    const bool wasOut = std::exchange(sample->filled, false);
    sample->next = m_returned.load(std::memory_order_relaxed);
    while (
        !m_returned.compare_exchange_weak(sample->next, sample, std::memory_order_release, std::memory_order_relaxed)) {
    }
    if (wasOut && m_back.fetch_add(1) + 1 == m_wakeAt) m_room.Set();
    return S_OK;
}

/// Pictures come in decoding order, so the oldest start may lie ahead of those that follow; the
/// limit's span has room for that.
REFERENCE_TIME SliceAllocator::SpanOut(std::uint64_t back) const {
    return back == m_sent ? 0 : m_latestStart - At(back).start;
}

std::uint64_t SliceAllocator::BytesOut(std::uint64_t back) const {
    return back == m_sent ? 0 : m_bytesSent - At(back).bytesBefore;
}

bool SliceAllocator::Full(std::uint64_t back) const {
    const bool much = m_sent - back >= m_limits.samples || BytesOut(back) >= m_limits.bytes;
    return much && SpanOut(back) >= m_limits.span;
}

bool SliceAllocator::HalfEmpty(std::uint64_t back) const {
    const bool little = m_sent - back <= m_limits.samples / 2 && BytesOut(back) <= m_limits.bytes / 2;
    return little || SpanOut(back) < m_limits.span;
}

SliceAllocator::Sample* SliceAllocator::TakeFree() {
    if (m_free == nullptr) m_free = m_returned.exchange(nullptr, std::memory_order_acquire);
    if (m_free != nullptr) return std::exchange(m_free, m_free->next);
    HRESULT hr = S_OK;
    auto made = std::make_unique<Sample>(this, &hr);
    if (FAILED(hr)) return nullptr;
    m_samples.push_back(std::move(made));
    return m_samples.back().get();
}

void SliceAllocator::Remember(REFERENCE_TIME start, std::size_t size) {
    const std::uint64_t back = m_back;
    if (m_sent - back == m_ring.size()) {
        std::vector<Out> larger(2 * m_ring.size());
        for (std::uint64_t number = back; number < m_sent; ++number) larger[number % larger.size()] = At(number);
        m_ring = std::move(larger);
    }
    m_ring[m_sent % m_ring.size()] = {start, m_bytesSent};
    ++m_sent;
    m_bytesSent += size;
    m_latestStart = std::max(m_latestStart, start);
}

}  // namespace mediakit_tool
