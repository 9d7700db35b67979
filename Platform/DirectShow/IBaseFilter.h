// A filter as graphs and hosts see it.
#pragma once

#include "Platform/DirectShow/IMediaFilter.h"

struct IEnumPins;
struct IFilterGraph;
struct IPin;

/// Most characters of a filter's or a pin's name, with the final zero.
inline constexpr int MAX_FILTER_NAME = 128;
inline constexpr int MAX_PIN_NAME = 128;

struct FILTER_INFO {
    wchar_t achName[MAX_FILTER_NAME];  ///< The name in the graph; empty outside of one.
    IFilterGraph* pGraph;              ///< With a reference for the caller, or null.
};

/// Called on the host's thread; the filter takes its lock.
struct IBaseFilter : IMediaFilter {
    /// Stores an enumerator over the pins, with a reference.
    virtual HRESULT EnumPins(IEnumPins** ppEnum) = 0;
    /// Stores the pin of that identifier (IPin::QueryId), with a reference, or null: VFW_E_NOT_FOUND.
    virtual HRESULT FindPin(const wchar_t* Id, IPin** ppPin) = 0;
    /// Fills *pInfo; the graph in it carries a reference that the caller gives back.
    virtual HRESULT QueryFilterInfo(FILTER_INFO* pInfo) = 0;
    /// Tells the filter its graph and its name there; null when it leaves. The filter keeps no reference to the
    /// graph, which outlives its membership.
    virtual HRESULT JoinFilterGraph(IFilterGraph* pGraph, const wchar_t* pName) = 0;
    /// Stores a text that the caller frees (CoTaskMemFree), or E_NOTIMPL.
    virtual HRESULT QueryVendorInfo(wchar_t** pVendorInfo) = 0;

protected:
    ~IBaseFilter() = default;
};

inline constexpr IID IID_IBaseFilter = make_guid("56A86895-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IBaseFilter> = IID_IBaseFilter;
