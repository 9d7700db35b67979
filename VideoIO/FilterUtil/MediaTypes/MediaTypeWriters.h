// Properties written into whatever format block a media type has. Results as those of the readers; S_FALSE says that
// the block has no place for the property and nothing changed.
#pragma once

#include "Platform/DirectShow/MediaType.h"

namespace qz_DSFilters {

/// Of the picture. A DV block tells only 16:9 and, for everything else, 4:3.
HRESULT SetAspectRatio(AM_MEDIA_TYPE& type, const SIZE& aspectRatio);
/// 100 ns.
HRESULT SetAvgTimePerFrame(AM_MEDIA_TYPE& type, REFERENCE_TIME avgTimePerFrame);
/// Bits a second; a wave format keeps whole bytes.
HRESULT SetBitRate(AM_MEDIA_TYPE& type, DWORD bitRate);
/// AMINTERLACE_ flags.
HRESULT SetInterlaceFlags(AM_MEDIA_TYPE& type, DWORD interlaceFlags);

}  // namespace qz_DSFilters
