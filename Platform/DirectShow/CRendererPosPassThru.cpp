#include "Platform/DirectShow/CRendererPosPassThru.h"

#include "Platform/DirectShow/IMediaSample.h"

CRendererPosPassThru::CRendererPosPassThru(const char* pName, IUnknown* pUnk, HRESULT* phr, IPin* pPin)
    : CPosPassThru(pName, pUnk, phr, pPin) {}

HRESULT CRendererPosPassThru::RegisterMediaTime(IMediaSample* pMediaSample) {
    if (pMediaSample == nullptr) return E_POINTER;
    LONGLONG start = 0;
    LONGLONG end = 0;
    const HRESULT hr = pMediaSample->GetTime(&start, &end);
    return FAILED(hr) ? hr : RegisterMediaTime(start, end);
}

HRESULT CRendererPosPassThru::RegisterMediaTime(LONGLONG StartTime, LONGLONG EndTime) {
    CAutoLock lock(&m_PositionLock);
    m_StartMedia = StartTime;
    m_EndMedia = EndTime;
    m_bReset = false;
    return S_OK;
}

HRESULT CRendererPosPassThru::ResetMediaTime() {
    CAutoLock lock(&m_PositionLock);
    m_StartMedia = 0;
    m_EndMedia = 0;
    m_bReset = true;
    return S_OK;
}

HRESULT CRendererPosPassThru::EOS() {
    {
        CAutoLock lock(&m_PositionLock);
        if (m_bReset) return E_FAIL;
    }
    LONGLONG stop = 0;
    if (const HRESULT hr = GetStopPosition(&stop); FAILED(hr)) return hr;
    return RegisterMediaTime(stop, stop);
}

HRESULT CRendererPosPassThru::GetMediaTime(LONGLONG* pStartTime, LONGLONG* pEndTime) {
    if (pStartTime == nullptr) return E_POINTER;
    CAutoLock lock(&m_PositionLock);
    if (m_bReset) return E_FAIL;
    *pStartTime = m_StartMedia;
    if (pEndTime != nullptr) *pEndTime = m_EndMedia;
    return S_OK;
}
