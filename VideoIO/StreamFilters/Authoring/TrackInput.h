// What authoring sees of an input pin.
#pragma once

#include "Platform/DirectShow/MediaType.h"
#include "VideoIO/StreamFilters/Authoring/MovieTrack.h"
#include "VideoIO/StreamFilters/Authoring/SampleQueue.h"

#include <cstdint>

namespace Norvane::MediaKit::Filters {

/// What an input pin has taken in and not written yet.
struct InputState {
    std::int64_t received = 0;  ///< samples since the pin became active
    bool endOfStream = false;
    SampleQueue queue;
    REFERENCE_TIME chunkStart = 0;        ///< greatest key written, or where the next chunk was moved to begin
    REFERENCE_TIME firstStart = MinTime;  ///< start time of the first sample; MinTime: none yet

    /// Before the first sample of a recording.
    void BeginRecording() {
        received = 0;
        endOfStream = false;
        queue.Clear();
        chunkStart = 0;
        firstStart = MinTime;
    }
};

/// The view that the interleaver, the chunk writer and the index have of a pin. The filter lock is held
/// around every call.
class TrackInput {
public:
    virtual bool IsTrackConnected() const = 0;
    /// Number of the pin, and of its track in the index.
    virtual std::uint32_t TrackIndex() const = 0;
    /// The pin's name, for the log.
    virtual const wchar_t* TrackName() const = 0;
    virtual const CMediaType& TrackMediaType() const = 0;
    virtual MovieTrack& Track() = 0;
    virtual InputState& State() = 0;

protected:
    ~TrackInput() = default;
};

}  // namespace Norvane::MediaKit::Filters
