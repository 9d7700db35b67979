// Whether byte positions in sample times are scaled.
#pragma once

#include "Platform/Com/Unknown.h"

/// Any thread. Mode TRUE: times are byte positions as they are. Mode FALSE: byte positions x 10,000,000.
struct IAMAsyncReaderTimestampScaling : IUnknown {
    virtual HRESULT GetTimestampMode(BOOL* pfRaw) = 0;
    virtual HRESULT SetTimestampMode(BOOL fRaw) = 0;

protected:
    ~IAMAsyncReaderTimestampScaling() = default;
};

inline constexpr IID IID_IAMAsyncReaderTimestampScaling = make_guid("CF7B26FC-9A00-485B-8147-3E789D5E8F67");
template <>
inline constexpr IID uuid_of<IAMAsyncReaderTimestampScaling> = IID_IAMAsyncReaderTimestampScaling;
