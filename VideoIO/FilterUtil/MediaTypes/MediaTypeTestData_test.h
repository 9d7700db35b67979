// Media types for tests, with format blocks of any length.
#pragma once

#include "Platform/DirectShow/MediaType.h"

#include <cstring>

namespace qz_DSFilters::test {

/// A type with the first `length` bytes of a block (all of them by default). Its block lies in memory of that length,
/// so that a sanitizer sees a read behind it.
template <class Block>
CMediaType TypeOf(const GUID& formattype, const Block& block, ULONG length = sizeof(Block)) {
    CMediaType type;
    type.majortype = MEDIATYPE_Video;
    type.formattype = formattype;
    type.SetFormat(reinterpret_cast<const BYTE*>(&block), length);
    return type;
}

/// A video header of any kind with a value of its own in each field.
template <class Header>
Header FilledHeader() {
    Header header{};
    header.rcSource = {10, 20, 650, 500};
    header.rcTarget = {1, 2, 3, 4};
    header.dwBitRate = 8'000'000;
    header.dwBitErrorRate = 5;
    header.AvgTimePerFrame = 333667;
    header.bmiHeader = {40, 720, -480, 1, 12, 0x32315659, 518400, 11, 12, 13, 14};  // "YV12"
    return header;
}

inline VIDEOINFOHEADER2 FilledHeader2() {
    auto header = FilledHeader<VIDEOINFOHEADER2>();
    header.dwInterlaceFlags = AMINTERLACE_IsInterlaced | AMINTERLACE_Field1First;
    header.dwCopyProtectFlags = 6;
    header.dwPictAspectRatioX = 16;
    header.dwPictAspectRatioY = 9;
    header.dwControlFlags = 7;
    header.dwReserved2 = 8;
    return header;
}

inline CMediaType VideoInfoType() { return TypeOf(FORMAT_VideoInfo, FilledHeader<VIDEOINFOHEADER>()); }
inline CMediaType VideoInfo2Type() { return TypeOf(FORMAT_VideoInfo2, FilledHeader2()); }

inline CMediaType MPEG1Type() {
    MPEG1VIDEOINFO info{};
    info.hdr = FilledHeader<VIDEOINFOHEADER>();
    info.dwStartTimeCode = 21;
    return TypeOf(FORMAT_MPEGVideo, info, offsetof(MPEG1VIDEOINFO, bSequenceHeader));
}

inline CMediaType MPEG2Type() {
    MPEG2VIDEOINFO info{};
    info.hdr = FilledHeader2();
    info.dwStartTimeCode = 31;
    info.dwProfile = 100;
    info.dwLevel = 41;
    info.dwFlags = 4;
    return TypeOf(FORMAT_MPEG2Video, info, offsetof(MPEG2VIDEOINFO, dwSequenceHeader));
}

inline CMediaType DVType(DWORD videoSource, DWORD videoControl) {
    DVINFO info{};
    info.dwDVVAuxSrc = videoSource;
    info.dwDVVAuxCtl = videoControl;
    return TypeOf(FORMAT_DvInfo, info);
}

inline CMediaType AnalogType() {
    return TypeOf(FORMAT_AnalogVideo, ANALOGVIDEOINFO{{1, 2, 3, 4}, {5, 6, 7, 8}, 720, 576, 400000});
}

inline CMediaType WaveType(WORD tag, WORD channels = 2, WORD bits = 16) {
    CMediaType type = TypeOf(FORMAT_WaveFormatEx, WAVEFORMATEX{tag, channels, 48000, 192000, 4, bits, 0});
    type.majortype = MEDIATYPE_Audio;
    return type;
}

inline CMediaType UnknownFormatType() { return TypeOf(MEDIATYPE_Text, FilledHeader2()); }

/// Without its last byte.
inline CMediaType Shortened(const CMediaType& type) {
    CMediaType shorter = type;
    shorter.SetFormat(type.pbFormat, type.cbFormat - 1);
    return shorter;
}

inline CMediaType WithoutBlock(const CMediaType& type) {
    CMediaType bare = type;
    bare.ResetFormatBuffer();
    return bare;
}

}  // namespace qz_DSFilters::test
