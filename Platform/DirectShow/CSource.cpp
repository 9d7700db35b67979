#include "Platform/DirectShow/CSource.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

CSource::CSource(const char* pName, IUnknown* pUnk, CLSID clsid, HRESULT* phr)
    : CBaseFilter(pName, pUnk, &m_cStateLock, clsid, phr) {}

CSource::~CSource() {
    // Each takes itself out of the array.
    while (!m_paStreams.empty()) delete m_paStreams.back();
}

int CSource::GetPinCount() {
    CAutoLock lock(&m_cStateLock);
    return static_cast<int>(StreamCount());
}

CBasePin* CSource::GetPin(int n) {
    CAutoLock lock(&m_cStateLock);
    const auto index = static_cast<std::size_t>(n);
    return n >= 0 && index < StreamCount() ? m_paStreams[index] : nullptr;
}

HRESULT CSource::AddPin(CSourceStream* pStream) {
    CAutoLock lock(&m_cStateLock);
    m_paStreams.push_back(pStream);
    return S_OK;
}

HRESULT CSource::RemovePin(CSourceStream* pStream) {
    CAutoLock lock(&m_cStateLock);
    // From the back: the last made is the one that goes first.
    const auto found = std::find(m_paStreams.rbegin(), m_paStreams.rend(), pStream);
    if (found == m_paStreams.rend()) return S_FALSE;
    m_paStreams.erase(std::next(found).base());
    return S_OK;
}

HRESULT CSource::FindPin(const wchar_t* Id, IPin** ppPin) {
    const HRESULT hr = CBaseFilter::FindPin(Id, ppPin);
    if (hr != VFW_E_NOT_FOUND) return hr;
    wchar_t* end = nullptr;
    const long number = std::wcstol(Id, &end, 10);
    CAutoLock lock(&m_cStateLock);
    if (end == Id || *end != L'\0' || number < 1 || static_cast<std::size_t>(number) > StreamCount()) return hr;
    *ppPin = m_paStreams[static_cast<std::size_t>(number) - 1];
    (*ppPin)->AddRef();
    return S_OK;
}

int CSource::FindPinNumber(IPin* iPin) {
    CAutoLock lock(&m_cStateLock);
    const auto found = std::find(m_paStreams.begin(), m_paStreams.end(), iPin);
    return found == m_paStreams.end() ? -1 : static_cast<int>(found - m_paStreams.begin());
}
