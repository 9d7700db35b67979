// What a header of MPEG-4 Part 2 video says of its pictures, ISO/IEC 14496-2.
#pragma once

#include "Platform/Com/Results.h"
#include "Platform/Com/Types.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace qz_MPEGUtil {

/// Coded bytes, which stay their owner's.
struct MediaData {
    const BYTE* data = nullptr;
    std::size_t dataSize = 0;
};

enum class PictureStructure {
    Unknown = 0,
    TopFieldFirst = 2,
    Interlaced = 3,  ///< two fields, and no word on which comes first
};

/// Input of a decoder, and what it finds.
struct VideoDecoderParams {
    const MediaData* data = nullptr;
    SIZE size{};              ///< pixels
    SIZE pixelAspectRatio{};  ///< width : height of a pixel
    PictureStructure pictureStructure = PictureStructure::Unknown;
};

/// Reads the header of a video object layer; decodes no picture. One thread at a time; the data must outlive it.
class MPEG4VideoDecoder {
public:
    /// Looks for the header. S_OK, E_POINTER without data, QZ_E_BAD_DATA when no layer begins in them, as in video with
    /// the short header of ITU-T H.263.
    HRESULT Init(const VideoDecoderParams& params);

    /// Sets the properties. QZ_E_MORE_DATA for a header that is cut short. QZ_E_BAD_DATA for one that is none, for
    /// layers that are not rectangular (their pictures have a size each), and for the studio and the fine granularity
    /// objects, whose headers are others. After a failure the properties are as before.
    HRESULT GetInfo(VideoDecoderParams& params) const;

private:
    std::span<const BYTE> m_layer;  ///< behind the start code
};

}  // namespace qz_MPEGUtil
