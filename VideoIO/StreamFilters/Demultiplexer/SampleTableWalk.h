// The walk over the sample tables of `moov` (ISO/IEC 14496-12, 8.6 and 8.7).
#pragma once

#include "VideoIO/StreamFilters/Demultiplexer/TrackTableBuilder.h"

namespace Norvane::MediaKit::Filters::details {

/// Tables that disagree are walked as far as all of them reach; durations and offsets stay at their last run. What they
/// claim is told by arithmetic over their rows, so that a caller can set a limit before any sample is looped over. The
/// boxes must outlive it.
class SampleTableWalk {
public:
    SampleTableWalk(const SampleTableBoxes& boxes, bool sound, const ReadingOptions& options);

    /// Records that the sizes claim. PCM, of which each chunk is one record, counts chunks.
    std::uint64_t Count() const { return m_count; }
    /// Of these, records that stand in chunks.
    std::uint64_t Reachable() const { return m_reachable; }
    /// True when the tables tell times at all.
    bool HasTimes() const { return m_boxes.stts != nullptr && !m_boxes.stts->entries.empty(); }

    /// Appends at most `limit` records, for which there is room, and their chunks. Needs times. The result is the
    /// decode time behind the last.
    std::int64_t Run(std::uint64_t limit, TrackTables& tables) const;

private:
    /// Equal chunks that follow one another; the last run has no end.
    struct ChunkRun {
        std::uint64_t chunks;
        std::uint32_t samples;  ///< in each
    };
    class Cursors;

    std::size_t RunCount() const { return m_boxes.stsc == nullptr ? 0 : m_boxes.stsc->entries.size(); }
    ChunkRun RunAt(std::size_t i) const;
    std::uint64_t ChunkCount() const;
    std::uint64_t ChunkOffset(std::uint64_t chunk) const;
    std::uint64_t GroupCount() const;
    std::uint64_t CountReachable() const;
    /// Appends records until the chunk is used up or the limit reached.
    void AddChunk(std::uint64_t offset, std::uint32_t samples, std::uint64_t limit, Cursors& cursors,
                  TrackTables& tables) const;

    const SampleTableBoxes& m_boxes;
    bool m_everySampleIsSync;
    bool m_grouped;
    std::uint32_t m_groupedSampleBytes;
    std::uint64_t m_count = 0;
    std::uint64_t m_reachable = 0;
};

}  // namespace Norvane::MediaKit::Filters::details
