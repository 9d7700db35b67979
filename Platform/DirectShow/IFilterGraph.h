// A set of connected filters.
#pragma once

#include "Platform/Com/Unknown.h"

struct AM_MEDIA_TYPE;
struct IBaseFilter;
struct IEnumFilters;
struct IPin;

/// Called on the host's thread; the graph takes its lock.
struct IFilterGraph : IUnknown {
    /// Adds a filter, with a reference, under the name, which may be null. A name in use is changed:
    /// VFW_S_DUPLICATE_NAME, or VFW_E_DUPLICATE_NAME when that cannot be done.
    virtual HRESULT AddFilter(IBaseFilter* pFilter, const wchar_t* pName) = 0;
    /// Disconnects the filter's pins and lets the filter go.
    virtual HRESULT RemoveFilter(IBaseFilter* pFilter) = 0;
    virtual HRESULT EnumFilters(IEnumFilters** ppEnum) = 0;
    /// Stores the filter with a reference, or null: VFW_E_NOT_FOUND.
    virtual HRESULT FindFilterByName(const wchar_t* pName, IBaseFilter** ppFilter) = 0;
    /// Connects two pins without filters between; pmt may be null.
    virtual HRESULT ConnectDirect(IPin* ppinOut, IPin* ppinIn, const AM_MEDIA_TYPE* pmt) = 0;
    /// Ends a pin's connection and makes it again.
    virtual HRESULT Reconnect(IPin* ppin) = 0;
    virtual HRESULT Disconnect(IPin* ppin) = 0;
    /// Gives every filter the graph's own clock.
    virtual HRESULT SetDefaultSyncSource() = 0;

protected:
    ~IFilterGraph() = default;
};

inline constexpr IID IID_IFilterGraph = make_guid("56A8689F-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IFilterGraph> = IID_IFilterGraph;
