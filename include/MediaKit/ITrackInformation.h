// What a file says of a track as a whole.
#pragma once

#include "Platform/Com/Unknown.h"

#include <cstdint>

namespace Norvane::MediaKit::Filters {

/// Numbers of samples are those that the pin pushes.
struct TrackInformation {
    DWORD trackId = 0;
    DWORD handler = 0;      ///< four characters, the first in the highest byte: `vide` or `soun`
    DWORD sampleEntry = 0;  ///< the same: `avc1`, `mp4a`, ...
    DWORD timescale = 0;    ///< units a second of the media
    std::uint64_t sampleCount = 0;
    std::uint64_t syncSampleCount = 0;
    std::uint64_t totalBytes = 0;     ///< of all samples
    DWORD maxSampleSize = 0;          ///< bytes
    REFERENCE_TIME duration = 0;      ///< sum of the samples' durations, 100 ns
    REFERENCE_TIME presentation = 0;  ///< end of the last sample before edits, 100 ns
    std::int64_t edit = 0;            ///< media time taken from every presentation time, in units of timescale
};

/// Offered by the output pins of the demultiplexer. Any thread; nothing in it changes while the pin exists.
struct ITrackInformation : IUnknown {
    virtual HRESULT GetTrackInformation(TrackInformation* information) = 0;

protected:
    ~ITrackInformation() = default;
};

inline constexpr IID IID_ITrackInformation = make_guid("E0C7A8D5-1B92-4F6E-8C3D-75A4B6120F9E");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::ITrackInformation> =
    Norvane::MediaKit::Filters::IID_ITrackInformation;
