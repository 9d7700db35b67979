// Families of media types.
#pragma once

#include "Platform/DirectShow/MediaType.h"

namespace qz_DSFilters {

/// Video whose samples are whole pictures of a known size.
bool IsUncompressedVideo(const AM_MEDIA_TYPE& type);
/// Audio samples as integers or floating point numbers.
bool IsPCM(const AM_MEDIA_TYPE& type);

/// H.264 as Annex B or with length prefixes (`H264`, `AVC1`).
bool IsH264Subtype(const GUID& subtype);
/// H.265 as Annex B or with length prefixes (`H265`, `HVC1`).
bool IsH265Subtype(const GUID& subtype);
/// AAC in any of its wrappings.
bool IsAACSubtype(const GUID& subtype);

}  // namespace qz_DSFilters
