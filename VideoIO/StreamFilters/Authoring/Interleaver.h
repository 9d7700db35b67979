// The order in which samples of several pins reach the file.
#pragma once

#include "VideoIO/StreamFilters/Authoring/TrackInput.h"

#include <optional>
#include <span>

namespace Norvane::MediaKit::Filters {

/// What the interleaver asks of the multiplexer it works for.
class InterleaverHost {
public:
    /// Span of a chunk and of one step, 100 ns.
    virtual REFERENCE_TIME InterleaveDuration() const = 0;
    /// Tracks of the movie; 0 until it has started.
    virtual std::size_t MovieTrackCount() const = 0;
    /// Starts the movie. VFW_E_WRONG_STATE when this is not the time for it.
    virtual HRESULT StartMovie() = 0;
    /// Writes from the front of the queue until a key reaches `limit`, or all when `forced`. Answers the
    /// number of samples taken off the queue, written or not.
    virtual std::size_t WriteChunk(TrackInput& input, REFERENCE_TIME limit, bool forced) = 0;

protected:
    ~InterleaverHost() = default;
};

/// Takes the pin with the earliest waiting sample, once every track has a whole step to offer, so that
/// the tracks advance together in the file. Keys are relative to each pin's first sample: tracks are aligned
/// by their first samples. The filter lock is held.
class Interleaver {
public:
    Interleaver(InterleaverHost& host, std::span<TrackInput* const> inputs) : m_host(host), m_inputs(inputs) {}

    /// Writes what can be written now, or with `final` all that waits. Answers whether anything was taken.
    bool Pass(bool final);

private:
    enum class Step { Done, Again };

    Step RunStep(bool final);
    /// True unless a connected pin still waits for its first sample. Stores the smallest span on offer, none
    /// when no pin has one, and moves the marks of pins whose next sample lies beyond a step.
    bool MeasureSpans(std::optional<REFERENCE_TIME>& smallest);
    std::optional<REFERENCE_TIME> SpanOf(TrackInput& input, REFERENCE_TIME step) const;
    bool AnySampleWaits() const;
    TrackInput* Choose() const;
    REFERENCE_TIME StepSpan() const { return m_host.MovieTrackCount() > 1 ? m_host.InterleaveDuration() : 0; }

    InterleaverHost& m_host;
    const std::span<TrackInput* const> m_inputs;
    bool m_tookAny = false;
};

}  // namespace Norvane::MediaKit::Filters
