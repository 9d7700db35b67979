// Walks over a filter's pins.
#pragma once

#include "Platform/Com/Unknown.h"

struct IPin;

/// One thread at a time. When the filter's pins change, Next answers VFW_E_ENUM_OUT_OF_SYNC until Reset.
struct IEnumPins : IUnknown {
    /// Stores up to cPins pins, each with a reference, and their count (pcFetched may be null for one pin).
    /// S_OK when all were there, S_FALSE at the end.
    virtual HRESULT Next(ULONG cPins, IPin** ppPins, ULONG* pcFetched) = 0;
    /// S_OK, or S_FALSE when fewer were left.
    virtual HRESULT Skip(ULONG cPins) = 0;
    virtual HRESULT Reset() = 0;
    virtual HRESULT Clone(IEnumPins** ppEnum) = 0;

protected:
    ~IEnumPins() = default;
};

inline constexpr IID IID_IEnumPins = make_guid("56A86892-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IEnumPins> = IID_IEnumPins;
