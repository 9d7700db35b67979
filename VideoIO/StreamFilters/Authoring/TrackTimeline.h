// Decode and composition times of a track's samples, worked out when the tables are built.
#pragma once

#include "VideoIO/StreamFilters/Authoring/MovieTrack.h"

#include <cstdint>

namespace Norvane::MediaKit::Filters {

/// Times in ticks of the track's timescale. Without reordering both are the start time; with it, decode
/// times are the start times in ascending order, from the first of them on. A composition time that would lie
/// before its decode time moves all of them up by the greatest such distance. A track that keeps its start counts from
/// its first presentation on, whatever the order; one whose decode times are given from the first of those.
class TrackTimeline {
public:
    /// Of a finished recording. Sorts the track's presentation order and sets its time base when it is not set yet.
    explicit TrackTimeline(MovieTrack& track);

    std::size_t size() const { return m_track.samples.size(); }
    bool HasCompositionOffsets() const { return m_track.reorderDetected || m_composed; }

    std::int64_t DecodeTime(std::size_t sample) const;
    std::int64_t CompositionTime(std::size_t sample) const { return SubtractTimes(StartTick(sample), m_minimalOffset); }
    /// Least composition minus decode time before the shift; 0 when that is not negative.
    std::int64_t MinimalOffset() const { return m_minimalOffset; }
    /// Earliest start time among the samples, for the edit list; 0 for a track that does not keep it.
    REFERENCE_TIME Start() const { return m_start; }
    /// Composition time of what is presented first, or at 0 when the start lies before that.
    std::int64_t FirstMediaTime() const;

private:
    void FollowPresentation(MovieTrack& track);
    void FollowGivenDecodeTimes();
    std::int64_t StartTick(std::size_t sample) const {
        const std::int64_t tick = ToTicks(m_track.timescale, m_track.samples[sample].start);
        return SubtractTimes(tick, m_originTick);
    }

    const MovieTrack& m_track;
    bool m_ordered = false;   ///< decode times are the track's presentationOrder
    bool m_composed = false;  ///< given decode times differ from the composition times
    REFERENCE_TIME m_timeBase = 0;
    REFERENCE_TIME m_start = 0;
    std::int64_t m_originTick = 0;  ///< start time at decode time 0
    std::int64_t m_minimalOffset = 0;
};

}  // namespace Norvane::MediaKit::Filters
