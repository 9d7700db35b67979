#include "VideoIO/MPEGUtil/MPEG4VideoDecoder.h"

#include "MediaKit/Results.h"
#include "VideoIO/MPEGUtil/ConfigurationRecordReader.h"
#include "VideoIO/MPEGUtil/SampleAspectRatio.h"
#include "VideoIO/MPEGUtil/StartCode.h"

#include <algorithm>
#include <array>
#include <bit>

namespace qz_MPEGUtil {
namespace {

/// The last byte of the start codes of video object layers: 0x20 to 0x2F.
constexpr BYTE layer_code = 0x20;
constexpr BYTE layer_code_mask = 0xF0;
constexpr std::ptrdiff_t start_code_size = 4;

/// video_object_type_indication of what has a header of its own: simple studio, core studio, fine granularity scalable.
constexpr std::array<std::uint32_t, 3> other_headers = {14, 15, 18};

constexpr std::uint32_t rectangular = 0;

/// aspect_ratio_info 1 to 5 have the ratios of the same table in H.264; those above are reserved.
constexpr std::uint32_t last_aspect_ratio = 5;
constexpr std::uint32_t extended_par = 15;

SIZE ReadPixelAspectRatio(ConfigurationRecordReader& reader) {
    const std::uint32_t info = reader.Bits(4);
    SampleAspectRatio ratio = sample_aspect_ratios[info <= last_aspect_ratio ? info : 0];
    if (info == extended_par) {
        const std::uint32_t width = reader.Bits(8);
        const std::uint32_t height = reader.Bits(8);
        if (width != 0 && height != 0) ratio = {static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
    }
    return {ratio.width, ratio.height};
}

/// chroma_format, low_delay and the buffer model.
void SkipControlParameters(ConfigurationRecordReader& reader) {
    constexpr unsigned buffer_model_bits = 79;
    reader.Bits(2 + 1);
    if (reader.Bits(1) == 0) return;
    for (unsigned left = buffer_model_bits; left > 0; left -= std::min(left, 32u)) reader.Bits(std::min(left, 32u));
}

bool ReadMarker(ConfigurationRecordReader& reader) { return reader.Bits(1) == 1; }

/// From the shape to the end of the time base. The increment of a fixed rate has as many bits as the greatest one.
bool SkipShapeAndTime(ConfigurationRecordReader& reader) {
    if (reader.Bits(2) != rectangular || !ReadMarker(reader)) return false;
    const std::uint32_t resolution = reader.Bits(16);
    if (resolution == 0 || !ReadMarker(reader)) return false;
    if (reader.Bits(1) != 0) reader.Bits(std::max(1u, static_cast<unsigned>(std::bit_width(resolution - 1))));
    return true;
}

bool ReadSize(ConfigurationRecordReader& reader, SIZE& size) {
    constexpr unsigned size_bits = 13;
    if (!ReadMarker(reader)) return false;
    size.cx = static_cast<LONG>(reader.Bits(size_bits));
    if (!ReadMarker(reader)) return false;
    size.cy = static_cast<LONG>(reader.Bits(size_bits));
    return ReadMarker(reader) && size.cx != 0 && size.cy != 0;
}

/// VideoObjectLayer() behind its start code, as far as the interlaced flag.
bool ReadLayer(ConfigurationRecordReader& reader, VideoDecoderParams& params) {
    reader.Bits(1);  // random_accessible_vol
    if (std::ranges::find(other_headers, reader.Bits(8)) != other_headers.end()) return false;
    if (reader.Bits(1) != 0) reader.Bits(4 + 3);  // version and priority
    params.pixelAspectRatio = ReadPixelAspectRatio(reader);
    if (reader.Bits(1) != 0) SkipControlParameters(reader);
    if (!SkipShapeAndTime(reader) || !ReadSize(reader, params.size)) return false;
    params.pictureStructure = reader.Bits(1) != 0 ? PictureStructure::Interlaced : PictureStructure::Unknown;
    return true;
}

}  // namespace

HRESULT MPEG4VideoDecoder::Init(const VideoDecoderParams& params) {
    if (params.data == nullptr || params.data->data == nullptr) return E_POINTER;
    const BYTE* const end = params.data->data + params.data->dataSize;
    const BYTE* at = FindStartCode(params.data->data, end);
    while (end - at >= start_code_size) {
        if ((at[start_code_size - 1] & layer_code_mask) == layer_code) {
            m_layer = {at + start_code_size, end};
            return S_OK;
        }
        at = FindStartCode(at + start_code_size - 1, end);
    }
    return QZ_E_BAD_DATA;
}

HRESULT MPEG4VideoDecoder::GetInfo(VideoDecoderParams& params) const {
    ConfigurationRecordReader reader(m_layer);
    VideoDecoderParams found = params;
    const bool good = ReadLayer(reader, found);
    // Behind the end there are zeros, which look like anything.
    if (reader.Exhausted()) return QZ_E_MORE_DATA;
    if (!good) return QZ_E_BAD_DATA;
    params = found;
    return S_OK;
}

}  // namespace qz_MPEGUtil
