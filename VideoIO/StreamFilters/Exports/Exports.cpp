// The library's exported functions. How each treats its pointer and what it reports is told in MediaKit/Factories.h.
#include "Logging/Checks.h"
#include "MediaKit/Factories.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"
#include "VideoIO/StreamFilters/Frame/VoidFilter.h"
#include "VideoIO/StreamFilters/Multiplexer/MP4MediaMuxFilter2.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkFilter.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSourceFilter.h"

#include <new>

namespace Norvane::MediaKit::Filters {

namespace {

/// A new filter, or null when there is no memory for it or for what its constructor makes. `constructed` is what the
/// constructor reports.
template <class Filter>
Filter* MakeUnlessOutOfMemory(HRESULT& constructed) {
    try {
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

/// For filters whose constructor's report is not passed on: an object that came back is a success.
template <class Filter>
HRESULT CreateUnlessOutOfMemory(IBaseFilter** ppFilter) {
    HRESULT constructed = S_OK;
    return HandOut(MakeUnlessOutOfMemory<Filter>(constructed), ppFilter) != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT NotAvailable(IBaseFilter** ppFilter) {
    *ppFilter = nullptr;
    return E_NOTIMPL;
}

}  // namespace

HRESULT CreateFragmentedMP4MediaMuxFilter(IBaseFilter** ppFilter) { return NotAvailable(ppFilter); }

HRESULT CreateLiveSourceFilter(IBaseFilter** ppFilter) { return NotAvailable(ppFilter); }

HRESULT CreateMP4MediaDemuxFilter(IBaseFilter** ppFilter) {
    HRESULT constructed = S_OK;
    return HandOut(MakeUnlessOutOfMemory<MP4MediaDemuxFilter>(constructed), ppFilter) != nullptr ? constructed
                                                                                                 : E_OUTOFMEMORY;
}

HRESULT CreateMP4MediaMuxFilter(IBaseFilter** ppFilter) { return CreateUnlessOutOfMemory<MP4MediaMuxFilter>(ppFilter); }

HRESULT CreateSharedFileSinkFilter(IBaseFilter** ppFilter) {
    HRESULT constructed = S_OK;
    HandOut(new SharedFileSinkFilter(nullptr, &constructed), ppFilter);
    return S_OK;
}

HRESULT CreateSharedFileSourceFilter(IBaseFilter** ppFilter) {
    QZCheckCondition(ppFilter != nullptr, E_POINTER);
    return CreateUnlessOutOfMemory<SharedFileSourceFilter>(ppFilter);
}

HRESULT CreateVoidFilter(IBaseFilter** ppFilter) {
    HRESULT constructed = S_OK;
    HandOut(new VoidFilter(nullptr, &constructed), ppFilter)->AddPin();
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
