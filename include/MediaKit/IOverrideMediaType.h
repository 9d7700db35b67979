// What a host knows better about a stream than its media type says.
#pragma once

#include "MediaKit/StreamRate.h"
#include "Platform/Com/Unknown.h"

namespace qz_DSFilters {

/// How a picture is turned for display: quarter turns clockwise, 4 when nothing is said.
enum VideoOrientation : DWORD {
    VideoOrientation_0 = 0,
    VideoOrientation_90 = 1,
    VideoOrientation_180 = 2,
    VideoOrientation_270 = 3,
    VideoOrientation_None = 4,
};

/// Offered by the input pins of a multiplexer, which take the orientation of a video stream and answer
/// S_FALSE to the rest, and by the output pins of the demultiplexer, which take all. Set it on a
/// multiplexer while the filter is stopped; it takes its filter lock, and SetOrientation may come from any thread. On a
/// demultiplexer any thread may set it at any time: media types that are asked for and samples that are pushed from
/// then on have it, the type of a connection stays.
struct IOverrideMediaType : IUnknown {
    virtual HRESULT SetAspectRatio(const SIZE* aspectRatio) = 0;
    /// `dwInterlaceFlags` of the media type.
    virtual HRESULT SetInterlaceFlags(DWORD interlaceFlags) = 0;
    virtual HRESULT SetRate(const StreamRate* rate) = 0;
    /// One of VideoOrientation.
    virtual HRESULT SetOrientation(DWORD orientation) = 0;

protected:
    ~IOverrideMediaType() = default;
};

inline constexpr IID IID_IOverrideMediaType = make_guid("59299DA4-90D2-4667-ABC1-D4F2BA183C04");

}  // namespace qz_DSFilters

template <>
inline constexpr IID uuid_of<qz_DSFilters::IOverrideMediaType> = qz_DSFilters::IID_IOverrideMediaType;
