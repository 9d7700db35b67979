// The graph of a recording: sources, multiplexer, file sink.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IGraphBuilder.h"
#include "Platform/DirectShow/IMediaControl.h"
#include "Platform/DirectShow/IMediaEvent.h"
#include "Tools/mediakit/elementary_source.h"
#include "Tools/mediakit/movie_output.h"
#include "Tools/mediakit/record_options.h"

#include <string>
#include <vector>

namespace mediakit_tool {

/// Built, run and stopped on the host's thread. What feeds the sources outlives it. The file is closed when the
/// graph goes.
class RecordingGraph {
public:
    ~RecordingGraph();

    /// Makes filters, settings and connections; nothing touches the disk yet. One source for each
    /// opened reader, in track order; `endEvent` is set whenever one of them has ended. False: see Failure.
    bool Build(const RecordOptions& options, const std::vector<SourceFeed>& feeds, HANDLE endEvent);
    /// Opens the file and starts the sources.
    bool Run();
    /// Finishes the file.
    bool Stop();

    const std::string& Failure() const { return m_failure; }
    /// Start time of what has reached the file on all tracks, 100 ns.
    REFERENCE_TIME Position() const { return m_output.Position(); }
    /// Set while the graph has an event to tell.
    HANDLE EventHandle() const;
    /// Takes what the graph has to tell. False when a filter has given up; see Failure.
    bool HandleEvents();

private:
    bool AddSource(const RecordOptions& options, const SourceFeed& feed, HANDLE endEvent);
    bool Check(HRESULT hr, const std::string& what);
    /// Of the output.
    bool Check(bool done);

    ComPtr<IGraphBuilder> m_graph;
    ComPtr<IMediaControl> m_control;
    ComPtr<IMediaEvent> m_events;
    MovieOutput m_output;
    std::size_t m_sources = 0;
    std::string m_failure;
};

}  // namespace mediakit_tool
