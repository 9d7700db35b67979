// What kind of filter it is.
#pragma once

#include "Platform/Com/Unknown.h"

inline constexpr ULONG AM_FILTER_MISC_FLAGS_IS_RENDERER = 1;
inline constexpr ULONG AM_FILTER_MISC_FLAGS_IS_SOURCE = 2;

/// Any thread, no lock.
struct IAMFilterMiscFlags : IUnknown {
    /// Bits of AM_FILTER_MISC_FLAGS_*. Not a result.
    virtual ULONG GetMiscFlags() = 0;

protected:
    ~IAMFilterMiscFlags() = default;
};

inline constexpr IID IID_IAMFilterMiscFlags = make_guid("2DD74950-A890-11D1-ABE8-00A0C905F375");
template <>
inline constexpr IID uuid_of<IAMFilterMiscFlags> = IID_IAMFilterMiscFlags;
