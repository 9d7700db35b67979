#include "Platform/DirectShow/CSourceSeeking.h"

#include <limits>

namespace {

bool IsMediaTime(const GUID* format) { return format == nullptr || *format == TIME_FORMAT_MEDIA_TIME; }

/// The ends of the range for what lies outside.
LONGLONG Moved(LONGLONG position, LONGLONG distance) {
    using range = std::numeric_limits<LONGLONG>;
    if (distance > 0 && position > range::max() - distance) return range::max();
    if (distance < 0 && position < range::min() - distance) return range::min();
    return position + distance;
}

}  // namespace

CSourceSeeking::CSourceSeeking(const char*, IUnknown* pUnk, HRESULT*, CCritSec* pLock)
    : CUnknown(pUnk), m_pLock(pLock) {}

HRESULT CSourceSeeking::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMediaSeeking) return GetInterface<IMediaSeeking>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CSourceSeeking::GetCapabilities(DWORD* pCapabilities) {
    if (pCapabilities == nullptr) return E_POINTER;
    *pCapabilities = m_dwSeekingCaps;
    return S_OK;
}

HRESULT CSourceSeeking::CheckCapabilities(DWORD* pCapabilities) {
    if (pCapabilities == nullptr) return E_POINTER;
    return (*pCapabilities & ~m_dwSeekingCaps) == 0 ? S_OK : S_FALSE;
}

HRESULT CSourceSeeking::IsFormatSupported(const GUID* pFormat) {
    if (pFormat == nullptr) return E_POINTER;
    return IsMediaTime(pFormat) ? S_OK : S_FALSE;
}

HRESULT CSourceSeeking::QueryPreferredFormat(GUID* pFormat) { return GetTimeFormat(pFormat); }

HRESULT CSourceSeeking::GetTimeFormat(GUID* pFormat) {
    if (pFormat == nullptr) return E_POINTER;
    *pFormat = TIME_FORMAT_MEDIA_TIME;
    return S_OK;
}

HRESULT CSourceSeeking::IsUsingTimeFormat(const GUID* pFormat) { return IsFormatSupported(pFormat); }

HRESULT CSourceSeeking::SetTimeFormat(const GUID* pFormat) {
    if (pFormat == nullptr) return E_POINTER;
    return IsMediaTime(pFormat) ? S_OK : E_INVALIDARG;
}

HRESULT CSourceSeeking::GetDuration(LONGLONG* pDuration) {
    if (pDuration == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    *pDuration = m_rtDuration;
    return S_OK;
}

HRESULT CSourceSeeking::GetStopPosition(LONGLONG* pStop) {
    if (pStop == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    *pStop = m_rtStop;
    return S_OK;
}

HRESULT CSourceSeeking::GetCurrentPosition(LONGLONG*) { return E_NOTIMPL; }

HRESULT CSourceSeeking::ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                                          const GUID* pSourceFormat) {
    if (pTarget == nullptr) return E_POINTER;
    if (!IsMediaTime(pTargetFormat) || !IsMediaTime(pSourceFormat)) return E_INVALIDARG;
    *pTarget = Source;
    return S_OK;
}

HRESULT CSourceSeeking::SetPositions(LONGLONG* pCurrent, DWORD CurrentFlags, LONGLONG* pStop, DWORD StopFlags) {
    const DWORD start = CurrentFlags & AM_SEEKING_PositioningBitsMask;
    const DWORD stop = StopFlags & AM_SEEKING_PositioningBitsMask;
    if (StopFlags != 0) {
        if (pStop == nullptr) return E_POINTER;
        if (stop != StopFlags) return E_INVALIDARG;
    }
    if (CurrentFlags != 0) {
        if (pCurrent == nullptr) return E_POINTER;
        if (start != AM_SEEKING_AbsolutePositioning && start != AM_SEEKING_RelativePositioning) return E_INVALIDARG;
    }
    {
        CAutoLock lock(m_pLock);
        if (start == AM_SEEKING_AbsolutePositioning) m_rtStart = *pCurrent;
        if (start == AM_SEEKING_RelativePositioning) m_rtStart = Moved(m_rtStart, *pCurrent);
        if (stop == AM_SEEKING_AbsolutePositioning) m_rtStop = *pStop;
        if (stop == AM_SEEKING_RelativePositioning) m_rtStop = Moved(m_rtStop, *pStop);
        if (stop == AM_SEEKING_IncrementalPositioning) m_rtStop = Moved(m_rtStart, *pStop);
        if ((CurrentFlags & AM_SEEKING_ReturnTime) != 0) *pCurrent = m_rtStart;
    }
    if (start != 0) return ChangeStart();
    return stop != 0 ? ChangeStop() : S_OK;
}

HRESULT CSourceSeeking::GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) {
    CAutoLock lock(m_pLock);
    if (pCurrent != nullptr) *pCurrent = m_rtStart;
    if (pStop != nullptr) *pStop = m_rtStop;
    return S_OK;
}

HRESULT CSourceSeeking::GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) {
    if (pEarliest != nullptr) *pEarliest = 0;
    if (pLatest != nullptr) {
        CAutoLock lock(m_pLock);
        *pLatest = m_rtDuration;
    }
    return S_OK;
}

HRESULT CSourceSeeking::SetRate(double dRate) {
    {
        CAutoLock lock(m_pLock);
        m_dRateSeeking = dRate;
    }
    return ChangeRate();
}

HRESULT CSourceSeeking::GetRate(double* pdRate) {
    if (pdRate == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    *pdRate = m_dRateSeeking;
    return S_OK;
}

HRESULT CSourceSeeking::GetPreroll(LONGLONG* pPreroll) {
    if (pPreroll == nullptr) return E_POINTER;
    *pPreroll = 0;
    return S_OK;
}
