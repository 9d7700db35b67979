// A sample as a media pipeline sees it: its memory is used between Lock and Unlock.
#pragma once

#include "Platform/Com/Unknown.h"

/// Threads and lifetime as IMediaSample. Lengths in bytes; memory stays the buffer's.
struct IMFMediaBuffer : IUnknown {
    /// The lengths may be null.
    virtual HRESULT Lock(BYTE** ppbBuffer, DWORD* pcbMaxLength, DWORD* pcbCurrentLength) = 0;
    virtual HRESULT Unlock() = 0;
    virtual HRESULT GetCurrentLength(DWORD* pcbCurrentLength) = 0;
    virtual HRESULT SetCurrentLength(DWORD cbCurrentLength) = 0;
    virtual HRESULT GetMaxLength(DWORD* pcbMaxLength) = 0;

protected:
    ~IMFMediaBuffer() = default;
};

inline constexpr IID IID_IMFMediaBuffer = make_guid("045FA593-8799-42B8-BC8D-8968C6453507");
template <>
inline constexpr IID uuid_of<IMFMediaBuffer> = IID_IMFMediaBuffer;
