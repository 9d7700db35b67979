// Pulling bytes from a source.
#pragma once

#include "Platform/Com/Unknown.h"
#include "Platform/DirectShow/IMemAllocator.h"

/// Any thread, several at once; the object takes its own locks. Positions and lengths in bytes.
struct IAsyncReader : IUnknown {
    /// Stores the allocator to use for Request with a reference, preferring the caller's; null when none is offered.
    virtual HRESULT RequestAllocator(IMemAllocator* pPreferred, ALLOCATOR_PROPERTIES* pProps,
                                     IMemAllocator** ppActual) = 0;
    /// Queues a read of the range that the sample's times tell (bytes x 10,000,000).
    virtual HRESULT Request(IMediaSample* pSample, DWORD_PTR dwUser) = 0;
    /// Waits at most dwTimeout milliseconds for a queued read.
    virtual HRESULT WaitForNext(DWORD dwTimeout, IMediaSample** ppSample, DWORD_PTR* pdwUser) = 0;
    /// A read as by Request, finished on return.
    virtual HRESULT SyncReadAligned(IMediaSample* pSample) = 0;
    /// Reads length bytes at position into the caller's buffer.
    virtual HRESULT SyncRead(LONGLONG llPosition, LONG lLength, BYTE* pBuffer) = 0;
    /// Stores the size, and how much of it can be read now. Either may be null.
    virtual HRESULT Length(LONGLONG* pTotal, LONGLONG* pAvailable) = 0;
    /// Queued reads end at once until EndFlush.
    virtual HRESULT BeginFlush() = 0;
    virtual HRESULT EndFlush() = 0;

protected:
    ~IAsyncReader() = default;
};

inline constexpr IID IID_IAsyncReader = make_guid("56A868AA-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IAsyncReader> = IID_IAsyncReader;
