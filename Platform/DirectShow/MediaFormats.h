// Format blocks of media types: what AM_MEDIA_TYPE::pbFormat points to. Layouts are published and fixed; a block
// is read and written as bytes, so that static asserts hold every offset.
#pragma once

#include "Platform/Com/Guid.h"
#include "Platform/Com/Types.h"

#include <cstddef>

/// Bits of VIDEOINFOHEADER2::dwInterlaceFlags.
inline constexpr DWORD AMINTERLACE_IsInterlaced = 0x1;
inline constexpr DWORD AMINTERLACE_1FieldPerSample = 0x2;
inline constexpr DWORD AMINTERLACE_Field1First = 0x4;

/// Values of BITMAPINFOHEADER::biCompression besides four-character codes.
inline constexpr DWORD BI_RGB = 0;
inline constexpr DWORD BI_BITFIELDS = 3;

/// A picture. A negative height is a picture that lies top row first.
struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
};

struct VIDEOINFOHEADER {
    RECT rcSource;
    RECT rcTarget;
    DWORD dwBitRate;  ///< Bits per second.
    DWORD dwBitErrorRate;
    REFERENCE_TIME AvgTimePerFrame;  ///< 100 ns.
    BITMAPINFOHEADER bmiHeader;
};

struct VIDEOINFOHEADER2 {
    RECT rcSource;
    RECT rcTarget;
    DWORD dwBitRate;  ///< Bits per second.
    DWORD dwBitErrorRate;
    REFERENCE_TIME AvgTimePerFrame;  ///< 100 ns.
    DWORD dwInterlaceFlags;
    DWORD dwCopyProtectFlags;
    DWORD dwPictAspectRatioX;
    DWORD dwPictAspectRatioY;
    DWORD dwControlFlags;
    DWORD dwReserved2;
    BITMAPINFOHEADER bmiHeader;
};

/// The sequence header's bytes begin at bSequenceHeader.
struct MPEG1VIDEOINFO {
    VIDEOINFOHEADER hdr;
    DWORD dwStartTimeCode;
    DWORD cbSequenceHeader;
    BYTE bSequenceHeader[1];
};

/// The sequence header's bytes begin at dwSequenceHeader.
struct MPEG2VIDEOINFO {
    VIDEOINFOHEADER2 hdr;
    DWORD dwStartTimeCode;
    DWORD cbSequenceHeader;
    DWORD dwProfile;
    DWORD dwLevel;
    DWORD dwFlags;
    DWORD dwSequenceHeader[1];
};

struct DVINFO {
    DWORD dwDVAAuxSrc;
    DWORD dwDVAAuxCtl;
    DWORD dwDVAAuxSrc1;
    DWORD dwDVAAuxCtl1;
    DWORD dwDVVAuxSrc;
    DWORD dwDVVAuxCtl;
    DWORD dwDVReserved[2];
};

struct ANALOGVIDEOINFO {
    RECT rcSource;
    RECT rcTarget;
    DWORD dwActiveWidth;
    DWORD dwActiveHeight;
    REFERENCE_TIME AvgTimePerFrame;  ///< 100 ns.
};

#pragma pack(push, 1)

/// cbSize counts the bytes that follow these 18.
struct WAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;
};

struct WAVEFORMATEXTENSIBLE {
    WAVEFORMATEX Format;
    union {
        WORD wValidBitsPerSample;
        WORD wSamplesPerBlock;
        WORD wReserved;
    } Samples;
    DWORD dwChannelMask;
    GUID SubFormat;
};

struct HEAACWAVEINFO {
    WAVEFORMATEX wfx;
    WORD wPayloadType;
    WORD wAudioProfileLevelIndication;
    WORD wStructType;
    WORD wReserved1;
    DWORD dwReserved2;
};

struct MPEG1WAVEFORMAT {
    WAVEFORMATEX wfx;
    WORD fwHeadLayer;
    DWORD dwHeadBitrate;
    WORD fwHeadMode;
    WORD fwHeadModeExt;
    WORD wHeadEmphasis;
    WORD fwHeadFlags;
    DWORD dwPTSLow;
    DWORD dwPTSHigh;
};

#pragma pack(pop)

static_assert(sizeof(BITMAPINFOHEADER) == 40);
static_assert(offsetof(BITMAPINFOHEADER, biPlanes) == 12 && offsetof(BITMAPINFOHEADER, biCompression) == 16);

static_assert(sizeof(VIDEOINFOHEADER) == 88);
static_assert(offsetof(VIDEOINFOHEADER, rcTarget) == 16 && offsetof(VIDEOINFOHEADER, dwBitRate) == 32);
static_assert(offsetof(VIDEOINFOHEADER, AvgTimePerFrame) == 40 && offsetof(VIDEOINFOHEADER, bmiHeader) == 48);

static_assert(sizeof(VIDEOINFOHEADER2) == 112);
static_assert(offsetof(VIDEOINFOHEADER2, AvgTimePerFrame) == 40 && offsetof(VIDEOINFOHEADER2, dwInterlaceFlags) == 48);
static_assert(offsetof(VIDEOINFOHEADER2, dwCopyProtectFlags) == 52 &&
              offsetof(VIDEOINFOHEADER2, dwPictAspectRatioX) == 56);
static_assert(offsetof(VIDEOINFOHEADER2, dwPictAspectRatioY) == 60 && offsetof(VIDEOINFOHEADER2, dwControlFlags) == 64);
static_assert(offsetof(VIDEOINFOHEADER2, dwReserved2) == 68 && offsetof(VIDEOINFOHEADER2, bmiHeader) == 72);

static_assert(offsetof(MPEG1VIDEOINFO, dwStartTimeCode) == 88 && offsetof(MPEG1VIDEOINFO, cbSequenceHeader) == 92);
static_assert(offsetof(MPEG1VIDEOINFO, bSequenceHeader) == 96);

static_assert(sizeof(MPEG2VIDEOINFO) == 136);
static_assert(offsetof(MPEG2VIDEOINFO, dwStartTimeCode) == 112 && offsetof(MPEG2VIDEOINFO, cbSequenceHeader) == 116);
static_assert(offsetof(MPEG2VIDEOINFO, dwProfile) == 120 && offsetof(MPEG2VIDEOINFO, dwLevel) == 124);
static_assert(offsetof(MPEG2VIDEOINFO, dwFlags) == 128 && offsetof(MPEG2VIDEOINFO, dwSequenceHeader) == 132);

static_assert(sizeof(DVINFO) == 32 && offsetof(DVINFO, dwDVVAuxSrc) == 16 && offsetof(DVINFO, dwDVVAuxCtl) == 20);

static_assert(sizeof(ANALOGVIDEOINFO) == 48);
static_assert(offsetof(ANALOGVIDEOINFO, dwActiveWidth) == 32 && offsetof(ANALOGVIDEOINFO, dwActiveHeight) == 36);
static_assert(offsetof(ANALOGVIDEOINFO, AvgTimePerFrame) == 40);

static_assert(sizeof(WAVEFORMATEX) == 18);
static_assert(offsetof(WAVEFORMATEX, nSamplesPerSec) == 4 && offsetof(WAVEFORMATEX, nAvgBytesPerSec) == 8);
static_assert(offsetof(WAVEFORMATEX, nBlockAlign) == 12 && offsetof(WAVEFORMATEX, cbSize) == 16);

static_assert(sizeof(WAVEFORMATEXTENSIBLE) == 40);
static_assert(offsetof(WAVEFORMATEXTENSIBLE, Samples) == 18 && offsetof(WAVEFORMATEXTENSIBLE, dwChannelMask) == 20);
static_assert(offsetof(WAVEFORMATEXTENSIBLE, SubFormat) == 24);

static_assert(sizeof(HEAACWAVEINFO) == 30);
static_assert(offsetof(HEAACWAVEINFO, wPayloadType) == 18 && offsetof(HEAACWAVEINFO, wStructType) == 22);
static_assert(offsetof(HEAACWAVEINFO, dwReserved2) == 26);

static_assert(sizeof(MPEG1WAVEFORMAT) == 40);
static_assert(offsetof(MPEG1WAVEFORMAT, dwHeadBitrate) == 20 && offsetof(MPEG1WAVEFORMAT, fwHeadMode) == 24);
static_assert(offsetof(MPEG1WAVEFORMAT, fwHeadFlags) == 30 && offsetof(MPEG1WAVEFORMAT, dwPTSLow) == 32);
