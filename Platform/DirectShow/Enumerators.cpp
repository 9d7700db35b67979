#include "Platform/DirectShow/Enumerators.h"

#include "Platform/DirectShow/CBasePin.h"

#include <new>

namespace {

/// The arguments of any enumerator's Next: a missing count is allowed for one item.
HRESULT CheckNext(ULONG wanted, void* items, ULONG* pcFetched) {
    if (items == nullptr) return E_POINTER;
    if (pcFetched != nullptr) {
        *pcFetched = 0;
    } else if (wanted > 1) {
        return E_INVALIDARG;
    }
    return S_OK;
}

template <class Enumerator, class Interface, class Source>
HRESULT CloneEnumerator(Source* source, const Enumerator* from, Interface** ppEnum) {
    if (ppEnum == nullptr) return E_POINTER;
    *ppEnum = new (std::nothrow) Enumerator(source, from);
    if (*ppEnum == nullptr) return E_OUTOFMEMORY;
    (*ppEnum)->AddRef();
    return S_OK;
}

}  // namespace

CEnumPins::CEnumPins(CBaseFilter* pFilter, const CEnumPins* from) : m_pFilter(pFilter) {
    m_pFilter->AddRef();
    if (from == nullptr) {
        Refresh();
    } else {
        m_Position = from->m_Position;
        m_PinCount = from->m_PinCount;
        m_Version = from->m_Version;
    }
}

CEnumPins::~CEnumPins() { m_pFilter->Release(); }

HRESULT CEnumPins::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IEnumPins) return GetInterface<IEnumPins>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CEnumPins::Next(ULONG cPins, IPin** ppPins, ULONG* pcFetched) {
    if (const HRESULT hr = CheckNext(cPins, ppPins, pcFetched); FAILED(hr)) return hr;
    if (AreWeOutOfSync()) return VFW_E_ENUM_OUT_OF_SYNC;
    ULONG fetched = 0;
    while (fetched < cPins && m_Position < m_PinCount) {
        CBasePin* const pin = m_pFilter->GetPin(m_Position);
        if (pin == nullptr) {
            while (fetched != 0) ppPins[--fetched]->Release();
            return VFW_E_ENUM_OUT_OF_SYNC;
        }
        ++m_Position;
        pin->AddRef();
        ppPins[fetched++] = pin;
    }
    if (pcFetched != nullptr) *pcFetched = fetched;
    return fetched == cPins ? S_OK : S_FALSE;
}

HRESULT CEnumPins::Skip(ULONG cPins) {
    if (AreWeOutOfSync()) return VFW_E_ENUM_OUT_OF_SYNC;
    const auto left = static_cast<ULONG>(m_PinCount - m_Position);
    if (cPins > left) return S_FALSE;
    m_Position += static_cast<int>(cPins);
    return S_OK;
}

HRESULT CEnumPins::Reset() {
    Refresh();
    return S_OK;
}

HRESULT CEnumPins::Clone(IEnumPins** ppEnum) {
    if (ppEnum != nullptr && AreWeOutOfSync()) {
        *ppEnum = nullptr;
        return VFW_E_ENUM_OUT_OF_SYNC;
    }
    return CloneEnumerator<CEnumPins>(m_pFilter, this, ppEnum);
}

bool CEnumPins::AreWeOutOfSync() const { return m_Version != m_pFilter->GetPinVersion(); }

void CEnumPins::Refresh() {
    m_Version = m_pFilter->GetPinVersion();
    m_PinCount = m_pFilter->GetPinCount();
    m_Position = 0;
}

CEnumMediaTypes::CEnumMediaTypes(CBasePin* pPin, const CEnumMediaTypes* from) : m_pPin(pPin) {
    m_pPin->AddRef();
    m_Position = from == nullptr ? 0 : from->m_Position;
    m_Version = from == nullptr ? m_pPin->GetMediaTypeVersion() : from->m_Version;
}

CEnumMediaTypes::~CEnumMediaTypes() { m_pPin->Release(); }

HRESULT CEnumMediaTypes::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IEnumMediaTypes) return GetInterface<IEnumMediaTypes>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CEnumMediaTypes::Next(ULONG cMediaTypes, AM_MEDIA_TYPE** ppMediaTypes, ULONG* pcFetched) {
    if (const HRESULT hr = CheckNext(cMediaTypes, ppMediaTypes, pcFetched); FAILED(hr)) return hr;
    if (AreWeOutOfSync()) return VFW_E_ENUM_OUT_OF_SYNC;
    ULONG fetched = 0;
    while (fetched < cMediaTypes) {
        CMediaType type;
        if (m_pPin->GetMediaType(m_Position, &type) != S_OK) break;
        ppMediaTypes[fetched] = CreateMediaType(&type);
        if (ppMediaTypes[fetched] == nullptr) break;
        ++fetched;
        ++m_Position;
    }
    if (pcFetched != nullptr) *pcFetched = fetched;
    return fetched == cMediaTypes ? S_OK : S_FALSE;
}

HRESULT CEnumMediaTypes::Skip(ULONG cMediaTypes) {
    if (cMediaTypes == 0) return S_OK;
    if (AreWeOutOfSync()) return VFW_E_ENUM_OUT_OF_SYNC;
    CMediaType type;
    const auto last = static_cast<LONGLONG>(m_Position) + cMediaTypes - 1;
    if (last > 0x7FFFFFFE || m_pPin->GetMediaType(static_cast<int>(last), &type) != S_OK) return S_FALSE;
    m_Position = static_cast<int>(last) + 1;
    return S_OK;
}

HRESULT CEnumMediaTypes::Reset() {
    m_Position = 0;
    m_Version = m_pPin->GetMediaTypeVersion();
    return S_OK;
}

HRESULT CEnumMediaTypes::Clone(IEnumMediaTypes** ppEnum) {
    if (ppEnum != nullptr && AreWeOutOfSync()) {
        *ppEnum = nullptr;
        return VFW_E_ENUM_OUT_OF_SYNC;
    }
    return CloneEnumerator<CEnumMediaTypes>(m_pPin, this, ppEnum);
}

bool CEnumMediaTypes::AreWeOutOfSync() const { return m_Version != m_pPin->GetMediaTypeVersion(); }
