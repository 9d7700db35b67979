#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkFilter.h"

#include "Logging/Checks.h"
#include "MediaKit/Factories.h"

#include <new>

namespace Norvane::MediaKit::Filters {

SharedFileSinkFilter::SharedFileSinkFilter(IUnknown* outer, HRESULT* phr)
    : CBaseFilter("SharedFileSinkFilter", outer, &m_lock, CLSID_SharedFileSinkFilter, phr),
      m_pin(std::make_unique<SharedFileSinkInputPin>(this, &m_lock, phr)) {}

SharedFileSinkFilter::~SharedFileSinkFilter() = default;

HRESULT SharedFileSinkFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IAMFilterMiscFlags) return GetInterface<IAMFilterMiscFlags>(this, ppv);
    if (riid == IID_IFileSinkFilter || riid == IID_IFileSinkFilter2) return GetInterface<IFileSinkFilter2>(this, ppv);
    if (riid == IID_IPersist || riid == IID_IPersistStream) return GetInterface<IPersistStream>(this, ppv);
    if (riid == IID_IFailureInformation) return GetInterface<IFailureInformation>(this, ppv);
    if (riid == IID_IMediaSeeking || riid == IID_IMediaPosition) return QueryPosition(riid, ppv);
    return CBaseFilter::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT SharedFileSinkFilter::QueryPosition(REFIID riid, void** ppv) {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    CAutoLock lock(&m_lock);
    if (!m_position) {
        if (!m_pin) return E_OUTOFMEMORY;
        HRESULT hr = S_OK;
        m_position.reset(new (std::nothrow)
                             SharedFileSinkFilterPosPassThru("SharedFileSink position", GetOwner(), &hr, m_pin.get()));
        if (!m_position) return E_OUTOFMEMORY;
        if (FAILED(hr)) {
            m_position.reset();
            return E_NOINTERFACE;
        }
    }
    return m_position->NonDelegatingQueryInterface(riid, ppv);
}

HRESULT SharedFileSinkFilter::GetClassID(CLSID* pClsID) { return CBaseFilter::GetClassID(pClsID); }

int SharedFileSinkFilter::GetPinCount() { return 1; }

CBasePin* SharedFileSinkFilter::GetPin(int) { return m_pin.get(); }

ULONG SharedFileSinkFilter::GetMiscFlags() { return 0; }

HRESULT SharedFileSinkFilter::SetFileName(const wchar_t* pszFileName, const AM_MEDIA_TYPE*) {
    QZCheckCondition(pszFileName != nullptr, E_POINTER);
    CAutoLock lock(&m_lock);
    m_pin->SetFileName(pszFileName);
    return S_OK;
}

HRESULT SharedFileSinkFilter::GetCurFile(wchar_t**, AM_MEDIA_TYPE*) { return E_NOTIMPL; }

HRESULT SharedFileSinkFilter::SetMode(DWORD dwFlags) { return dwFlags == AM_FILE_OVERWRITE ? S_OK : E_NOTIMPL; }

HRESULT SharedFileSinkFilter::GetMode(DWORD* pdwFlags) {
    QZCheckCondition(pdwFlags != nullptr, E_POINTER);
    *pdwFlags = AM_FILE_OVERWRITE;
    return S_OK;
}

HRESULT SharedFileSinkFilter::IsDirty() { return E_NOTIMPL; }

HRESULT SharedFileSinkFilter::Load(IStream*) { return E_NOTIMPL; }

HRESULT SharedFileSinkFilter::Save(IStream*, BOOL) { return E_NOTIMPL; }

HRESULT SharedFileSinkFilter::GetSizeMax(ULARGE_INTEGER*) { return E_NOTIMPL; }

}  // namespace Norvane::MediaKit::Filters
