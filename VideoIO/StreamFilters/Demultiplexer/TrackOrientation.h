// The turn of a track's pictures.
#pragma once

#include "Platform/Com/Types.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"

namespace Norvane::MediaKit::Filters::details {

/// One of qz_DSFilters::VideoOrientation for the transformation matrix of `tkhd`.
DWORD OrientationOf(const vio::mp4::track_header_box& tkhd);

}  // namespace Norvane::MediaKit::Filters::details
