// The graph of a file being read: file source, demultiplexer, and what the host connects to its pins.
#pragma once

#include "MediaKit/IMP4MediaDemuxFilter.h"
#include "MediaKit/ITrackInformation.h"
#include "MediaKit/StreamRate.h"
#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IBaseFilter.h"
#include "Platform/DirectShow/IGraphBuilder.h"
#include "Platform/DirectShow/IMediaControl.h"
#include "Platform/DirectShow/IMediaEvent.h"
#include "Platform/DirectShow/IPin.h"
#include "Platform/DirectShow/MediaType.h"
#include "Platform/Kernel/Event.h"
#include "Tools/mediakit/container_facts.h"
#include "Tools/mediakit/log_watch.h"
#include "Tools/mediakit/tap_filter.h"

#include <optional>
#include <string>
#include <vector>

namespace mediakit_tool {

struct ReadingOptions {
    bool strict = false;  ///< none of the choices of IReadingPolicy
};

/// An output pin of the demultiplexer with all that it tells.
struct Stream {
    std::size_t number = 0;  ///< in the demultiplexer, from 0
    std::string name;        ///< of the pin, "Output_0"
    ComPtr<IPin> pin;
    Norvane::MediaKit::Filters::TrackInformation track;
    CMediaType type;
    qz_DSFilters::StreamRate rate;  ///< 0 / 1 when unknown
    DWORD orientation = 0;          ///< quarter turns clockwise; 4: the file does not say

    bool IsVideo() const;
    /// "avc1"
    std::string Entry() const;
};

/// Built, run and stopped on the host's thread. The graph is stopped before it goes.
class PlaybackGraph {
public:
    /// The reason of a failure comes from the log, which keeps what the reader reports (LogWatch::kFindings).
    explicit PlaybackGraph(const LogWatch& log) : m_log(log) {}
    ~PlaybackGraph();

    /// Opens the file (UTF-8) and makes the streams. False: see Failure.
    bool Open(const std::string& path, const ReadingOptions& options);
    /// A file of which no track can be played has none.
    const std::vector<Stream>& Streams() const { return m_streams; }
    /// The tracks of the file that have no stream, in the file's order. Reads the file's boxes anew.
    std::vector<FileTrack> TracksNotPlayed() const;
    /// Why a file without streams cannot be played.
    std::string NoStreamsText() const;
    /// Why a file with streams has none of that number.
    std::string NoPinText(std::size_t number) const;
    /// Of the movie, 100 ns; nothing without streams.
    std::optional<REFERENCE_TIME> Duration() const;

    // While stopped:
    /// Puts a filter between the pin and the consumer, which outlives the graph's running.
    bool ConnectTap(const Stream& stream, SampleConsumer& consumer);
    /// Takes all taps away again.
    void DisconnectTaps();

    /// Moves all connected streams, also while running; see IMediaSeeking.
    bool Seek(REFERENCE_TIME time);
    bool Run();
    /// What made Wait return.
    enum class Outcome { Ended, Failed, Interrupted, TimedOut };
    /// Waits until all taps have had the end of their streams, a filter gave up, `interrupt` (null: none) is set, or
    /// the time is over.
    Outcome Wait(HANDLE interrupt, DWORD milliseconds);
    /// No tap is called any more; nothing when it never ran. False when something has failed since Run; see Failure.
    bool Stop();

    /// "cannot be opened: no such file"; the first failure since Open or Run.
    const std::string& Failure() const { return m_failure; }
    /// Set while the graph has an event to tell.
    HANDLE EventHandle() const;
    /// Takes what the graph has to tell. False when a filter has given up; see Failure.
    bool HandleEvents();

    // For what else a host connects:
    IGraphBuilder* Graph() const { return m_graph.get(); }
    IBaseFilter* Demultiplexer() const { return m_demultiplexer.get(); }

private:
    bool MakeFilters();
    bool Load(const std::string& path);
    bool Connect(const ReadingOptions& options);
    void FindStreams();
    bool AllEnded() const;
    std::string ReadFailure(HRESULT hr) const;
    bool Fail(const std::string& text);
    bool Check(HRESULT hr, const std::string& what);

    const LogWatch& m_log;
    std::string m_path;  ///< of the file
    ComPtr<IGraphBuilder> m_graph;
    ComPtr<IMediaControl> m_control;
    ComPtr<IMediaEvent> m_events;
    ComPtr<IBaseFilter> m_source;
    ComPtr<IBaseFilter> m_demultiplexer;
    std::vector<Stream> m_streams;
    struct Tap {
        ComPtr<IBaseFilter> filter;
        TapFilter* tap;  ///< the same
    };
    std::vector<Tap> m_taps;
    CAMEvent m_ended;  ///< a tap has had its last sample
    std::string m_failure;
};

/// The first pin of that direction that is not connected yet; null without one.
ComPtr<IPin> FreePin(IBaseFilter& filter, PIN_DIRECTION direction);

}  // namespace mediakit_tool
