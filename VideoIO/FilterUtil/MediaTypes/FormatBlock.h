// Typed access to a media type's format block, no further than it reaches.
#pragma once

#include "Platform/DirectShow/MediaType.h"

namespace qz_DSFilters {

/// The part of an MPEG1VIDEOINFO and an MPEG2VIDEOINFO in front of the sequence header.
inline constexpr ULONG MPEG1VideoInfoLength = offsetof(MPEG1VIDEOINFO, bSequenceHeader);
inline constexpr ULONG MPEG2VideoInfoLength = offsetof(MPEG2VIDEOINFO, dwSequenceHeader);

/// The block as a Block, null when it is absent or has fewer than `length` bytes. The block is the type's.
template <class Block>
Block* FormatBlock(const AM_MEDIA_TYPE& type, ULONG length = sizeof(Block)) {
    if (type.pbFormat == nullptr || type.cbFormat < length) return nullptr;
    return reinterpret_cast<Block*>(type.pbFormat);
}

/// What the four kinds of video header have in common. Pointers into the type's block.
struct VideoHeader {
    RECT* rcSource = nullptr;
    DWORD* dwBitRate = nullptr;
    REFERENCE_TIME* AvgTimePerFrame = nullptr;
    const BITMAPINFOHEADER* bmiHeader = nullptr;
    VIDEOINFOHEADER2* header2 = nullptr;  ///< null for the kinds that begin with a VIDEOINFOHEADER
    bool mpeg = false;                    ///< MPEG1VIDEOINFO or MPEG2VIDEOINFO
};

/// S_OK; S_FALSE when the type's format is none of the four; E_INVALIDARG (logged) when its block is absent or too
/// short.
HRESULT FindVideoHeader(const AM_MEDIA_TYPE& type, VideoHeader& header);

}  // namespace qz_DSFilters
