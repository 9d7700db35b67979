// The order in which samples of several tracks reach the file.
#pragma once

#include "VideoIO/StreamFilters/Authoring/RecorderInput.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// Chooses the track with the earliest waiting sample, once every track has a whole step to offer, so that the tracks
/// advance together in the file. Keys are relative to each track's first sample: tracks are aligned by their first
/// samples. Steps and marks are in 100 ns. The filter lock is held.
class Interleaver {
public:
    void AddTrack() { m_marks.push_back(0); }
    /// Before the first sample of a run.
    void ResetTrack(std::size_t track) { m_marks[track] = 0; }
    /// Greatest key written of a track, or where its next chunk was moved to begin.
    REFERENCE_TIME& Mark(std::size_t track) { return m_marks[track]; }

    /// Whether a chunk can be written now: each track has a step to offer, or with `final` any sample waits. Never
    /// before each connected track has had its first sample. Moves the marks of tracks whose next sample is more than a
    /// step later.
    bool CanWrite(std::span<const RecorderInput> inputs, REFERENCE_TIME step, bool final);
    /// The track to write from, nothing when none has a step.
    std::optional<std::size_t> Choose(std::span<const RecorderInput> inputs, REFERENCE_TIME step) const;

private:
    std::optional<REFERENCE_TIME> SpanOf(const RecorderInput& input, REFERENCE_TIME step, REFERENCE_TIME& mark) const;

    std::vector<REFERENCE_TIME> m_marks;  ///< by track
};

}  // namespace Norvane::MediaKit::Filters
