// A sample as a media object sees it.
#pragma once

#include "Platform/Com/Unknown.h"

/// Threads and lifetime as IMediaSample. Lengths in bytes; memory stays the buffer's.
struct IMediaBuffer : IUnknown {
    virtual HRESULT SetLength(DWORD cbLength) = 0;
    virtual HRESULT GetMaxLength(DWORD* pcbMaxLength) = 0;
    /// Either may be null.
    virtual HRESULT GetBufferAndLength(BYTE** ppBuffer, DWORD* pcbLength) = 0;

protected:
    ~IMediaBuffer() = default;
};

inline constexpr IID IID_IMediaBuffer = make_guid("59EFF8B9-938C-4A26-82F2-95CB84CDC837");
template <>
inline constexpr IID uuid_of<IMediaBuffer> = IID_IMediaBuffer;
