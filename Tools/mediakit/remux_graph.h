// The graph of a copy: file source, demultiplexer, a filter a track, multiplexer, file sink.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tools/mediakit/movie_output.h"
#include "Tools/mediakit/playback_graph.h"
#include "Tools/mediakit/remux_filter.h"

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

    /// Both outlive the graph.
    RemuxGraph(const LogWatch& log, RemuxControl& control) : m_control(control), m_source(log) {}

    /// False: see Failure, which is about the source.
    bool Open(const std::string& path, const ReadingOptions& options) { return m_source.Open(path, options); }
    /// Nothing touches the disk yet. False: see Failure.
    bool Build(const MovieOutputSettings& settings);

    PlaybackGraph& Source() { return m_source; }
    const std::vector<Track>& Tracks() const { return m_tracks; }
    const std::vector<LeftOut>& TracksLeftOut() const { return m_leftOut; }
    /// Nothing more goes to the multiplexer.
    bool AllEnded() const;
    /// A track came to its end without a sample: the multiplexer waits for it for ever.
    bool Blocked() const;
    /// How the multiplexer answered when it took no more; S_OK otherwise.
    HRESULT Refused() const;
    REFERENCE_TIME Position() const { return m_output.Position(); }
    const std::string& Failure() const { return m_failure.empty() ? m_source.Failure() : m_failure; }

private:
    bool AddTrack(const Stream& stream);
    bool SeekToFirstSample();
    bool Fail(const std::string& text);

    RemuxControl& m_control;
    std::vector<Track> m_tracks;
    std::vector<LeftOut> m_leftOut;
    PlaybackGraph m_source;  ///< stops its filters when it goes, before what they write to does
    MovieOutput m_output;
    std::string m_failure;
};

}  // namespace mediakit_tool
