#include "Platform/DirectShow/CMemAllocator.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/Kernel/Memory.h"

#include <new>
#include <utility>

namespace {

/// What pages are aligned to on any system.
constexpr LONG kMaxAlignment = 4096;

/// Bytes in front of a prefix that put what follows it on the alignment.
std::size_t LeadBefore(std::size_t prefix, std::size_t align) { return (align - prefix % align) % align; }

}  // namespace

CBaseAllocator::CBaseAllocator(const char*, IUnknown* pUnk, HRESULT* phr) : CUnknown(pUnk), m_event(true, phr) {}

CBaseAllocator::~CBaseAllocator() {
    if (m_pNotify != nullptr) m_pNotify->Release();
}

HRESULT CBaseAllocator::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMemAllocator) return GetInterface<IMemAllocator>(this, ppv);
    if (riid == IID_IMemAllocatorCallbackTemp) return GetInterface<IMemAllocatorCallbackTemp>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBaseAllocator::SetProperties(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) {
    if (pRequest == nullptr || pActual == nullptr) return E_POINTER;
    *pActual = {};
    CAutoLock lock(&m_lock);
    const LONG align = pRequest->cbAlign;
    if (align <= 0 || align > kMaxAlignment || (align & (align - 1)) != 0) return VFW_E_BADALIGN;
    if (pRequest->cBuffers < 0 || pRequest->cbBuffer < 0 || pRequest->cbPrefix < 0) return E_INVALIDARG;
    if (m_bCommitted) return VFW_E_ALREADY_COMMITTED;
    if (!AllSamplesAreBack()) return VFW_E_BUFFERS_OUTSTANDING;

    const LONGLONG whole = (LONGLONG{pRequest->cbBuffer} + pRequest->cbPrefix + align - 1) & ~(LONGLONG{align} - 1);
    if (whole > 0x7FFFFFFF) return E_INVALIDARG;
    m_lSize = static_cast<LONG>(whole) - pRequest->cbPrefix;
    m_lCount = pRequest->cBuffers;
    m_lAlignment = align;
    m_lPrefix = pRequest->cbPrefix;
    m_bChanged = true;
    *pActual = {m_lCount, m_lSize, m_lAlignment, m_lPrefix};
    return S_OK;
}

HRESULT CBaseAllocator::GetProperties(ALLOCATOR_PROPERTIES* pProps) {
    if (pProps == nullptr) return E_POINTER;
    CAutoLock lock(&m_lock);
    *pProps = {m_lCount, m_lSize, m_lAlignment, m_lPrefix};
    return S_OK;
}

HRESULT CBaseAllocator::Alloc() { return m_lCount <= 0 || m_lSize <= 0 || m_lAlignment <= 0 ? VFW_E_SIZENOTSET : S_OK; }

HRESULT CBaseAllocator::Commit() {
    CAutoLock lock(&m_lock);
    if (m_bCommitted) return S_OK;
    if (m_bDecommitInProgress) {
        // Samples are still out: go on with the buffers there are, and the reference taken for them.
        m_bDecommitInProgress = false;
        m_bCommitted = true;
        return S_OK;
    }
    if (const HRESULT hr = Alloc(); FAILED(hr)) return hr;
    m_bCommitted = true;
    AddRef();
    return S_OK;
}

HRESULT CBaseAllocator::Decommit() {
    {
        CAutoLock lock(&m_lock);
        if (!m_bCommitted) return S_OK;
        m_bCommitted = false;
        WakeWaiting();
        if (!AllSamplesAreBack()) {
            m_bDecommitInProgress = true;
            return S_OK;
        }
        Free();
    }
    Release();
    return S_OK;
}

HRESULT CBaseAllocator::GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME*, REFERENCE_TIME*, DWORD dwFlags) {
    if (ppBuffer == nullptr) return E_POINTER;
    *ppBuffer = nullptr;
    for (bool waited = false;; waited = true) {
        {
            CAutoLock lock(&m_lock);
            if (waited) --m_lWaiting;
            if (!m_bCommitted) return VFW_E_NOT_COMMITTED;
            if (CMediaSample* const sample = m_pFirstFree) {
                m_pFirstFree = std::exchange(sample->m_pNext, nullptr);
                --m_lFree;
                sample->m_cRef = 1;
                *ppBuffer = sample;
                return S_OK;
            }
            if ((dwFlags & AM_GBF_NOWAIT) != 0) return VFW_E_TIMEOUT;
            ++m_lWaiting;
            m_event.Reset();
        }
        m_event.Wait();
    }
}

HRESULT CBaseAllocator::ReleaseBuffer(IMediaSample* pBuffer) {
    if (pBuffer == nullptr) return E_POINTER;
    ComPtr<IMemAllocatorNotifyCallbackTemp> notify;
    bool decommitted = false;
    {
        CAutoLock lock(&m_lock);
        AddFreeSample(static_cast<CMediaSample*>(pBuffer));
        WakeWaiting();
        notify = m_pNotify;
        if (m_bDecommitInProgress && AllSamplesAreBack()) {
            m_bDecommitInProgress = false;
            Free();
            decommitted = true;
        }
    }
    if (notify) notify->NotifyRelease();
    if (decommitted) Release();
    return S_OK;
}

HRESULT CBaseAllocator::SetNotify(IMemAllocatorNotifyCallbackTemp* pNotify) {
    ComPtr<IMemAllocatorNotifyCallbackTemp> old;
    CAutoLock lock(&m_lock);
    if (pNotify != nullptr) pNotify->AddRef();
    old.attach(std::exchange(m_pNotify, pNotify));
    return S_OK;
}

HRESULT CBaseAllocator::GetFreeCount(LONG* plBuffersFree) {
    if (plBuffersFree == nullptr) return E_POINTER;
    CAutoLock lock(&m_lock);
    // Before the first commit all buffers that there will be count as free.
    *plBuffersFree = m_lCount - m_lAllocated + m_lFree;
    return S_OK;
}

void CBaseAllocator::AddFreeSample(CMediaSample* pSample) {
    pSample->m_pNext = std::exchange(m_pFirstFree, pSample);
    ++m_lFree;
}

void CBaseAllocator::ForgetFreeSamples() {
    m_pFirstFree = nullptr;
    m_lFree = 0;
    m_lAllocated = 0;
}

void CBaseAllocator::WakeWaiting() {
    if (m_lWaiting != 0) m_event.Set();
}

CMemAllocator::CMemAllocator(const char* pName, IUnknown* pUnk, HRESULT* phr) : CBaseAllocator(pName, pUnk, phr) {}

CMemAllocator::~CMemAllocator() {
    CAutoLock lock(&m_lock);
    ReallyFree();
}

HRESULT CMemAllocator::Alloc() {
    if (const HRESULT hr = CBaseAllocator::Alloc(); FAILED(hr)) return hr;
    if (!m_bChanged) return S_OK;
    ReallyFree();

    // A multiple of the alignment, so that one lead puts every buffer on it.
    const std::size_t stride = static_cast<std::size_t>(m_lSize) + static_cast<std::size_t>(m_lPrefix);
    const std::size_t lead = LeadBefore(static_cast<std::size_t>(m_lPrefix), static_cast<std::size_t>(m_lAlignment));
    const auto count = static_cast<std::size_t>(m_lCount);
    if (stride > static_cast<std::size_t>(-1) / 2 / count) return E_OUTOFMEMORY;
    m_pBuffer = static_cast<BYTE*>(VirtualAlloc(nullptr, lead + stride * count, MEM_COMMIT, PAGE_READWRITE));
    if (m_pBuffer == nullptr) return E_OUTOFMEMORY;
    m_samples.reserve(count);
    // The first sample made lies at the end of the list, so that they are used in memory order.
    for (std::size_t i = count; i-- != 0;) {
        BYTE* const data = m_pBuffer + lead + i * stride + m_lPrefix;
        m_samples.push_back(std::make_unique<CMediaSample>("CMemAllocator sample", this, nullptr, data, m_lSize));
        AddFreeSample(m_samples.back().get());
        ++m_lAllocated;
    }
    m_bChanged = false;
    return S_OK;
}

void CMemAllocator::Free() {}

void CMemAllocator::ReallyFree() {
    ForgetFreeSamples();
    m_samples.clear();
    if (BYTE* const block = std::exchange(m_pBuffer, nullptr)) VirtualFree(block, 0, MEM_RELEASE);
}

HRESULT CreateMemoryAllocator(IMemAllocator** ppAllocator) {
    if (ppAllocator == nullptr) return E_POINTER;
    *ppAllocator = nullptr;
    HRESULT hr = S_OK;
    auto* const allocator = new (std::nothrow) CMemAllocator("CMemAllocator", nullptr, &hr);
    if (allocator == nullptr) return E_OUTOFMEMORY;
    allocator->AddRef();
    if (FAILED(hr)) {
        allocator->Release();
        return hr;
    }
    *ppAllocator = allocator;
    return S_OK;
}
