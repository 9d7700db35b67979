#include "Tools/mediakit/copy_allocator.h"

#include <limits>
#include <utility>

namespace mediakit_tool {

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
    IMediaSample* free = nullptr;
    const HRESULT hr = GetBuffer(&free, nullptr, nullptr, AM_GBF_NOWAIT);
    *sample = static_cast<CopySample*>(free);
    return hr;
}

/// The original goes back last: who gets its buffer may ask for a copy at once.
HRESULT CopyAllocator::ReleaseBuffer(IMediaSample* pBuffer) {
    const ComPtr<IMediaSample> original = std::move(static_cast<CopySample*>(pBuffer)->m_original);
    return CBaseAllocator::ReleaseBuffer(pBuffer);
}

HRESULT CopyAllocator::Alloc() {
    if (const HRESULT hr = CBaseAllocator::Alloc(); FAILED(hr)) return hr;
    if (!m_bChanged) return S_OK;
    ForgetFreeSamples();
    m_samples.clear();
    for (LONG i = 0; i < m_lCount; ++i) {
        m_samples.push_back(std::make_unique<CopySample>(this));
        AddFreeSample(m_samples.back().get());
        ++m_lAllocated;
    }
    m_bChanged = false;
    return S_OK;
}

}  // namespace mediakit_tool
