// The tables of one track, grown sample by sample while it is recorded.
#pragma once

#include "MediaKit/IRecordingPolicy.h"
#include "MediaKit/StreamRate.h"
#include "VideoIO/StreamFilters/Authoring/SegmentedVector.h"
#include "VideoIO/StreamFilters/Authoring/TimeMath.h"
#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"
#include "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler.h"

#include <cstdint>
#include <memory>

namespace Norvane::MediaKit::Filters {

// What is kept of each sample until the file is finished, in bytes:
//   MovieSample                 24
//   presentation order           8  (video with reordering)
//   sync sample number           4  (sync samples of video)
//   MovieChunk                  16  a chunk; a recording of one track has one a sample
//   index offered to readers    48  (LiveIndex)
// 100 at most. Decode and composition times are worked out from the start times when they are asked for.

/// One written sample.
struct MovieSample {
    std::uint64_t offset = 0;  ///< position of its first byte in the file
    REFERENCE_TIME start = 0;  ///< 100 ns
    std::uint32_t size = 0;    ///< bytes in the file
    std::uint32_t sync = 0;    ///< 1 for a sync sample of a video track
};
static_assert(sizeof(MovieSample) == 24);

/// Samples that follow each other in the file.
struct MovieChunk {
    std::uint64_t offset = 0;  ///< position of the first sample's first byte
    std::uint32_t firstSample = 0;
    std::uint32_t sampleCount = 0;
};
static_assert(sizeof(MovieChunk) == 16);

inline constexpr std::uint32_t kDefaultTimescale = 90000;

/// Lives in an input pin, which outlives every movie that refers to it. No lock of its own: the filter
/// lock is held around every use.
struct MovieTrack {
    // Boxes of the file being finished, kept to be patched.
    std::shared_ptr<vio::mp4::track_header_box> tkhd;
    std::shared_ptr<vio::mp4::media_header_box> mdhd;
    std::shared_ptr<vio::mp4::edit_list_box> elst;
    std::shared_ptr<vio::mp4::chunk_offset_box> stco;
    std::shared_ptr<vio::mp4::chunk_large_offset_box> co64;

    SegmentedVector<MovieSample> samples;
    /// Start times of the samples once reorderDetected is set, in ascending order if the next field says so. Of a track
    /// whose decode times are given, these instead.
    SegmentedVector<REFERENCE_TIME> presentationOrder;
    bool presentationOrderIsSorted = true;
    bool reorderDetected = false;       ///< a video sample started before the one received before it
    REFERENCE_TIME lastStart = 0;       ///< of the sample received last
    REFERENCE_TIME lastStop = 0;        ///< of the sample written last
    REFERENCE_TIME timeBase = MinTime;  ///< first entry of presentationOrder; MinTime: not set yet
    SegmentedVector<MovieChunk> chunks;
    bool needsCo64 = false;
    SegmentedVector<std::uint32_t> syncSamples;  ///< counted from 1, video only
    REFERENCE_TIME endTime = 0;                  ///< greatest stop time seen

    // Of the stream, kept from one recording to the next, but for the handler, which is made anew.
    bool rateIsSet = false;                       ///< rate and timescale were taken from a media type
    std::uint32_t timescale = kDefaultTimescale;  ///< ticks a second
    qz_DSFilters::StreamRate rate{kDefaultTimescale, 1};
    std::unique_ptr<details::byte_stream_handler> handler;
    std::uint32_t orientation = 4;  ///< quarter turns clockwise; 4: none
    RecordingOptions options;       ///< the host's
    /// The times are a source's, down to the last sample's duration.
    bool HasSourceTimes() const { return options.keepStartTime || options.mediaTimesAreDecodeTimes; }

    /// Empties what belongs to one recording, before its first sample comes.
    void BeginRecording();
    /// Forgets the stream: what connects next chooses rate, timescale and handler anew.
    void ResetStream();
    void SetOptions(const RecordingOptions& chosen);

    /// Makes the handler by the stream's media type at the first sample of a recording, and sets rate and timescale at
    /// the stream's first. A type that cannot be a track changes nothing. With `forceTimescale90000` video counts in
    /// ticks of 1/90000 s from the start.
    HRESULT SetupFromMediaType(const CMediaType& type, IMediaSample* firstSample, bool forceTimescale90000);

    /// To be called with each sample of a video stream, in the order of arrival.
    void DetectReordering(REFERENCE_TIME start);

    /// Adds a sample that is in the file. A video track whose timescale gives two start times one tick changes to
    /// 90000. `streamName` is for the log.
    void AppendSample(MovieSample sample, REFERENCE_TIME stop, bool isVideo, const wchar_t* streamName);

    /// Of the sample that is appended next, when decode times are given. One before the last is raised to it: no
    /// table can express it.
    void AppendDecodeTime(REFERENCE_TIME time);

    /// Adds the samples from `firstSample` on as a chunk; nothing when there are none.
    void AppendChunk(std::size_t firstSample, std::uint64_t maxStcoOffset);

    /// Puts presentationOrder in ascending order. To be called before it is read.
    void SortPresentationOrder();

private:
    HRESULT SetRate(const CMediaType& type, bool forceTimescale90000);
    HRESULT CreateHandler(const CMediaType& type, IMediaSample* firstSample);
    void InsertInPresentationOrder(REFERENCE_TIME start);
    bool SharesTickWithRecentSample(REFERENCE_TIME start) const;
    void ResolveTickCollision(REFERENCE_TIME start, const wchar_t* streamName);
};

}  // namespace Norvane::MediaKit::Filters
