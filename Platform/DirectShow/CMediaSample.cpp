#include "Platform/DirectShow/CMediaSample.h"

#include "Platform/DirectShow/IMemAllocator.h"

#include <algorithm>
#include <cstring>

namespace {

/// Flags that a record of properties may set; media times travel by SetMediaTime alone.
constexpr DWORD kPropertyFlags = AM_SAMPLE_SPLICEPOINT | AM_SAMPLE_PREROLL | AM_SAMPLE_DATADISCONTINUITY |
                                 AM_SAMPLE_TIMEVALID | AM_SAMPLE_TIMEDISCONTINUITY | AM_SAMPLE_FLUSH_ON_PAUSE |
                                 AM_SAMPLE_STOPVALID | AM_SAMPLE_ENDOFSTREAM;

}  // namespace

CMediaSample::CMediaSample(const char*, IMemAllocator* pAllocator, HRESULT* phr, BYTE* pBuffer, LONG length)
    : m_pAllocator(pAllocator), m_pBuffer(pBuffer), m_cbBuffer(length), m_lActual(length) {
    if (length < 0 && phr != nullptr) *phr = VFW_E_BUFFER_OVERFLOW;
}

CMediaSample::~CMediaSample() = default;

HRESULT CMediaSample::SetPointer(BYTE* ptr, LONG cBytes) {
    m_pBuffer = ptr;
    m_cbBuffer = cBytes;
    m_lActual = cBytes;
    return S_OK;
}

HRESULT CMediaSample::QueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMediaSample2) return GetInterface<IMediaSample2>(this, ppv);
    if (riid == IID_IMediaSample) return GetInterface<IMediaSample>(this, ppv);
    if (riid == IID_IUnknown) return GetInterface<IUnknown>(this, ppv);
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    return E_NOINTERFACE;
}

ULONG CMediaSample::AddRef() { return static_cast<ULONG>(m_cRef.fetch_add(1, std::memory_order_relaxed) + 1); }

ULONG CMediaSample::Release() {
    const LONG left = m_cRef.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        Empty();
        // From here the sample may be another thread's, or gone.
        m_pAllocator->ReleaseBuffer(this);
    }
    return static_cast<ULONG>(left);
}

/// The buffer's size and length stay: the allocator, or the next holder, sets them.
void CMediaSample::Empty() {
    m_pMediaType.reset();
    m_dwFlags = 0;
    m_dwTypeSpecificFlags = 0;
    m_dwStreamId = AM_STREAM_MEDIA;
}

HRESULT CMediaSample::HasFlag(DWORD flag) const { return (m_dwFlags & flag) != 0 ? S_OK : S_FALSE; }

void CMediaSample::SetFlag(DWORD flag, bool on) { m_dwFlags = on ? m_dwFlags | flag : m_dwFlags & ~flag; }

HRESULT CMediaSample::GetPointer(BYTE** ppBuffer) {
    if (ppBuffer == nullptr) return E_POINTER;
    *ppBuffer = m_pBuffer;
    return S_OK;
}

LONG CMediaSample::GetSize() { return m_cbBuffer; }

HRESULT CMediaSample::GetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) {
    if (pTimeStart == nullptr || pTimeEnd == nullptr) return E_POINTER;
    if ((m_dwFlags & (AM_SAMPLE_TIMEVALID | AM_SAMPLE_STOPVALID)) == 0) return VFW_E_SAMPLE_TIME_NOT_SET;
    *pTimeStart = m_Start;
    if ((m_dwFlags & AM_SAMPLE_STOPVALID) == 0) {
        *pTimeEnd = m_Start + 1;
        return VFW_S_NO_STOP_TIME;
    }
    *pTimeEnd = m_End;
    return S_OK;
}

HRESULT CMediaSample::SetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) {
    SetFlag(AM_SAMPLE_TIMEVALID, pTimeStart != nullptr);
    SetFlag(AM_SAMPLE_STOPVALID, pTimeStart != nullptr && pTimeEnd != nullptr);
    if (pTimeStart != nullptr) m_Start = *pTimeStart;
    if (pTimeStart != nullptr && pTimeEnd != nullptr) m_End = *pTimeEnd;
    return S_OK;
}

HRESULT CMediaSample::IsSyncPoint() { return HasFlag(AM_SAMPLE_SPLICEPOINT); }

HRESULT CMediaSample::SetSyncPoint(BOOL bIsSyncPoint) {
    SetFlag(AM_SAMPLE_SPLICEPOINT, bIsSyncPoint != FALSE);
    return S_OK;
}

HRESULT CMediaSample::IsPreroll() { return HasFlag(AM_SAMPLE_PREROLL); }

HRESULT CMediaSample::SetPreroll(BOOL bIsPreroll) {
    SetFlag(AM_SAMPLE_PREROLL, bIsPreroll != FALSE);
    return S_OK;
}

LONG CMediaSample::GetActualDataLength() { return m_lActual; }

HRESULT CMediaSample::SetActualDataLength(LONG lActual) {
    if (lActual > m_cbBuffer) return VFW_E_BUFFER_OVERFLOW;
    m_lActual = lActual;
    return S_OK;
}

HRESULT CMediaSample::GetMediaType(AM_MEDIA_TYPE** ppMediaType) {
    if (ppMediaType == nullptr) return E_POINTER;
    *ppMediaType = nullptr;
    if (!m_pMediaType) return S_FALSE;
    *ppMediaType = CreateMediaType(m_pMediaType.get());
    return *ppMediaType != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT CMediaSample::SetMediaType(AM_MEDIA_TYPE* pMediaType) {
    // Copied before the old one goes: it may be the same.
    m_pMediaType.reset(pMediaType != nullptr ? CreateMediaType(pMediaType) : nullptr);
    SetFlag(AM_SAMPLE_TYPECHANGED, m_pMediaType != nullptr);
    return pMediaType != nullptr && !m_pMediaType ? E_OUTOFMEMORY : S_OK;
}

HRESULT CMediaSample::IsDiscontinuity() { return HasFlag(AM_SAMPLE_DATADISCONTINUITY); }

HRESULT CMediaSample::SetDiscontinuity(BOOL bDiscontinuity) {
    SetFlag(AM_SAMPLE_DATADISCONTINUITY, bDiscontinuity != FALSE);
    return S_OK;
}

HRESULT CMediaSample::GetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) {
    if (pTimeStart == nullptr || pTimeEnd == nullptr) return E_POINTER;
    if ((m_dwFlags & AM_SAMPLE_MEDIATIMEVALID) == 0) return VFW_E_MEDIA_TIME_NOT_SET;
    *pTimeStart = m_MediaStart;
    *pTimeEnd = static_cast<LONGLONG>(static_cast<ULONGLONG>(m_MediaStart) + static_cast<ULONGLONG>(m_MediaEnd));
    return S_OK;
}

HRESULT CMediaSample::SetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) {
    if (pTimeStart == nullptr) {
        SetFlag(AM_SAMPLE_MEDIATIMEVALID, false);
        return S_OK;
    }
    if (pTimeEnd == nullptr) return E_POINTER;
    m_MediaStart = *pTimeStart;
    // Times out of a file may be anywhere: the distance wraps.
    m_MediaEnd = static_cast<LONG>(static_cast<ULONGLONG>(*pTimeEnd) - static_cast<ULONGLONG>(*pTimeStart));
    SetFlag(AM_SAMPLE_MEDIATIMEVALID, true);
    return S_OK;
}

HRESULT CMediaSample::GetProperties(DWORD cbProperties, BYTE* pbProperties) {
    if (cbProperties == 0) return S_OK;
    if (pbProperties == nullptr) return E_POINTER;
    AM_SAMPLE2_PROPERTIES props{};
    props.cbData = std::min<DWORD>(cbProperties, sizeof props);
    props.dwTypeSpecificFlags = m_dwTypeSpecificFlags;
    props.dwSampleFlags = m_dwFlags & (kPropertyFlags | AM_SAMPLE_TYPECHANGED);
    props.lActual = m_lActual;
    props.tStart = m_Start;
    props.tStop = m_End;
    props.dwStreamId = m_dwStreamId;
    props.pMediaType = m_pMediaType.get();
    props.pbBuffer = m_pBuffer;
    props.cbBuffer = m_cbBuffer;
    std::memcpy(pbProperties, &props, props.cbData);
    return S_OK;
}

HRESULT CMediaSample::SetProperties(DWORD cbProperties, const BYTE* pbProperties) {
    if (cbProperties == 0) return S_OK;
    if (pbProperties == nullptr) return E_POINTER;
    AM_SAMPLE2_PROPERTIES props{};
    std::memcpy(&props, pbProperties, std::min<std::size_t>(cbProperties, sizeof props));
    const auto given = [&](const auto& member) {
        const auto end = reinterpret_cast<const BYTE*>(&member + 1) - reinterpret_cast<const BYTE*>(&props);
        return static_cast<DWORD>(end) <= cbProperties;
    };

    // The memory is the allocator's and is not exchanged.
    if (given(props.pbBuffer) && props.pbBuffer != nullptr && props.pbBuffer != m_pBuffer) return E_INVALIDARG;
    if (given(props.cbBuffer) && props.cbBuffer != 0 && props.cbBuffer != m_cbBuffer) return E_INVALIDARG;
    if (given(props.lActual)) {
        if (const HRESULT hr = SetActualDataLength(props.lActual); FAILED(hr)) return hr;
    }
    if (given(props.pMediaType)) {
        if (const HRESULT hr = SetMediaType(props.pMediaType); FAILED(hr)) return hr;
    }
    if (given(props.dwTypeSpecificFlags)) m_dwTypeSpecificFlags = props.dwTypeSpecificFlags;
    if (given(props.dwSampleFlags)) m_dwFlags = (m_dwFlags & ~kPropertyFlags) | (props.dwSampleFlags & kPropertyFlags);
    if (given(props.tStart)) m_Start = props.tStart;
    if (given(props.tStop)) m_End = props.tStop;
    if (given(props.dwStreamId)) m_dwStreamId = props.dwStreamId;
    return S_OK;
}
