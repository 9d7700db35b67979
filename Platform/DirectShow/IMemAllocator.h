// Where the samples of a connection come from.
#pragma once

#include "Platform/Com/Unknown.h"

struct IMediaSample;

/// Size and number of buffers. Bytes and counts.
struct ALLOCATOR_PROPERTIES {
    LONG cBuffers;
    LONG cbBuffer;  ///< Usable bytes, without the prefix.
    LONG cbAlign;   ///< Alignment of the usable bytes; a power of two.
    LONG cbPrefix;  ///< Bytes in front of each buffer, for the filter's own use.
};
static_assert(sizeof(ALLOCATOR_PROPERTIES) == 16);

/// Flags of GetBuffer.
inline constexpr DWORD AM_GBF_PREVFRAMESKIPPED = 1;
inline constexpr DWORD AM_GBF_NOTASYNCPOINT = 2;
inline constexpr DWORD AM_GBF_NOWAIT = 4;  ///< Answer VFW_E_TIMEOUT instead of waiting.

/// Any thread; the allocator takes its own lock and waits without it.
struct IMemAllocator : IUnknown {
    /// Sets what Commit will allocate and stores what that came to. Not while committed (VFW_E_ALREADY_COMMITTED) nor
    /// while samples are out (VFW_E_BUFFERS_OUTSTANDING); VFW_E_BADALIGN for an alignment that cannot be had.
    virtual HRESULT SetProperties(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) = 0;
    virtual HRESULT GetProperties(ALLOCATOR_PROPERTIES* pProps) = 0;
    /// Allocates; from now on GetBuffer gives samples.
    virtual HRESULT Commit() = 0;
    /// Waiting and further GetBuffer calls answer VFW_E_NOT_COMMITTED; samples that are out stay valid.
    virtual HRESULT Decommit() = 0;
    /// Stores a sample with one reference, without times, marks and type; waits for one unless AM_GBF_NOWAIT is given.
    /// The times (100 ns) are a hint and may be null.
    virtual HRESULT GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME* pStartTime, REFERENCE_TIME* pEndTime,
                              DWORD dwFlags) = 0;
    /// Called by a sample on its last Release, and by nobody else.
    virtual HRESULT ReleaseBuffer(IMediaSample* pBuffer) = 0;

protected:
    ~IMemAllocator() = default;
};

inline constexpr IID IID_IMemAllocator = make_guid("56A8689C-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IMemAllocator> = IID_IMemAllocator;
