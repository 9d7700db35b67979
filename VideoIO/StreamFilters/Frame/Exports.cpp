// The library's exported functions. How each treats its pointer and what it reports is told in MediaKit/Factories.h.
#include "MediaKit/Factories.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Frame/VoidFilter.h"
#include "VideoIO/StreamFilters/Multiplexer/MP4MediaMuxFilter2.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkFilter.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSourceFilter.h"

#include <new>

namespace Norvane::MediaKit::Filters {

namespace {

/// A new filter, or null when there is no memory for it or for what its constructor makes. What the constructor
/// reports is not passed on: an object that came back is a success.
template <class Filter>
Filter* MakeUnlessOutOfMemory() {
    try {
        HRESULT constructed = S_OK;
        return new Filter(nullptr, &constructed);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// Hands out a new filter with its first reference.
template <class Filter>
Filter* HandOut(Filter* filter, IBaseFilter** ppFilter) {
    if (filter != nullptr) filter->AddRef();
    *ppFilter = filter;
    return filter;
}

HRESULT NotAvailable(IBaseFilter** ppFilter) {
    *ppFilter = nullptr;
    return E_NOTIMPL;
}

}  // namespace

HRESULT CreateFragmentedMP4MediaMuxFilter(IBaseFilter** ppFilter) { return NotAvailable(ppFilter); }

HRESULT CreateLiveSourceFilter(IBaseFilter** ppFilter) { return NotAvailable(ppFilter); }

HRESULT CreateMP4MediaDemuxFilter(IBaseFilter** ppFilter) { return NotAvailable(ppFilter); }

HRESULT CreateMP4MediaMuxFilter(IBaseFilter** ppFilter) {
    return HandOut(MakeUnlessOutOfMemory<MP4MediaMuxFilter>(), ppFilter) != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT CreateSharedFileSinkFilter(IBaseFilter** ppFilter) {
    HRESULT constructed = S_OK;
    HandOut(new SharedFileSinkFilter(nullptr, &constructed), ppFilter);
    return S_OK;
}

HRESULT CreateSharedFileSourceFilter(IBaseFilter** ppFilter) {
    QZCheckCondition(ppFilter != nullptr, E_POINTER);
    return HandOut(MakeUnlessOutOfMemory<SharedFileSourceFilter>(), ppFilter) != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT CreateVoidFilter(IBaseFilter** ppFilter) {
    HRESULT constructed = S_OK;
    HandOut(new VoidFilter(nullptr, &constructed), ppFilter)->AddPin();
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
