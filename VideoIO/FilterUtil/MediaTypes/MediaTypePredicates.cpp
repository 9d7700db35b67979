#include "VideoIO/FilterUtil/MediaTypes/MediaTypePredicates.h"

#include <algorithm>
#include <iterator>

namespace qz_DSFilters {

namespace {

constexpr GUID UncompressedVideo[] = {
    MEDIASUBTYPE_NV12,    MEDIASUBTYPE_YUY2,   MEDIASUBTYPE_YVYU,   MEDIASUBTYPE_YUYV,  MEDIASUBTYPE_UYVY,
    MEDIASUBTYPE_IYUV,    MEDIASUBTYPE_YV12,   MEDIASUBTYPE_I420,   MEDIASUBTYPE_RGB32, MEDIASUBTYPE_ARGB32,
    MEDIASUBTYPE_RGB24,   MEDIASUBTYPE_RGB555, MEDIASUBTYPE_RGB565, MEDIASUBTYPE_RGB8,  MEDIASUBTYPE_YVU9,
    QZ_MEDIASUBTYPE_HDYC, MEDIASUBTYPE_BYRG,   MEDIASUBTYPE_BYGB,   MEDIASUBTYPE_BYGR,  MEDIASUBTYPE_BYBG,
    MEDIASUBTYPE_Y800,
};

constexpr GUID AAC[] = {
    MEDIASUBTYPE_RAW_AAC1,  MEDIASUBTYPE_MPEG_ADTS_AAC, MEDIASUBTYPE_AAC_MPEG2,
    MEDIASUBTYPE_AAC_MPEG4, MEDIASUBTYPE_MPEG_HEAAC,    MEDIASUBTYPE_MP4A,
    subtype_of(0x6134706D),  // "mp4a"
    MEDIASUBTYPE_AAC_SONY,
};

template <std::size_t Count>
bool Contains(const GUID (&list)[Count], const GUID& guid) {
    return std::find(std::begin(list), std::end(list), guid) != std::end(list);
}

}  // namespace

bool IsUncompressedVideo(const AM_MEDIA_TYPE& type) {
    return type.majortype == MEDIATYPE_Video && Contains(UncompressedVideo, type.subtype);
}

bool IsPCM(const AM_MEDIA_TYPE& type) {
    return type.majortype == MEDIATYPE_Audio &&
           (type.subtype == MEDIASUBTYPE_PCM || type.subtype == MEDIASUBTYPE_IEEE_FLOAT);
}

bool IsH264Subtype(const GUID& subtype) { return subtype == MEDIASUBTYPE_H264 || subtype == MEDIASUBTYPE_AVC1; }

bool IsH265Subtype(const GUID& subtype) { return subtype == MEDIASUBTYPE_H265 || subtype == MEDIASUBTYPE_HVC1; }

bool IsAACSubtype(const GUID& subtype) { return Contains(AAC, subtype); }

}  // namespace qz_DSFilters
