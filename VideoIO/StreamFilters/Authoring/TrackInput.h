// An input pin as authoring sees it.
#pragma once

#include "Platform/DirectShow/MediaType.h"
#include "VideoIO/StreamFilters/Authoring/MovieTrack.h"

#include <cstdint>

namespace Norvane::MediaKit::Filters {

/// The pin of one track, which owns the track's tables. The filter lock is held around every call.
class TrackInput {
public:
    virtual bool IsTrackConnected() const = 0;
    /// Number of the pin, and of its track in the index.
    virtual std::uint32_t TrackIndex() const = 0;
    /// The pin's name, for the log.
    virtual const wchar_t* TrackName() const = 0;
    virtual const CMediaType& TrackMediaType() const = 0;
    virtual MovieTrack& Track() = 0;

    // Events of the pin.
    virtual void SignalEndOfTrack() = 0;
    virtual void SignalDrained() = 0;
    virtual void ResetEndOfTrack() = 0;

protected:
    ~TrackInput() = default;
};

}  // namespace Norvane::MediaKit::Filters
