#include "VideoIO/StreamFilters/SharedFile/SharedFileSourceFilter.h"

#include "MediaKit/Factories.h"

namespace Norvane::MediaKit::Filters {

SharedFileSourceFilter::SharedFileSourceFilter(IUnknown* outer, HRESULT* phr)
    : CBaseFilter("SharedFileSourceFilter", outer, &m_lock, CLSID_SharedFileSourceFilter, phr),
      m_pin(std::make_unique<SharedFileSourceOutputPin>(this, &m_lock, phr)) {}

SharedFileSourceFilter::~SharedFileSourceFilter() = default;

HRESULT SharedFileSourceFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IFileSourceFilter) return GetInterface<IFileSourceFilter>(this, ppv);
    if (riid == IID_IFailureInformation) return GetInterface<IFailureInformation>(this, ppv);
    return CBaseFilter::NonDelegatingQueryInterface(riid, ppv);
}

int SharedFileSourceFilter::GetPinCount() { return 1; }

CBasePin* SharedFileSourceFilter::GetPin(int) { return m_pin.get(); }

HRESULT SharedFileSourceFilter::Load(const wchar_t* pszFileName, const AM_MEDIA_TYPE* pmt) {
    return m_pin->Load(pszFileName, pmt);
}

HRESULT SharedFileSourceFilter::GetCurFile(wchar_t** ppszFileName, AM_MEDIA_TYPE*) {
    if (ppszFileName != nullptr) *ppszFileName = nullptr;
    return S_OK;
}

HRESULT SharedFileSourceFilter::GetFirstFailure(FilterFailure* failure) { return m_pin->GetFirstFailure(failure); }

}  // namespace Norvane::MediaKit::Filters
