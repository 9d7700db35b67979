// The samples of a track as the demultiplexer plays them.
#pragma once

#include "Platform/Com/Types.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Norvane::MediaKit::Filters::details {

/// The highest that a record can hold.
inline constexpr std::uint64_t kHighestOffset = ~std::uint64_t{0} >> 1;

/// One sample; times are in units of the media's timescale. 32 bytes, since a long recording has millions of them.
struct SampleRecord {
    std::uint64_t offset : 63;  ///< in the file; what does not fit is the highest, where no file reaches
    std::uint64_t sync : 1;
    std::int64_t dts;
    std::int64_t cts;
    std::uint32_t size;
    std::uint32_t duration;
};
static_assert(sizeof(SampleRecord) == 32);

/// Samples that stand one behind the other in the file.
struct ChunkRecord {
    std::uint64_t offset;
    std::uint32_t bytes;
    std::uint32_t samples;
};

struct SyncRecord {
    REFERENCE_TIME time;  ///< 100 ns
    std::uint64_t sample;
};

/// Written while the pin is made, read by its thread afterwards. Only the two positions change then; they belong to the
/// thread.
struct TrackTables {
    std::shared_ptr<const vio::mp4::media_header_box> mdhd;  ///< its timescale is above 0
    std::uint64_t sample_count = 0;                          ///< as claimed; index_ may hold fewer
    std::uint64_t position = 0;                              ///< next sample
    std::uint64_t start_position = 0;
    std::vector<SampleRecord> index_;  ///< in decode order
    std::uint32_t max_sample_size = 0;
    std::uint64_t total_bytes = 0;
    std::uint64_t total_duration = 0;  ///< units of timescale
    double typical_duration = 0;       ///< of a sample, units of timescale; 0 when the tables tell none
    std::vector<ChunkRecord> chunks;
    std::uint32_t max_chunk_size = 0;
    std::vector<SyncRecord> sync_index;
    std::uint64_t longest_sync_distance = 0;  ///< in samples
    std::int64_t edit = 0;                    ///< media time that was taken from every cts
    bool grouped = false;                     ///< PCM in records of a chunk, which may claim more bytes than it has

    std::uint32_t timescale() const { return mdhd->timescale; }
};

}  // namespace Norvane::MediaKit::Filters::details
