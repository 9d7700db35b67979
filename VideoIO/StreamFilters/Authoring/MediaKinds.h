// Which media types the multiplexers accept, and what kind of track each makes.
#pragma once

#include "VideoIO/FilterUtil/MediaTypes/MediaTypePredicates.h"

namespace Norvane::MediaKit::Filters {

inline bool IsVideo(const AM_MEDIA_TYPE& type) { return type.majortype == MEDIATYPE_Video; }
inline bool IsAudio(const AM_MEDIA_TYPE& type) { return type.majortype == MEDIATYPE_Audio; }

inline bool IsVideoTrack(const AM_MEDIA_TYPE& type) {
    return IsVideo(type) && (qz_DSFilters::IsH264Subtype(type.subtype) || qz_DSFilters::IsH265Subtype(type.subtype));
}
inline bool IsAudioTrack(const AM_MEDIA_TYPE& type) {
    return IsAudio(type) && qz_DSFilters::IsAACSubtype(type.subtype);
}

}  // namespace Norvane::MediaKit::Filters
