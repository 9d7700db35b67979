// The end of a graph that writes a movie: multiplexer and file sink.
#pragma once

#include "MediaKit/IMPEG4Mux.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IBaseFilter.h"
#include "Platform/DirectShow/IGraphBuilder.h"
#include "Platform/DirectShow/IPin.h"
#include "Platform/DirectShow/MediaType.h"

#include <optional>
#include <string>

namespace mediakit_tool {

struct MovieOutputSettings {
    std::string path;  ///< UTF-8; replaced when it exists
    bool faststart = false;
    std::optional<std::string> software;
    std::optional<std::string> title;
};

/// How a track is written beyond its media type; without a word, as the multiplexer does by itself.
struct TrackSettings {
    DWORD orientation = 4;     ///< quarter turns clockwise, see IOverrideMediaType
    DWORD timescale = 0;       ///< see IRecordingPolicy
    bool keepStart = false;    ///< the same
    bool decodeTimes = false;  ///< the same: they are the media times
};

/// Made and used on the host's thread. Nothing touches the disk before the graph runs; the file is closed when the
/// graph goes.
class MovieOutput {
public:
    // Each is false on failure; see Failure.
    bool Make(IGraphBuilder& graph, const MovieOutputSettings& settings);
    /// Connects a pin as the next track, with nothing of it lost that the multiplexer would lose by itself.
    bool AddTrack(IPin& output, const TrackSettings& settings);
    /// After the last track.
    bool ConnectSink();

    /// Whether the multiplexer takes such a stream.
    bool Accepts(const CMediaType& type) const;
    /// Start time of what has reached the file on all tracks, 100 ns.
    REFERENCE_TIME Position() const;
    const std::string& Failure() const { return m_failure; }

private:
    /// Settings come before connections.
    bool Configure(const MovieOutputSettings& settings);
    bool Check(HRESULT hr, const std::string& what);

    IGraphBuilder* m_graph = nullptr;
    ComPtr<IBaseFilter> m_multiplexer;
    ComPtr<qz_MPEGSystemFilters::IMPEG4Mux> m_settings;
    ComPtr<IBaseFilter> m_sink;
    std::string m_failure;
};

}  // namespace mediakit_tool
