// Making a graph, its filters and their connections. GraphControl.cpp moves it between states.
#include "Platform/Graph/CFilterGraph.h"

#include "Platform/DirectShow/MediaType.h"
#include "Platform/Graph/EnumFilters.h"
#include "Platform/Graph/FilterGraph.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <new>

using namespace topology;

namespace {

/// Names like "Source 0001" for filters whose name is taken.
constexpr int kMaxCopies = 9999;

}  // namespace

CFilterGraph::~CFilterGraph() {
    Stop();
    GraphAutoLock lock(m_lock);
    for (const Member& member : m_members) DisconnectAll(*member.filter);
    for (const Member& member : m_members) {
        member.filter->SetSyncSource(nullptr);
        member.filter->JoinFilterGraph(nullptr, nullptr);
    }
}

HRESULT CFilterGraph::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IGraphBuilder) return GetInterface<IGraphBuilder>(this, ppv);
    if (riid == IID_IFilterGraph) return GetInterface<IFilterGraph>(this, ppv);
    if (riid == IID_IMediaControl) return GetInterface<IMediaControl>(this, ppv);
    if (riid == IID_IMediaEvent) return GetInterface<IMediaEvent>(&m_events, ppv);
    if (riid == IID_IMediaEventSink) return GetInterface<IMediaEventSink>(&m_events, ppv);
    if (riid == IID_IMediaSeeking) return GetInterface<IMediaSeeking>(&m_seeking, ppv);
    return CUnknown::NonDelegatingQueryInterface(riid, ppv);
}

CFilterGraph::Members::iterator CFilterGraph::Find(IBaseFilter* filter) {
    return std::find_if(m_members.begin(), m_members.end(), [=](const Member& m) { return m.filter.get() == filter; });
}

CFilterGraph::Members::iterator CFilterGraph::Find(const std::wstring& name) {
    return std::find_if(m_members.begin(), m_members.end(), [&](const Member& m) { return m.name == name; });
}

FilterList CFilterGraph::List() const {
    FilterList list;
    for (const Member& member : m_members) list.push_back(member.filter);
    return list;
}

FilterList CFilterGraph::Filters(int* version) {
    GraphAutoLock lock(m_lock);
    *version = m_version;
    return List();
}

std::wstring CFilterGraph::FreeName(const std::wstring& wanted) {
    if (!wanted.empty() && Find(wanted) == m_members.end()) return wanted;
    const std::wstring prefix = wanted.empty() ? L"" : wanted + L" ";
    for (int i = 1; i <= kMaxCopies; ++i) {
        wchar_t number[8];
        std::swprintf(number, std::size(number), L"%04d", i);
        std::wstring name = prefix + number;
        if (Find(name) == m_members.end()) return name;
    }
    return {};
}

HRESULT CFilterGraph::AddFilter(IBaseFilter* pFilter, const wchar_t* pName) try {
    if (pFilter == nullptr) return E_POINTER;
    GraphAutoLock lock(m_lock);
    if (Find(pFilter) != m_members.end()) return E_INVALIDARG;
    const std::wstring wanted = pName ? pName : L"";
    const std::wstring name = FreeName(wanted);
    if (name.empty()) return VFW_E_DUPLICATE_NAME;
    m_members.push_back({FilterPtr(pFilter), name});
    HRESULT hr = pFilter->JoinFilterGraph(this, name.c_str());
    if (SUCCEEDED(hr) && m_clock) hr = pFilter->SetSyncSource(m_clock.get());
    if (FAILED(hr)) {
        pFilter->JoinFilterGraph(nullptr, nullptr);
        m_members.pop_back();
        return hr;
    }
    ++m_version;
    return wanted.empty() || name == wanted ? S_OK : VFW_S_DUPLICATE_NAME;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::RemoveFilter(IBaseFilter* pFilter) try {
    if (pFilter == nullptr) return E_POINTER;
    GraphAutoLock lock(m_lock);
    const auto it = Find(pFilter);
    if (it == m_members.end()) return VFW_E_NOT_FOUND;
    if (m_state != State_Stopped) {
        // Its neighbours could not let go of it.
        for (const PinPtr& pin : PinsOf(*pFilter))
            if (IsConnected(*pin)) return VFW_E_NOT_STOPPED;
        pFilter->Stop();
    }
    if (const HRESULT hr = DisconnectAll(*pFilter); FAILED(hr)) return hr;
    const FilterPtr removed = it->filter;  // until it has left
    m_members.erase(it);
    ++m_version;
    removed->SetSyncSource(nullptr);
    return removed->JoinFilterGraph(nullptr, nullptr);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::DisconnectAll(IBaseFilter& filter) {
    HRESULT result = S_OK;
    const auto disconnect = [&result](IPin& pin) {
        const HRESULT hr = pin.Disconnect();
        if (FAILED(hr) && SUCCEEDED(result)) result = hr;
    };
    for (const PinPtr& pin : PinsOf(filter)) {
        const PinPtr peer = PeerOf(*pin);
        if (!peer) continue;
        disconnect(*peer);
        disconnect(*pin);
    }
    return result;
}

HRESULT CFilterGraph::EnumFilters(IEnumFilters** ppEnum) try {
    if (ppEnum == nullptr) return E_POINTER;
    *ppEnum = nullptr;
    *ppEnum = new CEnumFilters(*this);
    (*ppEnum)->AddRef();
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::FindFilterByName(const wchar_t* pName, IBaseFilter** ppFilter) try {
    if (pName == nullptr || ppFilter == nullptr) return E_POINTER;
    *ppFilter = nullptr;
    GraphAutoLock lock(m_lock);
    const auto it = Find(std::wstring(pName));
    if (it == m_members.end()) return VFW_E_NOT_FOUND;
    *ppFilter = FilterPtr(it->filter).detach();
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

/// What the pins would not find out themselves: that the way would lead in a circle, or out of the graph.
HRESULT CFilterGraph::CheckConnectable(IPin& output, IPin& input) {
    if (!IsOutput(output) || IsOutput(input)) return VFW_E_INVALID_DIRECTION;
    if (IsConnected(output) || IsConnected(input)) return VFW_E_ALREADY_CONNECTED;
    const FilterPtr from = FilterOf(output);
    const FilterPtr to = FilterOf(input);
    if (Find(from.get()) == m_members.end() || Find(to.get()) == m_members.end()) return VFW_E_NOT_IN_GRAPH;
    return Reaches(*to, *from) ? VFW_E_CIRCULAR_GRAPH : S_OK;
}

HRESULT CFilterGraph::ConnectDirect(IPin* ppinOut, IPin* ppinIn, const AM_MEDIA_TYPE* pmt) try {
    if (ppinOut == nullptr || ppinIn == nullptr) return E_POINTER;
    GraphAutoLock lock(m_lock);
    m_aborted = false;
    if (const HRESULT hr = CheckConnectable(*ppinOut, *ppinIn); FAILED(hr)) return hr;
    return ppinOut->Connect(ppinIn, pmt);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::Connect(IPin* ppinOut, IPin* ppinIn) { return ConnectDirect(ppinOut, ppinIn, nullptr); }

HRESULT CFilterGraph::Reconnect(IPin* ppin) try {
    if (ppin == nullptr) return E_POINTER;
    GraphAutoLock lock(m_lock);
    const PinPtr pin(ppin);
    const PinPtr peer = PeerOf(*pin);
    if (!peer) return VFW_E_NOT_CONNECTED;
    IPin* const output = IsOutput(*pin) ? pin.get() : peer.get();
    IPin* const input = output == pin.get() ? peer.get() : pin.get();
    CMediaType former;
    if (const HRESULT hr = output->ConnectionMediaType(&former); FAILED(hr)) return hr;
    if (const HRESULT hr = input->Disconnect(); FAILED(hr)) return hr;
    if (const HRESULT hr = output->Disconnect(); FAILED(hr)) return hr;
    const HRESULT hr = output->Connect(input, nullptr);
    if (FAILED(hr)) output->Connect(input, &former);  // better as it was than not at all
    return hr;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CFilterGraph::Disconnect(IPin* ppin) {
    if (ppin == nullptr) return E_POINTER;
    GraphAutoLock lock(m_lock);
    return ppin->Disconnect();
}

// There is no store of filters to build with, and nothing to log of the building.
HRESULT CFilterGraph::Render(IPin*) { return E_NOTIMPL; }
HRESULT CFilterGraph::RenderFile(const wchar_t*, const wchar_t*) { return E_NOTIMPL; }
HRESULT CFilterGraph::AddSourceFilter(const wchar_t*, const wchar_t*, IBaseFilter**) { return E_NOTIMPL; }
HRESULT CFilterGraph::SetLogFile(DWORD_PTR) { return E_NOTIMPL; }
HRESULT CFilterGraph::RenderFile(const wchar_t*) { return E_NOTIMPL; }
HRESULT CFilterGraph::AddSourceFilter(const wchar_t*, IDispatch**) { return E_NOTIMPL; }
HRESULT CFilterGraph::get_FilterCollection(IDispatch**) { return E_NOTIMPL; }
HRESULT CFilterGraph::get_RegFilterCollection(IDispatch**) { return E_NOTIMPL; }

HRESULT CFilterGraph::Abort() {
    m_aborted = true;
    return S_OK;
}

HRESULT CFilterGraph::ShouldOperationContinue() { return m_aborted ? S_FALSE : S_OK; }

HRESULT CreateFilterGraph(IGraphBuilder** ppGraph) {
    if (ppGraph == nullptr) return E_POINTER;
    *ppGraph = new (std::nothrow) CFilterGraph;
    if (*ppGraph == nullptr) return E_OUTOFMEMORY;
    (*ppGraph)->AddRef();
    return S_OK;
}
