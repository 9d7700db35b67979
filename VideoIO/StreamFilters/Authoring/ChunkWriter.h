// From a pin's queue into `mdat`: one run of samples of one track.
#pragma once

#include "MediaKit/ILiveSourceProvider.h"
#include "VideoIO/StreamFilters/Authoring/Movie.h"
#include "VideoIO/StreamFilters/Authoring/TrackInput.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

namespace Norvane::MediaKit::Filters {

/// What the chunk writer asks of the multiplexer it works for.
class ChunkWriterHost {
public:
    /// Sample data goes on at this position of the file.
    virtual void SetWritePosition(std::uint64_t position) = 0;
    /// A sample has reached the file.
    virtual void OnSampleWritten(TrackInput& input, const LiveSampleInfo& sample) = 0;
    /// A pin at end of stream has nothing left to write.
    virtual void OnInputDrained(TrackInput& input) = 0;

protected:
    ~ChunkWriterHost() = default;
};

/// Lives for one chunk, under the filter lock. `stream` appends at the output's write position.
class ChunkWriter {
public:
    ChunkWriter(ChunkWriterHost& host, Movie& movie, vio::byte_stream& stream)
        : m_host(host), m_movie(movie), m_stream(stream) {}

    /// Writes from the front of the queue. The first entry whose key is at or beyond `limit` ends the chunk,
    /// unless it is forced; that entry and all behind it stay queued, whatever their keys. A write that fails
    /// ends it too, and releases what is queued: a hole in a stream is not mended by later samples. Answers
    /// the number of samples taken off the queue. What a handler throws comes through, behind a chunk of the samples
    /// before it.
    std::size_t Write(TrackInput& input, REFERENCE_TIME limit, bool forced);

private:
    std::size_t WriteSamples(TrackInput& input, REFERENCE_TIME limit, bool forced);
    void MakeRoom(const SampleQueue& queue, REFERENCE_TIME limit);
    HRESULT WriteData(MovieTrack& track, IMediaSample& sample, details::WrittenSample& written);
    HRESULT WriteSample(TrackInput& input, const QueuedSample& entry);

    ChunkWriterHost& m_host;
    Movie& m_movie;
    vio::byte_stream& m_stream;
};

}  // namespace Norvane::MediaKit::Filters
