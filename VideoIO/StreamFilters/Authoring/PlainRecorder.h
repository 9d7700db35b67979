// Recording into a plain file.
#pragma once

#include "VideoIO/StreamFilters/Authoring/Interleaver.h"
#include "VideoIO/StreamFilters/Authoring/Movie.h"
#include "VideoIO/StreamFilters/Authoring/Recorder.h"

namespace Norvane::MediaKit::Filters {

/// Interleaves its tracks into `mdat` while it records and writes `moov` at the end.
class PlainRecorder final : public Recorder {
public:
    /// `settings` are copied when a file is begun.
    PlainRecorder(RecorderHost& host, RecordingOutput& output, LiveIndex& index, const MovieSettings& settings,
                  Movie::Clock clock = SecondsSince1904)
        : Recorder(host, output, index), m_settings(settings), m_movie(clock) {}

    void AddTrack(TrackInput& pin) override;
    void BeginTrack(std::size_t track) override;
    void Receive(std::size_t track, IMediaSample& sample, REFERENCE_TIME start) override;

private:
    void WriteReady() override { RunPass(false); }
    void WriteRest() override { RunPass(true); }
    void FlushFile() override { m_movie.Flush(); }
    void StartMovie(std::shared_ptr<vio::byte_stream> boxes, std::vector<MovieTrackRef> tracks) override;
    bool FinishFile() override;

    void RunPass(bool final);
    /// Whether the movie has started, now or before.
    bool StartIfDue();
    /// Returns whether anything left the queue, or the mark was moved so that it will.
    bool WriteChunk(std::size_t track, bool final);
    REFERENCE_TIME InterleaveDuration() const;
    REFERENCE_TIME Step() const { return m_movie.TrackCount() > 1 ? InterleaveDuration() : 0; }

    const MovieSettings& m_settings;
    Movie m_movie;
    Interleaver m_interleaver;
};

}  // namespace Norvane::MediaKit::Filters
