// Walks over a graph's filters.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IEnumFilters.h"
#include "Platform/Graph/FilterGraph.h"

/// Keeps the graph, and the filters as they were at its making or its last Reset.
class CEnumFilters final : public CUnknown, public IEnumFilters {
public:
    explicit CEnumFilters(CFilterGraph& graph) : m_graph(&graph) { Reset(); }

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    HRESULT Next(ULONG cFilters, IBaseFilter** ppFilter, ULONG* pcFetched) override;
    HRESULT Skip(ULONG cFilters) override;
    HRESULT Reset() override;
    HRESULT Clone(IEnumFilters** ppEnum) override;

private:
    ComPtr<CFilterGraph> m_graph;
    topology::FilterList m_filters;
    std::size_t m_position = 0;
    int m_version = 0;
};
