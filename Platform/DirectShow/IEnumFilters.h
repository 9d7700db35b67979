// Walks over a graph's filters.
#pragma once

#include "Platform/Com/Unknown.h"

struct IBaseFilter;

/// One thread at a time. When the graph changes, Next answers VFW_E_ENUM_OUT_OF_SYNC until Reset.
struct IEnumFilters : IUnknown {
    /// Stores up to cFilters filters, each with a reference, and their count (pcFetched may be null for one filter).
    /// S_OK when all were there, S_FALSE at the end.
    virtual HRESULT Next(ULONG cFilters, IBaseFilter** ppFilter, ULONG* pcFetched) = 0;
    /// S_OK, or S_FALSE when fewer were left.
    virtual HRESULT Skip(ULONG cFilters) = 0;
    virtual HRESULT Reset() = 0;
    virtual HRESULT Clone(IEnumFilters** ppEnum) = 0;

protected:
    ~IEnumFilters() = default;
};

inline constexpr IID IID_IEnumFilters = make_guid("56A86893-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IEnumFilters> = IID_IEnumFilters;
