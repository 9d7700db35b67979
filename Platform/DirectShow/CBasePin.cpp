#include "Platform/DirectShow/CBasePin.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/Enumerators.h"
#include "Platform/DirectShow/TaskString.h"

#include <limits>
#include <new>
#include <utility>

namespace {

/// What a type that was not accepted is called: the plain refusals become the one that says so.
HRESULT TypeRefusal(HRESULT hr) {
    return SUCCEEDED(hr) || hr == E_FAIL || hr == E_INVALIDARG ? VFW_E_TYPE_NOT_ACCEPTED : hr;
}

/// A failure that says more than "not this type": the search goes on, and ends with it when nothing else fits.
bool IsTelling(HRESULT hr) { return FAILED(hr) && hr != E_FAIL && hr != E_INVALIDARG && hr != VFW_E_TYPE_NOT_ACCEPTED; }

}  // namespace

CBasePin::CBasePin(const char*, CBaseFilter* pFilter, CCritSec* pLock, HRESULT*, const wchar_t* pName,
                   PIN_DIRECTION dir)
    : m_name(pName != nullptr ? pName : L""),
      m_pName(m_name.c_str()),
      m_dir(dir),
      m_pLock(pLock),
      m_pFilter(pFilter),
      m_tStop(std::numeric_limits<REFERENCE_TIME>::max()) {}

CBasePin::~CBasePin() = default;

LONG CBasePin::GetMediaTypeVersion() { return m_TypeVersion; }

void CBasePin::IncrementTypeVersion() { ++m_TypeVersion; }

HRESULT CBasePin::Active() { return S_OK; }

HRESULT CBasePin::Inactive() {
    m_bRunTimeError = false;
    return S_OK;
}

HRESULT CBasePin::Run(REFERENCE_TIME) { return S_OK; }

HRESULT CBasePin::SetMediaType(const CMediaType* pmt) { return m_mt.Set(*pmt); }

HRESULT CBasePin::CheckConnect(IPin* pPin) {
    PIN_DIRECTION direction = PINDIR_INPUT;
    if (const HRESULT hr = pPin->QueryDirection(&direction); FAILED(hr)) return hr;
    return direction == m_dir ? VFW_E_INVALID_DIRECTION : S_OK;
}

HRESULT CBasePin::BreakConnect() { return S_OK; }

HRESULT CBasePin::CompleteConnect(IPin*) { return S_OK; }

HRESULT CBasePin::GetMediaType(int, CMediaType*) { return E_UNEXPECTED; }

HRESULT CBasePin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IPin) return GetInterface<IPin>(this, ppv);
    if (riid == IID_IQualityControl) return GetInterface<IQualityControl>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

ULONG CBasePin::NonDelegatingAddRef() { return m_pFilter->AddRef(); }

ULONG CBasePin::NonDelegatingRelease() { return m_pFilter->Release(); }

HRESULT CBasePin::Connect(IPin* pReceivePin, const AM_MEDIA_TYPE* pmt) {
    if (pReceivePin == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
    if (!IsStopped() && !m_bCanReconnectWhenActive) return VFW_E_NOT_STOPPED;

    const CMediaType wanted = pmt != nullptr ? CMediaType(*pmt) : CMediaType();
    const HRESULT hr = AgreeMediaType(pReceivePin, pmt != nullptr ? &wanted : nullptr);
    if (FAILED(hr)) BreakConnect();
    return hr;
}

HRESULT CBasePin::AgreeMediaType(IPin* pReceivePin, const CMediaType* pmt) {
    if (pmt != nullptr && !pmt->IsPartiallySpecified()) return AttemptConnection(pReceivePin, pmt);

    HRESULT failure = VFW_E_NO_ACCEPTABLE_TYPES;
    IPin* const mine = this;
    for (IPin* const proposer : {m_bTryMyTypesFirst ? mine : pReceivePin, m_bTryMyTypesFirst ? pReceivePin : mine}) {
        ComPtr<IEnumMediaTypes> types;
        if (FAILED(proposer->EnumMediaTypes(types.put()))) continue;
        const HRESULT hr = TryMediaTypes(pReceivePin, pmt, types.get());
        if (SUCCEEDED(hr)) return S_OK;
        if (IsTelling(hr)) failure = hr;
    }
    return failure;
}

HRESULT CBasePin::TryMediaTypes(IPin* pReceivePin, const CMediaType* pmt, IEnumMediaTypes* pEnum) {
    if (const HRESULT hr = pEnum->Reset(); FAILED(hr)) return hr;
    HRESULT failure = S_OK;
    AM_MEDIA_TYPE* next = nullptr;
    while (pEnum->Next(1, &next, nullptr) == S_OK) {
        const CMediaType type(*next);
        DeleteMediaType(next);
        if (pmt != nullptr && !type.MatchesPartial(pmt)) continue;
        const HRESULT hr = AttemptConnection(pReceivePin, &type);
        if (SUCCEEDED(hr)) return S_OK;
        if (IsTelling(hr) && SUCCEEDED(failure)) failure = hr;
    }
    return SUCCEEDED(failure) ? VFW_E_NO_ACCEPTABLE_TYPES : failure;
}

HRESULT CBasePin::AttemptConnection(IPin* pReceivePin, const CMediaType* pmt) {
    HRESULT hr = CheckConnect(pReceivePin);
    if (FAILED(hr)) {
        BreakConnect();
        return hr;
    }
    hr = CheckMediaType(pmt);
    if (hr != S_OK) {
        BreakConnect();
        return TypeRefusal(hr);
    }
    m_Connected = pReceivePin;
    m_Connected->AddRef();
    hr = SetMediaType(pmt);
    if (SUCCEEDED(hr)) {
        hr = pReceivePin->ReceiveConnection(this, pmt);
        if (SUCCEEDED(hr)) {
            hr = CompleteConnect(pReceivePin);
            if (SUCCEEDED(hr)) return hr;
            pReceivePin->Disconnect();
        }
    }
    BreakConnect();
    LetGoOfPeer();
    return hr;
}

HRESULT CBasePin::ReceiveConnection(IPin* pConnector, const AM_MEDIA_TYPE* pmt) {
    if (pConnector == nullptr || pmt == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    if (IsConnected()) return VFW_E_ALREADY_CONNECTED;
    if (!IsStopped() && !m_bCanReconnectWhenActive) return VFW_E_NOT_STOPPED;

    HRESULT hr = CheckConnect(pConnector);
    if (FAILED(hr)) {
        BreakConnect();
        return hr;
    }
    const CMediaType type(*pmt);
    hr = CheckMediaType(&type);
    if (hr != S_OK) {
        BreakConnect();
        return TypeRefusal(hr);
    }
    m_Connected = pConnector;
    m_Connected->AddRef();
    hr = SetMediaType(&type);
    if (SUCCEEDED(hr)) {
        hr = CompleteConnect(pConnector);
        if (SUCCEEDED(hr)) return S_OK;
    }
    BreakConnect();
    LetGoOfPeer();
    return hr;
}

HRESULT CBasePin::Disconnect() {
    CAutoLock lock(m_pLock);
    return IsStopped() ? DisconnectInternal() : VFW_E_NOT_STOPPED;
}

HRESULT CBasePin::DisconnectInternal() {
    if (!IsConnected()) return S_FALSE;
    if (const HRESULT hr = BreakConnect(); FAILED(hr)) return hr;
    LetGoOfPeer();
    return S_OK;
}

void CBasePin::LetGoOfPeer() {
    if (IPin* const peer = std::exchange(m_Connected, nullptr)) peer->Release();
}

HRESULT CBasePin::ConnectedTo(IPin** pPin) {
    if (pPin == nullptr) return E_POINTER;
    *pPin = m_Connected;
    if (m_Connected == nullptr) return VFW_E_NOT_CONNECTED;
    m_Connected->AddRef();
    return S_OK;
}

HRESULT CBasePin::ConnectionMediaType(AM_MEDIA_TYPE* pmt) {
    if (pmt == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    if (IsConnected()) return CopyMediaType(pmt, &m_mt);
    *pmt = {};
    return VFW_E_NOT_CONNECTED;
}

HRESULT CBasePin::QueryPinInfo(PIN_INFO* pInfo) {
    if (pInfo == nullptr) return E_POINTER;
    pInfo->pFilter = m_pFilter;
    m_pFilter->AddRef();
    CopyName(m_pName, pInfo->achName, MAX_PIN_NAME);
    pInfo->dir = m_dir;
    return S_OK;
}

HRESULT CBasePin::QueryDirection(PIN_DIRECTION* pPinDir) {
    if (pPinDir == nullptr) return E_POINTER;
    *pPinDir = m_dir;
    return S_OK;
}

HRESULT CBasePin::QueryId(wchar_t** Id) { return AMGetWideString(m_pName, Id); }

HRESULT CBasePin::QueryAccept(const AM_MEDIA_TYPE* pmt) {
    if (pmt == nullptr) return E_POINTER;
    const CMediaType type(*pmt);
    const HRESULT hr = CheckMediaType(&type);
    return FAILED(hr) ? S_FALSE : hr;
}

HRESULT CBasePin::EnumMediaTypes(IEnumMediaTypes** ppEnum) {
    if (ppEnum == nullptr) return E_POINTER;
    *ppEnum = new (std::nothrow) CEnumMediaTypes(this);
    if (*ppEnum == nullptr) return E_OUTOFMEMORY;
    (*ppEnum)->AddRef();
    return S_OK;
}

HRESULT CBasePin::QueryInternalConnections(IPin**, ULONG*) { return E_NOTIMPL; }

HRESULT CBasePin::EndOfStream() { return S_OK; }

HRESULT CBasePin::NewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) {
    m_tStart = tStart;
    m_tStop = tStop;
    m_dRate = dRate;
    return S_OK;
}

HRESULT CBasePin::Notify(IBaseFilter*, Quality) { return E_NOTIMPL; }

HRESULT CBasePin::SetSink(IQualityControl* piqc) {
    CAutoLock lock(m_pLock);
    m_pQSink = piqc;
    return S_OK;
}
