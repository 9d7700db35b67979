#include "Tools/mediakit/slice_allocator.h"

#include <algorithm>
#include <utility>

namespace mediakit_tool {

class SliceAllocator::Sample final : public CMediaSample {
public:
    explicit Sample(SliceAllocator* allocator, HRESULT* phr) : CMediaSample("Slice", allocator, phr) {}

    BlockRef block;
    std::size_t size = 0;
    bool filled = false;
};

SliceAllocator::SliceAllocator(const Limits& limits) : m_limits(limits), m_starts(limits.samples) {}

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
    CAutoLock lock(&m_lock);
    m_committed = true;
    return S_OK;
}

HRESULT SliceAllocator::Decommit() {
    CAutoLock lock(&m_lock);
    m_committed = false;
    m_room.Set();
    return S_OK;
}

HRESULT SliceAllocator::GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME*, REFERENCE_TIME*, DWORD dwFlags) {
    if (ppBuffer == nullptr) return E_POINTER;
    *ppBuffer = nullptr;
    for (;;) {
        {
            CAutoLock lock(&m_lock);
            if (!m_committed) return VFW_E_NOT_COMMITTED;
            if (!Full()) {
                Sample* const sample = TakeFree();
                if (sample == nullptr) return E_OUTOFMEMORY;
                sample->AddRef();
                *ppBuffer = sample;
                return S_OK;
            }
            if ((dwFlags & AM_GBF_NOWAIT) != 0) return VFW_E_TIMEOUT;
            m_waiting = true;
            m_room.Reset();
        }
        m_room.Wait();
    }
}

HRESULT SliceAllocator::Fill(IMediaSample* sample, Unit& unit) {
    auto* const slice = static_cast<Sample*>(sample);
    const auto size = static_cast<LONG>(unit.slice.size);
    slice->SetPointer(unit.slice.data, size);
    slice->SetActualDataLength(size);
    slice->SetTime(&unit.start, &unit.stop);
    slice->SetSyncPoint(unit.sync);
    slice->block = std::move(unit.slice.block);
    slice->size = unit.slice.size;
    slice->filled = true;
    CAutoLock lock(&m_lock);
    PushStart(unit.start);
    m_bytesOut += slice->size;
    return S_OK;
}

HRESULT SliceAllocator::ReleaseBuffer(IMediaSample* pBuffer) {
    auto* const sample = static_cast<Sample*>(pBuffer);
    const BlockRef block = std::move(sample->block);  // goes back to its pool without this lock
    CAutoLock lock(&m_lock);
    if (std::exchange(sample->filled, false)) {
        m_firstStart = (m_firstStart + 1) % m_starts.size();
        --m_out;
        m_bytesOut -= sample->size;
    }
    m_free.push_back(sample);
    if (m_waiting && HalfEmpty()) {
        m_waiting = false;
        m_room.Set();
    }
    return S_OK;
}

/// Pictures come in decoding order, so the oldest start may lie ahead of those that follow; the
/// limit's span has room for that.
REFERENCE_TIME SliceAllocator::SpanOut() const { return m_out == 0 ? 0 : m_latestStart - m_starts[m_firstStart]; }

bool SliceAllocator::Full() const {
    return (m_out >= m_limits.samples || m_bytesOut >= m_limits.bytes) && SpanOut() >= m_limits.span;
}

bool SliceAllocator::HalfEmpty() const {
    return (m_out <= m_limits.samples / 2 && m_bytesOut <= m_limits.bytes / 2) || SpanOut() < m_limits.span;
}

SliceAllocator::Sample* SliceAllocator::TakeFree() {
    if (m_free.empty()) {
        HRESULT hr = S_OK;
        auto made = std::make_unique<Sample>(this, &hr);
        if (FAILED(hr)) return nullptr;
        m_free.reserve(m_samples.size() + 1);
        m_free.push_back(made.get());
        m_samples.push_back(std::move(made));
    }
    Sample* const sample = m_free.back();
    m_free.pop_back();
    return sample;
}

void SliceAllocator::PushStart(REFERENCE_TIME start) {
    if (m_out == m_starts.size()) {
        std::rotate(m_starts.begin(), m_starts.begin() + static_cast<std::ptrdiff_t>(m_firstStart), m_starts.end());
        m_firstStart = 0;
        m_starts.resize(2 * m_starts.size());
    }
    m_starts[(m_firstStart + m_out) % m_starts.size()] = start;
    ++m_out;
    m_latestStart = std::max(m_latestStart, start);
}

}  // namespace mediakit_tool
