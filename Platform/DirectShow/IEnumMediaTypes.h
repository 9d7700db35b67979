// Walks over the media types that a pin proposes.
#pragma once

#include "Platform/Com/Unknown.h"

struct AM_MEDIA_TYPE;

/// One thread at a time. When the pin's list changes, Next answers VFW_E_ENUM_OUT_OF_SYNC until Reset.
struct IEnumMediaTypes : IUnknown {
    /// Stores up to cMediaTypes types, each to be given to DeleteMediaType by the caller, and their count (pcFetched
    /// may be null for one type). S_OK when all were there, S_FALSE at the end.
    virtual HRESULT Next(ULONG cMediaTypes, AM_MEDIA_TYPE** ppMediaTypes, ULONG* pcFetched) = 0;
    /// S_OK, or S_FALSE when fewer were left.
    virtual HRESULT Skip(ULONG cMediaTypes) = 0;
    virtual HRESULT Reset() = 0;
    virtual HRESULT Clone(IEnumMediaTypes** ppEnum) = 0;

protected:
    ~IEnumMediaTypes() = default;
};

inline constexpr IID IID_IEnumMediaTypes = make_guid("89C31040-846B-11CE-97D3-00AA0055595A");
template <>
inline constexpr IID uuid_of<IEnumMediaTypes> = IID_IEnumMediaTypes;
