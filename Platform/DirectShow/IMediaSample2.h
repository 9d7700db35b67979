// All properties of a sample in one call.
#pragma once

#include "Platform/DirectShow/IMediaSample.h"

#include <cstddef>

/// Bits of AM_SAMPLE2_PROPERTIES::dwSampleFlags.
inline constexpr DWORD AM_SAMPLE_SPLICEPOINT = 0x01;
inline constexpr DWORD AM_SAMPLE_PREROLL = 0x02;
inline constexpr DWORD AM_SAMPLE_DATADISCONTINUITY = 0x04;
inline constexpr DWORD AM_SAMPLE_TYPECHANGED = 0x08;
inline constexpr DWORD AM_SAMPLE_TIMEVALID = 0x10;
inline constexpr DWORD AM_SAMPLE_MEDIATIMEVALID = 0x20;  ///< Inside a sample only; records do not carry media times.
inline constexpr DWORD AM_SAMPLE_TIMEDISCONTINUITY = 0x40;
inline constexpr DWORD AM_SAMPLE_FLUSH_ON_PAUSE = 0x80;
inline constexpr DWORD AM_SAMPLE_STOPVALID = 0x100;
inline constexpr DWORD AM_SAMPLE_ENDOFSTREAM = 0x200;

/// Values of dwStreamId.
inline constexpr DWORD AM_STREAM_MEDIA = 0;
inline constexpr DWORD AM_STREAM_CONTROL = 1;

struct AM_SAMPLE2_PROPERTIES {
    DWORD cbData;  ///< Size of this record.
    DWORD dwTypeSpecificFlags;
    DWORD dwSampleFlags;
    LONG lActual;           ///< Bytes of valid data.
    REFERENCE_TIME tStart;  ///< 100 ns; with AM_SAMPLE_TIMEVALID.
    REFERENCE_TIME tStop;   ///< 100 ns; with AM_SAMPLE_STOPVALID.
    DWORD dwStreamId;
    AM_MEDIA_TYPE* pMediaType;  ///< The sample's own, not a copy; null unless AM_SAMPLE_TYPECHANGED.
    BYTE* pbBuffer;             ///< The sample's memory.
    LONG cbBuffer;              ///< Bytes of it.
};

static_assert(sizeof(AM_SAMPLE2_PROPERTIES) == 64);
static_assert(offsetof(AM_SAMPLE2_PROPERTIES, dwSampleFlags) == 8 && offsetof(AM_SAMPLE2_PROPERTIES, tStart) == 16);
static_assert(offsetof(AM_SAMPLE2_PROPERTIES, tStop) == 24 && offsetof(AM_SAMPLE2_PROPERTIES, dwStreamId) == 32);
static_assert(offsetof(AM_SAMPLE2_PROPERTIES, pMediaType) == 40 && offsetof(AM_SAMPLE2_PROPERTIES, pbBuffer) == 48);
static_assert(offsetof(AM_SAMPLE2_PROPERTIES, cbBuffer) == 56);

/// Threads and lifetime as IMediaSample.
struct IMediaSample2 : IMediaSample {
    /// Copies the first cbProperties bytes of the record.
    virtual HRESULT GetProperties(DWORD cbProperties, BYTE* pbProperties) = 0;
    /// Takes those members whose bytes are among the first cbProperties. The type is copied.
    virtual HRESULT SetProperties(DWORD cbProperties, const BYTE* pbProperties) = 0;

protected:
    ~IMediaSample2() = default;
};

inline constexpr IID IID_IMediaSample2 = make_guid("36B73884-C2C8-11CF-8B46-00805F6CEF60");
template <>
inline constexpr IID uuid_of<IMediaSample2> = IID_IMediaSample2;
