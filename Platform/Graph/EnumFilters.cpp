#include "Platform/Graph/EnumFilters.h"

#include <algorithm>
#include <new>

HRESULT CEnumFilters::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IEnumFilters) return GetInterface<IEnumFilters>(this, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CEnumFilters::Next(ULONG cFilters, IBaseFilter** ppFilter, ULONG* pcFetched) {
    if (ppFilter == nullptr) return E_POINTER;
    if (pcFetched == nullptr && cFilters > 1) return E_INVALIDARG;
    if (pcFetched != nullptr) *pcFetched = 0;
    if (m_version != m_graph->Version()) return VFW_E_ENUM_OUT_OF_SYNC;
    const std::size_t count = std::min<std::size_t>(cFilters, m_filters.size() - m_position);
    for (std::size_t i = 0; i < count; ++i) ppFilter[i] = topology::FilterPtr(m_filters[m_position++]).detach();
    if (pcFetched != nullptr) *pcFetched = static_cast<ULONG>(count);
    return count == cFilters ? S_OK : S_FALSE;
}

HRESULT CEnumFilters::Skip(ULONG cFilters) {
    if (m_version != m_graph->Version()) return VFW_E_ENUM_OUT_OF_SYNC;
    const std::size_t count = std::min<std::size_t>(cFilters, m_filters.size() - m_position);
    m_position += count;
    return count == cFilters ? S_OK : S_FALSE;
}

HRESULT CEnumFilters::Reset() {
    m_filters = m_graph->Filters(&m_version);
    m_position = 0;
    return S_OK;
}

HRESULT CEnumFilters::Clone(IEnumFilters** ppEnum) {
    if (ppEnum == nullptr) return E_POINTER;
    auto* const clone = new (std::nothrow) CEnumFilters(*m_graph);
    *ppEnum = clone;
    if (clone == nullptr) return E_OUTOFMEMORY;
    clone->AddRef();
    clone->m_filters = m_filters;
    clone->m_position = m_position;
    clone->m_version = m_version;
    return S_OK;
}
