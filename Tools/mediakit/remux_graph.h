// The graph of a copy: file source, demultiplexer, a filter a track, multiplexer, file sink.
#pragma once

#include "Tools/mediakit/movie_output.h"
#include "Tools/mediakit/playback_graph.h"
#include "Tools/mediakit/remux_filter.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace mediakit_tool {

/// Built, run and stopped on the host's thread. The output is closed when the graph goes.
class RemuxGraph {
public:
    struct Track {
        const Stream* stream;
        std::unique_ptr<RemuxProgress> progress;
    };
    struct LeftOut {
        const Stream* stream;
        std::string reason;
    };

    using Refusals = std::map<std::size_t, std::string>;  ///< by the numbers of streams

    /// All outlive the graph. `refused` are streams to leave out, and why.
    RemuxGraph(const LogWatch& log, RemuxControl& control, const Refusals& refused)
        : m_control(control), m_refused(refused), m_source(log) {}

    /// False: see Failure, which is about the source.
    bool Open(const std::string& path, const ReadingOptions& options) { return m_source.Open(path, options); }
    /// Nothing touches the disk yet. False: see Failure.
    bool Build(const MovieOutputSettings& settings);

    PlaybackGraph& Source() { return m_source; }
    const std::vector<Track>& Tracks() const { return m_tracks; }
    const std::vector<LeftOut>& TracksLeftOut() const { return m_leftOut; }
    /// Nothing more goes to the multiplexer.
    bool AllEnded() const;
    /// Numbers of the streams that came to their end without a sample: the multiplexer waits for them for ever.
    std::vector<std::size_t> Blocking() const;
    /// How the multiplexer answered when it took no more; S_OK otherwise.
    HRESULT Refused() const;
    REFERENCE_TIME Position() const { return m_output.Position(); }
    const std::string& Failure() const { return m_failure.empty() ? m_source.Failure() : m_failure; }

private:
    bool AddTrack(const Stream& stream);
    bool SeekToFirstSample();
    bool Fail(const std::string& text);

    RemuxControl& m_control;
    const Refusals& m_refused;
    std::vector<Track> m_tracks;
    std::vector<LeftOut> m_leftOut;
    PlaybackGraph m_source;  ///< stops its filters when it goes, before what they write to does
    MovieOutput m_output;
    std::string m_failure;
};

}  // namespace mediakit_tool
