#include "VideoIO/StreamFilters/Frame/VoidFilter.h"

#include "Logging/Checks.h"
#include "MediaKit/Factories.h"
#include "VideoIO/StreamFilters/Frame/VoidInputPin.h"

#include <string>

namespace Norvane::MediaKit::Filters {

VoidFilter::VoidFilter(IUnknown* outer, HRESULT* phr)
    : CBaseFilter("VoidFilter", outer, &m_lock, CLSID_VoidFilter, phr) {}

VoidFilter::~VoidFilter() {
    // Each takes both of its entries out.
    while (!m_pins.empty()) delete m_pins.back();
}

int VoidFilter::GetPinCount() { return static_cast<int>(m_pins.size()); }

CBasePin* VoidFilter::GetPin(int n) {
    return n >= 0 && static_cast<std::size_t>(n) < m_pins.size() ? m_pins[static_cast<std::size_t>(n)] : nullptr;
}

HRESULT VoidFilter::AddPin() {
    const std::size_t number = m_pins.size();
    const std::wstring name = L"Input_" + std::to_wstring(number);
    HRESULT hr = S_OK;
    auto* const pin = new VoidInputPin(this, &m_lock, &hr, name.c_str(), number);
    if (SUCCEEDED(hr)) {
        pin->AddRef();
        m_pins.push_back(pin);
        IncrementPinVersion();
    }
    return hr;
}

VoidInputPin::VoidInputPin(VoidFilter* filter, CCritSec* lock, HRESULT* phr, const wchar_t* name, std::size_t number)
    : CBaseInputPin("VoidInputPin", filter, lock, phr, name), m_filter(filter), m_number(number) {
    m_filter->m_pins.push_back(this);
}

VoidInputPin::~VoidInputPin() { std::erase(m_filter->m_pins, this); }

HRESULT VoidInputPin::CheckMediaType(const CMediaType*) { return S_OK; }

HRESULT VoidInputPin::BreakConnect() {
    QZCheckHRESULT(CBaseInputPin::BreakConnect());
    return S_OK;
}

HRESULT VoidInputPin::CompleteConnect(IPin*) {
    if (m_number + 1 == m_filter->m_pins.size()) QZCheckHRESULT(m_filter->AddPin());
    return S_OK;
}

HRESULT VoidInputPin::Receive(IMediaSample* pSample) {
    const HRESULT hr = CBaseInputPin::Receive(pSample);
    return FAILED(hr) ? hr : S_OK;
}

}  // namespace Norvane::MediaKit::Filters
