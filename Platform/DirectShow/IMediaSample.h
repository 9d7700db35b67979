// A buffer of media with its times and marks.
#pragma once

#include "Platform/Com/Unknown.h"

struct AM_MEDIA_TYPE;

/// One holder writes before it hands the sample on; after that it is read only. Counting is safe from any thread; the
/// last Release gives the sample back to its allocator.
struct IMediaSample : IUnknown {
    /// Stores the first byte. The memory stays the sample's.
    virtual HRESULT GetPointer(BYTE** ppBuffer) = 0;
    /// Bytes of the buffer.
    virtual LONG GetSize() = 0;
    /// Stores the times (100 ns). S_OK; VFW_S_NO_STOP_TIME, where the stop is start + 1; VFW_E_SAMPLE_TIME_NOT_SET.
    virtual HRESULT GetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) = 0;
    /// Null start: no times. Null end: no stop time.
    virtual HRESULT SetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) = 0;
    /// S_OK or S_FALSE.
    virtual HRESULT IsSyncPoint() = 0;
    virtual HRESULT SetSyncPoint(BOOL bIsSyncPoint) = 0;
    /// S_OK when the sample is not to be shown, else S_FALSE.
    virtual HRESULT IsPreroll() = 0;
    virtual HRESULT SetPreroll(BOOL bIsPreroll) = 0;
    /// Bytes of valid data.
    virtual LONG GetActualDataLength() = 0;
    /// VFW_E_BUFFER_OVERFLOW above the buffer's size.
    virtual HRESULT SetActualDataLength(LONG length) = 0;
    /// Stores a copy of the type that begins with this sample (DeleteMediaType frees it); S_FALSE with null stored
    /// when it is that of the sample before.
    virtual HRESULT GetMediaType(AM_MEDIA_TYPE** ppMediaType) = 0;
    /// Copies the type; null takes it away.
    virtual HRESULT SetMediaType(AM_MEDIA_TYPE* pMediaType) = 0;
    /// S_OK when data is missing in front of this sample, else S_FALSE.
    virtual HRESULT IsDiscontinuity() = 0;
    virtual HRESULT SetDiscontinuity(BOOL bDiscontinuity) = 0;
    /// Stores the media times (units of the stream). VFW_E_MEDIA_TIME_NOT_SET.
    virtual HRESULT GetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) = 0;
    /// Null start: no media times.
    virtual HRESULT SetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) = 0;

protected:
    ~IMediaSample() = default;
};

inline constexpr IID IID_IMediaSample = make_guid("56A8689A-0AD4-11CE-B03A-0020AF0BA770");
template <>
inline constexpr IID uuid_of<IMediaSample> = IID_IMediaSample;
