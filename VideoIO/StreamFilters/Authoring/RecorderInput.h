// What a recorder has received of a track and not written yet.
#pragma once

#include "VideoIO/StreamFilters/Authoring/SampleQueue.h"
#include "VideoIO/StreamFilters/Authoring/TrackInput.h"

#include <cstdint>

namespace Norvane::MediaKit::Filters {

struct RecorderInput {
    explicit RecorderInput(TrackInput& input) : pin(&input) {}

    TrackInput* pin;
    std::int64_t received = 0;  ///< samples in this run
    bool endOfStream = false;
    SampleQueue queue;
    REFERENCE_TIME firstStart = MinTime;  ///< start time of the first sample; MinTime: none yet

    bool IsConnected() const { return pin->IsTrackConnected(); }
    MovieTrack& Track() const { return pin->Track(); }

    void BeginRun() {
        received = 0;
        endOfStream = false;
        queue.Clear();
        firstStart = MinTime;
    }
};

}  // namespace Norvane::MediaKit::Filters
