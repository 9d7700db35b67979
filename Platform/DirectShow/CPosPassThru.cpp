#include "Platform/DirectShow/CPosPassThru.h"

CPosPassThru::CPosPassThru(const char*, IUnknown* pUnk, HRESULT* phr, IPin* pPin) : CUnknown(pUnk), m_pPin(pPin) {
    if (pPin == nullptr && phr != nullptr) *phr = E_POINTER;
}

HRESULT CPosPassThru::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMediaSeeking) return GetInterface<IMediaSeeking>(this, ppv);
    if (riid == IID_IMediaPosition) return GetInterface<IMediaPosition>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

template <class Interface>
ComPtr<Interface> CPosPassThru::Peer() const {
    ComPtr<IPin> connected;
    if (FAILED(m_pPin->ConnectedTo(connected.put()))) return {};
    return connected.query<Interface>();
}

template <class Interface, class Operation, class... Args>
HRESULT CPosPassThru::Forward(Operation operation, Args... args) const {
    const auto peer = Peer<Interface>();
    return peer ? (peer.get()->*operation)(args...) : E_NOTIMPL;
}

HRESULT CPosPassThru::GetMediaTime(LONGLONG*, LONGLONG*) { return E_FAIL; }

HRESULT CPosPassThru::GetCapabilities(DWORD* pCapabilities) {
    return Forward<IMediaSeeking>(&IMediaSeeking::GetCapabilities, pCapabilities);
}

HRESULT CPosPassThru::CheckCapabilities(DWORD* pCapabilities) {
    return Forward<IMediaSeeking>(&IMediaSeeking::CheckCapabilities, pCapabilities);
}

HRESULT CPosPassThru::IsFormatSupported(const GUID* pFormat) {
    return Forward<IMediaSeeking>(&IMediaSeeking::IsFormatSupported, pFormat);
}

HRESULT CPosPassThru::QueryPreferredFormat(GUID* pFormat) {
    return Forward<IMediaSeeking>(&IMediaSeeking::QueryPreferredFormat, pFormat);
}

HRESULT CPosPassThru::GetTimeFormat(GUID* pFormat) {
    return Forward<IMediaSeeking>(&IMediaSeeking::GetTimeFormat, pFormat);
}

HRESULT CPosPassThru::IsUsingTimeFormat(const GUID* pFormat) {
    return Forward<IMediaSeeking>(&IMediaSeeking::IsUsingTimeFormat, pFormat);
}

HRESULT CPosPassThru::SetTimeFormat(const GUID* pFormat) {
    return Forward<IMediaSeeking>(&IMediaSeeking::SetTimeFormat, pFormat);
}

HRESULT CPosPassThru::GetDuration(LONGLONG* pDuration) {
    return Forward<IMediaSeeking>(&IMediaSeeking::GetDuration, pDuration);
}

HRESULT CPosPassThru::GetStopPosition(LONGLONG* pStop) {
    return Forward<IMediaSeeking>(&IMediaSeeking::GetStopPosition, pStop);
}

HRESULT CPosPassThru::GetCurrentPosition(LONGLONG* pCurrent) {
    if (pCurrent == nullptr) return E_POINTER;
    if (GetMediaTime(pCurrent, nullptr) == S_OK) return S_OK;
    return Forward<IMediaSeeking>(&IMediaSeeking::GetCurrentPosition, pCurrent);
}

HRESULT CPosPassThru::ConvertTimeFormat(LONGLONG* pTarget, const GUID* pTargetFormat, LONGLONG Source,
                                        const GUID* pSourceFormat) {
    return Forward<IMediaSeeking>(&IMediaSeeking::ConvertTimeFormat, pTarget, pTargetFormat, Source, pSourceFormat);
}

HRESULT CPosPassThru::SetPositions(LONGLONG* pCurrent, DWORD CurrentFlags, LONGLONG* pStop, DWORD StopFlags) {
    return Forward<IMediaSeeking>(&IMediaSeeking::SetPositions, pCurrent, CurrentFlags, pStop, StopFlags);
}

HRESULT CPosPassThru::GetPositions(LONGLONG* pCurrent, LONGLONG* pStop) {
    return Forward<IMediaSeeking>(&IMediaSeeking::GetPositions, pCurrent, pStop);
}

HRESULT CPosPassThru::GetAvailable(LONGLONG* pEarliest, LONGLONG* pLatest) {
    return Forward<IMediaSeeking>(&IMediaSeeking::GetAvailable, pEarliest, pLatest);
}

HRESULT CPosPassThru::SetRate(double dRate) { return Forward<IMediaSeeking>(&IMediaSeeking::SetRate, dRate); }

HRESULT CPosPassThru::GetRate(double* pdRate) { return Forward<IMediaSeeking>(&IMediaSeeking::GetRate, pdRate); }

HRESULT CPosPassThru::GetPreroll(LONGLONG* pPreroll) {
    return Forward<IMediaSeeking>(&IMediaSeeking::GetPreroll, pPreroll);
}

HRESULT CPosPassThru::get_Duration(REFTIME* plength) {
    return Forward<IMediaPosition>(&IMediaPosition::get_Duration, plength);
}

HRESULT CPosPassThru::put_CurrentPosition(REFTIME llTime) {
    return Forward<IMediaPosition>(&IMediaPosition::put_CurrentPosition, llTime);
}

HRESULT CPosPassThru::get_CurrentPosition(REFTIME* pllTime) {
    return Forward<IMediaPosition>(&IMediaPosition::get_CurrentPosition, pllTime);
}

HRESULT CPosPassThru::get_StopTime(REFTIME* pllTime) {
    return Forward<IMediaPosition>(&IMediaPosition::get_StopTime, pllTime);
}

HRESULT CPosPassThru::put_StopTime(REFTIME llTime) {
    return Forward<IMediaPosition>(&IMediaPosition::put_StopTime, llTime);
}

HRESULT CPosPassThru::get_PrerollTime(REFTIME* pllTime) {
    return Forward<IMediaPosition>(&IMediaPosition::get_PrerollTime, pllTime);
}

HRESULT CPosPassThru::put_PrerollTime(REFTIME llTime) {
    return Forward<IMediaPosition>(&IMediaPosition::put_PrerollTime, llTime);
}

HRESULT CPosPassThru::put_Rate(double dRate) { return Forward<IMediaPosition>(&IMediaPosition::put_Rate, dRate); }

HRESULT CPosPassThru::get_Rate(double* pdRate) { return Forward<IMediaPosition>(&IMediaPosition::get_Rate, pdRate); }

HRESULT CPosPassThru::CanSeekForward(LONG* pCanSeekForward) {
    return Forward<IMediaPosition>(&IMediaPosition::CanSeekForward, pCanSeekForward);
}

HRESULT CPosPassThru::CanSeekBackward(LONG* pCanSeekBackward) {
    return Forward<IMediaPosition>(&IMediaPosition::CanSeekBackward, pCanSeekBackward);
}
