// What a host knows better than the file.
#pragma once

#include "MediaKit/IOverrideMediaType.h"
#include "Platform/DirectShow/MediaType.h"

namespace Norvane::MediaKit::Filters::details {

/// The initial values stand for "as the file says".
struct MediaTypeOverrides {
    DWORD interlaceFlags = 0xFFFFFFFF;
    SIZE aspectRatio{0, 0};
    qz_DSFilters::StreamRate rate{0, 0};
    DWORD orientation = qz_DSFilters::VideoOrientation_None;

    /// All but the orientation, which no media type tells.
    void ApplyTo(CMediaType& type) const;
    /// A time of a stream that has `streamRate`: the number of the frame stays, its time becomes that of the new rate.
    REFERENCE_TIME Restated(REFERENCE_TIME time, const qz_DSFilters::StreamRate& streamRate) const;
};

}  // namespace Norvane::MediaKit::Filters::details
