// How a sink opens its file.
#pragma once

#include "Platform/DirectShow/IFileSinkFilter.h"

/// Threads as IFileSinkFilter.
struct IFileSinkFilter2 : IFileSinkFilter {
    virtual HRESULT SetMode(DWORD dwFlags) = 0;
    virtual HRESULT GetMode(DWORD* pdwFlags) = 0;

protected:
    ~IFileSinkFilter2() = default;
};

inline constexpr IID IID_IFileSinkFilter2 = make_guid("00855B90-CE1B-11D0-BD4F-00A0C911CE86");
template <>
inline constexpr IID uuid_of<IFileSinkFilter2> = IID_IFileSinkFilter2;
