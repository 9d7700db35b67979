// From a track's queue into `mdat`: one run of samples.
#pragma once

#include "VideoIO/StreamFilters/Authoring/Movie.h"
#include "VideoIO/StreamFilters/Authoring/RecorderInput.h"
#include "VideoIO/StreamFilters/Authoring/RecordingMonitor.h"
#include "VideoIO/StreamFilters/Authoring/RecordingOutput.h"

namespace Norvane::MediaKit::Filters {

/// Lives for one chunk of a track, under the filter lock.
class ChunkWriter {
public:
    ChunkWriter(Movie& movie, RecordingOutput& output, RecordingMonitor& monitor, RecorderInput& input)
        : m_movie(movie), m_output(output), m_stream(output), m_monitor(monitor), m_input(input) {}

    /// Writes from the front of the queue and raises `mark` to the keys written. The first entry whose key is at or
    /// beyond `limit` ends the chunk, unless it is forced; that entry and all after it stay queued, whatever their
    /// keys. A write that fails ends it too, and releases what is queued: a hole in a stream is not mended by later
    /// samples. Answers the number of samples taken off the queue. An exception of a handler propagates, after the
    /// samples before it have become a chunk.
    std::size_t Write(REFERENCE_TIME limit, bool forced, REFERENCE_TIME& mark);

private:
    std::size_t WriteSamples(REFERENCE_TIME limit, bool forced, REFERENCE_TIME& mark);
    void MakeRoom(REFERENCE_TIME limit);
    std::size_t ReleaseQueue();
    HRESULT WriteSample(const QueuedSample& entry);
    HRESULT WriteData(IMediaSample& sample, details::WrittenSample& written);
    void AddToTables(IMediaSample& sample, const LiveSampleInfo& info);
    void ReportFailure(HRESULT result);

    Movie& m_movie;
    RecordingOutput& m_output;
    OutputPin_byte_stream m_stream;
    RecordingMonitor& m_monitor;
    RecorderInput& m_input;
};

}  // namespace Norvane::MediaKit::Filters
