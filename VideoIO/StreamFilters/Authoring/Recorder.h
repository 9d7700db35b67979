// From received samples to a file: what plain and fragmented recording have in common.
#pragma once

#include "VideoIO/StreamFilters/Authoring/LiveIndex.h"
#include "VideoIO/StreamFilters/Authoring/MovieBoxes.h"
#include "VideoIO/StreamFilters/Authoring/RecorderHost.h"
#include "VideoIO/StreamFilters/Authoring/RecorderInput.h"
#include "VideoIO/StreamFilters/Authoring/RecordingMonitor.h"
#include "VideoIO/StreamFilters/Authoring/RecordingOutput.h"

#include <memory>
#include <span>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// Queues the samples of its tracks, writes them when they are due, and ends the recording when every track has ended.
/// How samples wait and what the file looks like is the derived class's. A sample goes down from here: queue, handler,
/// output.
///
/// Threads: no lock of its own; the filter lock is held around every call but Result.
class Recorder {
public:
    virtual ~Recorder() = default;
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// A further track; its number is its place in the order of these calls. The pin outlives the recorder.
    virtual void AddTrack(TrackInput& pin);

    /// The filter leaves the stopped state.
    void BeginRun();
    /// The track's pin becomes active: resets what belongs to the last run.
    virtual void BeginTrack(std::size_t track);
    bool HasEnded(std::size_t track) const { return m_inputs[track].endOfStream; }
    /// Queues a sample, and writes what is due. `start` is its start time.
    virtual void Receive(std::size_t track, IMediaSample& sample, REFERENCE_TIME start) = 0;
    /// No more samples of this track. After the last track everything that waits is written, and readers and
    /// downstream get the end, once a run.
    void EndOfStream(std::size_t track);
    /// Accepts samples of this track again, after a seek.
    void ReopenTrack(std::size_t track);
    /// Releases the samples that wait.
    void DiscardQueue(std::size_t track);
    /// Flushes what was written since the last call to the system, so that a crash of the process loses none of it.
    void FlushToSystem();
    /// The filter was stopped: completes the file, if one was begun, and gets ready for the next run.
    void Finish();

    /// Any thread.
    RecordingResult Result() const { return m_monitor.Result(); }

protected:
    Recorder(RecorderHost& host, RecordingOutput& output, LiveIndex& index)
        : m_host(host), m_output(output), m_index(index), m_monitor(host, index) {}

    /// Writes what is due; a track that has ended holds the others back no longer.
    virtual void WriteReady() = 0;
    /// Writes all that waits; every track has ended.
    virtual void WriteRest() = 0;
    virtual void FlushFile() = 0;
    /// Completes the file and releases it. Returns whether the file is complete.
    virtual bool FinishFile() = 0;

    std::span<RecorderInput> Inputs() { return m_inputs; }
    /// Makes the track's handler at the first sample of a run. Without one the track goes on, and blocks the file.
    void SetUpTrack(RecorderInput& input, IMediaSample& firstSample, bool forceTimescale90000);
    /// Detects the end of the recording, after `input` has ended or its queue has run empty.
    void CheckEndOfStream(RecorderInput& input);
    /// Begins the file: tracks are the connected inputs. VFW_E_WRONG_STATE while the filter is stopped.
    HRESULT BeginFile();
    /// Writes the head of the file; throws core::exception and the like.
    virtual void StartMovie(std::shared_ptr<vio::byte_stream> boxes, std::vector<MovieTrackRef> tracks) = 0;
    void MarkWritten() { m_written = true; }
    /// Reports a failure of the output since the last step, and returns it.
    HRESULT CheckOutput(const wchar_t* text);

    RecorderHost& m_host;
    RecordingOutput& m_output;
    LiveIndex& m_index;
    RecordingMonitor m_monitor;

private:
    HRESULT TryBeginFile();

    std::vector<RecorderInput> m_inputs;
    bool m_ended = false;    ///< the end of stream was delivered in this run
    bool m_written = false;  ///< since the last FlushToSystem
};

}  // namespace Norvane::MediaKit::Filters
