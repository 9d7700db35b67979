#include "Platform/DirectShow/CBaseFilter.h"

#include "Platform/DirectShow/CBasePin.h"
#include "Platform/DirectShow/Enumerators.h"
#include "Platform/DirectShow/TaskString.h"

#include <cwchar>
#include <new>

CBaseFilter::CBaseFilter(const char*, IUnknown* pUnk, CCritSec* pLock, REFCLSID clsid, HRESULT*)
    : CUnknown(pUnk), m_clsid(clsid), m_pLock(pLock) {}

CBaseFilter::~CBaseFilter() {
    if (m_pClock != nullptr) m_pClock->Release();
}

HRESULT CBaseFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IBaseFilter) return GetInterface<IBaseFilter>(this, ppv);
    if (riid == IID_IMediaFilter) return GetInterface<IMediaFilter>(this, ppv);
    if (riid == IID_IPersist) return GetInterface<IPersist>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBaseFilter::GetClassID(CLSID* pClsID) {
    if (pClsID == nullptr) return E_POINTER;
    *pClsID = m_clsid;
    return S_OK;
}

HRESULT CBaseFilter::InactivatePins(int count) {
    HRESULT result = S_OK;
    for (int i = 0; i < count; ++i) {
        CBasePin* const pin = GetPin(i);
        if (pin == nullptr) break;
        if (!pin->IsConnected()) continue;
        const HRESULT hr = pin->Inactive();
        if (FAILED(hr) && SUCCEEDED(result)) result = hr;
    }
    return result;
}

HRESULT CBaseFilter::Stop() {
    CAutoLock lock(m_pLock);
    const HRESULT hr = m_State == State_Stopped ? S_OK : InactivatePins(GetPinCount());
    m_State = State_Stopped;
    return hr;
}

HRESULT CBaseFilter::Pause() {
    CAutoLock lock(m_pLock);
    if (m_State == State_Stopped) {
        const int count = GetPinCount();
        for (int i = 0; i < count; ++i) {
            CBasePin* const pin = GetPin(i);
            if (pin == nullptr) break;
            if (!pin->IsConnected()) continue;
            if (const HRESULT hr = pin->Active(); FAILED(hr)) {
                // The filter stays stopped, so that no Stop would reach the pins that did start.
                InactivatePins(i);
                return hr;
            }
        }
    }
    m_State = State_Paused;
    return S_OK;
}

HRESULT CBaseFilter::Run(REFERENCE_TIME tStart) {
    CAutoLock lock(m_pLock);
    m_tStart = tStart;
    if (m_State == State_Stopped) {
        if (const HRESULT hr = Pause(); FAILED(hr)) return hr;
    }
    if (m_State != State_Running) {
        const int count = GetPinCount();
        for (int i = 0; i < count; ++i) {
            CBasePin* const pin = GetPin(i);
            if (pin == nullptr) break;
            if (!pin->IsConnected()) continue;
            if (const HRESULT hr = pin->Run(tStart); FAILED(hr)) return hr;
        }
    }
    m_State = State_Running;
    return S_OK;
}

HRESULT CBaseFilter::GetState(DWORD, FILTER_STATE* pState) {
    if (pState == nullptr) return E_POINTER;
    *pState = m_State;
    return S_OK;
}

HRESULT CBaseFilter::SetSyncSource(IReferenceClock* pClock) {
    CAutoLock lock(m_pLock);
    if (pClock != nullptr) pClock->AddRef();
    if (m_pClock != nullptr) m_pClock->Release();
    m_pClock = pClock;
    return S_OK;
}

HRESULT CBaseFilter::GetSyncSource(IReferenceClock** ppClock) {
    if (ppClock == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    if (m_pClock != nullptr) m_pClock->AddRef();
    *ppClock = m_pClock;
    return S_OK;
}

HRESULT CBaseFilter::EnumPins(IEnumPins** ppEnum) {
    if (ppEnum == nullptr) return E_POINTER;
    *ppEnum = new (std::nothrow) CEnumPins(this);
    if (*ppEnum == nullptr) return E_OUTOFMEMORY;
    (*ppEnum)->AddRef();
    return S_OK;
}

HRESULT CBaseFilter::FindPin(const wchar_t* Id, IPin** ppPin) {
    if (ppPin == nullptr) return E_POINTER;
    *ppPin = nullptr;
    if (Id == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    const int count = GetPinCount();
    for (int i = 0; i < count; ++i) {
        CBasePin* const pin = GetPin(i);
        if (pin == nullptr) break;
        if (std::wcscmp(pin->Name(), Id) == 0) {
            pin->AddRef();
            *ppPin = pin;
            return S_OK;
        }
    }
    return VFW_E_NOT_FOUND;
}

HRESULT CBaseFilter::QueryFilterInfo(FILTER_INFO* pInfo) {
    if (pInfo == nullptr) return E_POINTER;
    CopyName(m_pName, pInfo->achName, MAX_FILTER_NAME);
    pInfo->pGraph = m_pGraph;
    if (m_pGraph != nullptr) m_pGraph->AddRef();
    return S_OK;
}

HRESULT CBaseFilter::JoinFilterGraph(IFilterGraph* pGraph, const wchar_t* pName) {
    CAutoLock lock(m_pLock);
    m_pGraph = pGraph;
    m_pSink = nullptr;
    if (m_pGraph != nullptr) {
        void* sink = nullptr;
        if (SUCCEEDED(m_pGraph->QueryInterface(IID_IMediaEventSink, &sink))) {
            auto* const events = static_cast<IMediaEventSink*>(sink);
            // The graph counts its filters; a count the other way would keep both for ever.
            events->Release();
            m_pSink = events;
        }
    }
    m_name = pName != nullptr ? pName : L"";
    m_pName = m_name.c_str();
    return S_OK;
}

HRESULT CBaseFilter::QueryVendorInfo(wchar_t**) { return E_NOTIMPL; }

HRESULT CBaseFilter::StreamTime(REFERENCE_TIME& rtStream) {
    if (m_pClock == nullptr) return VFW_E_NO_CLOCK;
    REFERENCE_TIME now = 0;
    const HRESULT hr = m_pClock->GetTime(&now);
    if (FAILED(hr)) return hr;
    rtStream = now - m_tStart;
    return S_OK;
}

LONG CBaseFilter::GetPinVersion() { return m_PinVersion; }

void CBaseFilter::IncrementPinVersion() { ++m_PinVersion; }

HRESULT CBaseFilter::NotifyEvent(LONG EventCode, LONG_PTR EventParam1, LONG_PTR EventParam2) {
    IMediaEventSink* const sink = m_pSink;
    if (sink == nullptr) return E_NOTIMPL;
    if (EventCode == EC_COMPLETE) EventParam2 = reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(this));
    return sink->Notify(EventCode, EventParam1, EventParam2);
}
