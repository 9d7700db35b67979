#include "Tools/mediakit/growing_allocator.h"

#include <limits>
#include <new>
#include <utility>

namespace mediakit_tool {

namespace {

/// With a buffer of a fixed size.
class BufferSample final : public CMediaSample {
public:
    BufferSample(IMemAllocator* allocator, LONG size)
        : CMediaSample("Track sample", allocator, nullptr),
          m_buffer(std::make_unique_for_overwrite<BYTE[]>(static_cast<std::size_t>(size))) {
        SetPointer(m_buffer.get(), size);
    }

private:
    const std::unique_ptr<BYTE[]> m_buffer;
};

}  // namespace

HRESULT GrowingAllocator::GetOrMake(IMediaSample** sample) {
    HRESULT hr = CBaseAllocator::GetBuffer(sample, nullptr, nullptr, AM_GBF_NOWAIT);
    while (hr == VFW_E_TIMEOUT) {
        try {
            CAutoLock lock(&m_lock);
            Add();
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        hr = CBaseAllocator::GetBuffer(sample, nullptr, nullptr, AM_GBF_NOWAIT);
    }
    return hr;
}

void GrowingAllocator::Add() {
    m_samples.push_back(MakeSample());
    AddFreeSample(m_samples.back().get());
    ++m_lAllocated;
}

HRESULT GrowingAllocator::Alloc() {
    if (const HRESULT hr = CBaseAllocator::Alloc(); FAILED(hr)) return hr;
    if (!m_bChanged) return S_OK;
    ForgetFreeSamples();
    m_samples.clear();
    try {
        for (LONG i = 0; i < m_lCount; ++i) Add();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    m_bChanged = false;
    return S_OK;
}

HRESULT TrackAllocator::GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME* pStartTime, REFERENCE_TIME* pEndTime,
                                  DWORD dwFlags) {
    for (;;) {
        // Before the look, so that whoever gives one back after it knows.
        m_waiting = true;
        const HRESULT hr = CBaseAllocator::GetBuffer(ppBuffer, pStartTime, pEndTime, dwFlags | AM_GBF_NOWAIT);
        const bool wait = hr == VFW_E_TIMEOUT && (dwFlags & AM_GBF_NOWAIT) == 0;
        if (!wait || !m_crowd.BeginWait(m_wake)) {
            m_waiting = false;
            return wait ? GetOrMake(ppBuffer) : hr;
        }
        m_wake.Wait();
        m_crowd.EndWait(m_wake);
    }
}

HRESULT TrackAllocator::ReleaseBuffer(IMediaSample* pBuffer) {
    // The last sample of a decommitted allocator takes that with it.
    const ComPtr<IMemAllocator> self(this);
    const HRESULT hr = CBaseAllocator::ReleaseBuffer(pBuffer);
    if (m_waiting) m_crowd.Wake(m_wake);
    return hr;
}

HRESULT TrackAllocator::Decommit() {
    const ComPtr<IMemAllocator> self(this);
    const HRESULT hr = CBaseAllocator::Decommit();
    m_crowd.Wake(m_wake);
    return hr;
}

std::unique_ptr<CMediaSample> TrackAllocator::MakeSample() { return std::make_unique<BufferSample>(this, m_lSize); }

HRESULT CopySample::BecomeCopyOf(IMediaSample& original) {
    if (m_bytes.size() > static_cast<std::size_t>(std::numeric_limits<LONG>::max())) return VFW_E_BUFFER_OVERFLOW;
    const auto size = static_cast<LONG>(m_bytes.size());
    REFERENCE_TIME start = 0, stop = 0;
    HRESULT hr = original.GetTime(&start, &stop);
    if (SUCCEEDED(hr)) hr = SetTime(&start, &stop);
    if (SUCCEEDED(hr)) hr = SetPointer(m_bytes.data(), size);
    if (SUCCEEDED(hr)) hr = SetActualDataLength(size);
    if (FAILED(hr)) return hr;
    LONGLONG mediaStart = 0, mediaStop = 0;
    if (SUCCEEDED(original.GetMediaTime(&mediaStart, &mediaStop))) SetMediaTime(&mediaStart, &mediaStop);
    SetSyncPoint(original.IsSyncPoint() == S_OK);
    SetDiscontinuity(original.IsDiscontinuity() == S_OK);
    m_original = ComPtr<IMediaSample>(&original);
    return S_OK;
}

HRESULT CopyAllocator::GetCopy(CopySample** sample) {
    IMediaSample* made = nullptr;
    const HRESULT hr = GetOrMake(&made);
    *sample = static_cast<CopySample*>(made);
    return hr;
}

/// The original goes back last: who gets its buffer may ask for a copy at once.
HRESULT CopyAllocator::ReleaseBuffer(IMediaSample* pBuffer) {
    const ComPtr<IMediaSample> original = std::move(static_cast<CopySample*>(pBuffer)->m_original);
    return CBaseAllocator::ReleaseBuffer(pBuffer);
}

}  // namespace mediakit_tool
