// The plain MP4 multiplexer.
#pragma once

#include "VideoIO/StreamFilters/Authoring/ChunkWriter.h"
#include "VideoIO/StreamFilters/Authoring/Interleaver.h"
#include "VideoIO/StreamFilters/Authoring/Movie.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

namespace Norvane::MediaKit::Filters {

/// Interleaves its tracks into `mdat` boxes while it records and writes `moov` when it stops. Sample data leaves
/// through the output pin, boxes through IStream of the peer.
class MP4MediaMuxFilter final : public MuxFilter, private InterleaverHost, private ChunkWriterHost {
public:
    explicit MP4MediaMuxFilter(IUnknown* outer = nullptr, HRESULT* phr = nullptr,
                               Movie::Clock clock = SecondsSince1904);

    HRESULT OnSampleReceived(MP4MediaMuxInputPin& pin, IMediaSample& sample, REFERENCE_TIME start) override
        MK_EXCLUDES(m_lock);
    HRESULT RemoveConsumer(std::uint32_t track, std::uint64_t key) override;

protected:
    void WriteReady() override MK_REQUIRES(m_lock) { RunInterleaver(false); }
    void WriteRest() override MK_REQUIRES(m_lock) { RunInterleaver(true); }
    void FinishMovie() override MK_REQUIRES(m_lock);
    void HandOn() override MK_REQUIRES(m_lock);

private:
    void RunInterleaver(bool final) MK_REQUIRES(m_lock);

    // InterleaverHost
    REFERENCE_TIME InterleaveDuration() const override MK_REQUIRES(m_lock);
    std::size_t MovieTrackCount() const override MK_REQUIRES(m_lock) { return m_movie.TrackCount(); }
    HRESULT StartMovie() override MK_REQUIRES(m_lock);
    std::size_t WriteChunk(TrackInput& input, REFERENCE_TIME limit, bool forced) override MK_REQUIRES(m_lock);

    // ChunkWriterHost
    void SetWritePosition(std::uint64_t position) override { m_outputPin.SetWritePosition(position); }
    void OnSampleWritten(TrackInput& input, const LiveSampleInfo& sample) override MK_REQUIRES(m_lock);
    void OnInputDrained(TrackInput& input) override MK_REQUIRES(m_lock) { CheckEndOfStream(Pin(input)); }

    Movie m_movie MK_GUARDED_BY(m_lock);
    bool m_written MK_GUARDED_BY(m_lock) = false;  ///< since the last HandOn
};

}  // namespace Norvane::MediaKit::Filters
