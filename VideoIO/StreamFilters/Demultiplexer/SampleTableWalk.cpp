#include "VideoIO/StreamFilters/Demultiplexer/SampleTableWalk.h"

#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"

#include <algorithm>
#include <limits>
#include <span>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace vio::mp4;

constexpr std::uint32_t kStereo16 = 4;  ///< bytes of a PCM sample when nobody looks at the entry

/// Sizes are not worth a table and each sample lasts one unit: PCM.
bool IsGrouped(const SampleTableBoxes& boxes, bool sound) {
    return sound && boxes.stsz != nullptr && boxes.stsz->sample_size != 0 && boxes.stts != nullptr &&
           boxes.stts->entries.size() == 1 && boxes.stts->entries.front().sample_delta == 1;
}

/// Version of QuickTime's entries whose channels and bits are constants, 3 and 16.
constexpr std::uint16_t kConstantEntry = 2;

std::uint32_t PcmSampleBytes(const SampleTableBoxes& boxes) {
    if (boxes.stsd == nullptr || boxes.stsd->entries.empty()) return kStereo16;
    const auto* const entry = dynamic_cast<const audio_sample_entry*>(boxes.stsd->entries.front().get());
    if (entry == nullptr) return kStereo16;
    // The size of all samples is often 1, whatever they have.
    if (entry->version == kConstantEntry)
        return boxes.stsz != nullptr && boxes.stsz->sample_size > 1 ? boxes.stsz->sample_size : kStereo16;
    const std::uint32_t bytes = std::uint32_t{entry->channelcount} * entry->samplesize / 8;
    return bytes == 0 ? kStereo16 : bytes;
}

/// Goes through runs of (count, value), one sample a step. Empty runs are passed over; the last that is not does not
/// end. Where all are empty the last row tells the value.
template <class Entry, std::uint32_t Entry::*Value>
class RunCursor {
public:
    explicit RunCursor(std::span<const Entry> runs) : m_runs(runs), m_value(runs.empty() ? 0 : runs.back().*Value) {}

    /// 0 without runs.
    std::uint32_t Next() {
        for (; m_left == 0 && m_next < m_runs.size(); ++m_next) {
            m_left = m_runs[m_next].sample_count;
            if (m_left != 0) m_value = m_runs[m_next].*Value;
        }
        if (m_left != 0) --m_left;
        return m_value;
    }

private:
    std::span<const Entry> m_runs;
    std::size_t m_next = 0;
    std::uint32_t m_left = 0;  ///< of the current run
    std::uint32_t m_value;
};

template <class Box>
auto EntriesOf(const std::shared_ptr<Box>& box) {
    using Entry = typename Box::entry;
    return box == nullptr ? std::span<const Entry>() : std::span<const Entry>(box->entries);
}

}  // namespace

/// Where the walk stands in the tables that have a value a sample.
class SampleTableWalk::Cursors {
public:
    explicit Cursors(const SampleTableWalk& walk)
        : m_durations(EntriesOf(walk.m_boxes.stts)), m_ctsOffsets(EntriesOf(walk.m_boxes.ctts)) {
        if (walk.m_boxes.stss != nullptr) m_syncs = walk.m_boxes.stss->sample_numbers;
        m_allSync = walk.m_boxes.stss == nullptr && walk.m_everySampleIsSync;
        if (walk.m_boxes.stsz != nullptr) {
            m_sizes = walk.m_boxes.stsz->entry_sizes;
            m_size = walk.m_boxes.stsz->sample_size;
        } else if (walk.m_boxes.stz2 != nullptr) {
            m_sizes = walk.m_boxes.stz2->entry_sizes;
        }
    }

    std::uint32_t Duration() { return m_durations.Next(); }
    /// Signed in every version of the table: negative offsets are common in version 0, large ones are not.
    std::int32_t CtsOffset() { return static_cast<std::int32_t>(m_ctsOffsets.Next()); }
    bool Sync(std::uint64_t number) {
        while (m_sync < m_syncs.size() && m_syncs[m_sync] < number) ++m_sync;  // repeated, or not in order
        return m_allSync || (m_sync < m_syncs.size() && m_syncs[m_sync] == number);
    }
    std::uint32_t Size(std::uint64_t sample) const {
        if (m_size != 0) return m_size;
        return sample < m_sizes.size() ? m_sizes[sample] : 0;
    }

    std::int64_t dts = 0;

private:
    RunCursor<time_to_sample_box::entry, &time_to_sample_box::entry::sample_delta> m_durations;
    RunCursor<composition_offset_box::entry, &composition_offset_box::entry::sample_offset> m_ctsOffsets;
    std::span<const std::uint32_t> m_syncs;
    std::size_t m_sync = 0;
    bool m_allSync = false;
    std::span<const std::uint32_t> m_sizes;
    std::uint32_t m_size = 0;  ///< of all samples; 0: by the table
};

SampleTableWalk::SampleTableWalk(const SampleTableBoxes& boxes, bool sound, const ReadingOptions& options)
    : m_boxes(boxes),
      m_everySampleIsSync(options.syncWithoutTable),
      m_grouped(IsGrouped(boxes, sound)),
      m_groupedSampleBytes(options.pcmSizeFromEntry ? PcmSampleBytes(boxes) : kStereo16) {
    if (m_grouped)
        m_count = GroupCount();
    else if (boxes.stsz != nullptr)
        m_count = boxes.stsz->sample_count;
    else if (boxes.stz2 != nullptr)
        m_count = boxes.stz2->entry_sizes.size();
    m_reachable = CountReachable();
}

SampleTableWalk::ChunkRun SampleTableWalk::RunAt(std::size_t i) const {
    const auto& entries = m_boxes.stsc->entries;
    const std::uint32_t samples = entries[i].samples_per_chunk;
    if (i + 1 == entries.size()) return {std::numeric_limits<std::uint64_t>::max(), samples};
    const std::uint32_t first = entries[i].first_chunk;
    const std::uint32_t next = entries[i + 1].first_chunk;
    return {next > first ? next - first : 0, samples};
}

std::uint64_t SampleTableWalk::ChunkCount() const {
    if (m_boxes.stco == nullptr && m_boxes.co64 == nullptr) return 0;
    std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
    if (m_boxes.co64 != nullptr) count = m_boxes.co64->offsets.size();
    if (m_boxes.stco != nullptr) count = std::min<std::uint64_t>(count, m_boxes.stco->offsets.size());
    return count;
}

std::uint64_t SampleTableWalk::ChunkOffset(std::uint64_t chunk) const {
    return m_boxes.co64 != nullptr ? m_boxes.co64->offsets[chunk] : m_boxes.stco->offsets[chunk];
}

std::uint64_t SampleTableWalk::GroupCount() const {
    std::uint64_t count = 0;
    std::uint64_t left = m_boxes.stsz->sample_count;
    for (std::size_t i = 0; i < RunCount() && left != 0; ++i) {
        const ChunkRun run = RunAt(i);
        if (run.samples == 0) continue;
        const std::uint64_t chunks = std::min(run.chunks, (left + run.samples - 1) / run.samples);
        count += chunks;
        left -= std::min(left, chunks * run.samples);
    }
    return count;
}

std::uint64_t SampleTableWalk::CountReachable() const {
    std::uint64_t records = 0;
    std::uint64_t chunks = ChunkCount();
    for (std::size_t i = 0; i < RunCount() && chunks != 0; ++i) {
        const ChunkRun run = RunAt(i);
        const std::uint64_t walked = std::min(run.chunks, chunks);
        const std::uint64_t each = m_grouped ? std::min<std::uint32_t>(run.samples, 1) : run.samples;
        chunks -= walked;
        if (walked * each >= m_count - records) return m_count;  // both factors and the count have 32 bits
        records += walked * each;
    }
    return records;
}

std::int64_t SampleTableWalk::Run(std::uint64_t limit, TrackTables& tables) const {
    Cursors cursors(*this);
    tables.grouped = m_grouped;
    const std::uint64_t end = tables.index_.size() + std::min(limit, m_reachable);
    const std::uint64_t chunks = ChunkCount();
    tables.chunks.reserve(std::min(limit, std::min(chunks, m_reachable)));
    std::uint64_t chunk = 0;
    for (std::size_t i = 0; i < RunCount(); ++i) {
        const ChunkRun run = RunAt(i);
        for (std::uint64_t n = run.chunks; n != 0 && chunk < chunks && tables.index_.size() < end; --n, ++chunk)
            AddChunk(ChunkOffset(chunk), run.samples, end, cursors, tables);
    }
    return cursors.dts;
}

void SampleTableWalk::AddChunk(std::uint64_t offset, std::uint32_t samples, std::uint64_t limit, Cursors& cursors,
                               TrackTables& tables) const {
    if (samples == 0) return;
    const std::uint64_t first = tables.index_.size();
    const std::uint64_t records = m_grouped ? 1 : std::min<std::uint64_t>(samples, limit - first);
    std::uint64_t position = offset;
    std::uint64_t duration = 0;
    std::uint32_t largest = 0;
    for (std::uint64_t number = first; number < first + records; ++number) {
        SampleRecord& record = tables.index_.emplace_back();
        record.offset = std::min(position, kHighestOffset);
        record.sync = cursors.Sync(number + 1) ? 1 : 0;
        record.dts = cursors.dts;
        record.cts = WrappingAdd(cursors.dts, cursors.CtsOffset());
        record.size = m_grouped ? samples * m_groupedSampleBytes : cursors.Size(number);
        record.duration = cursors.Duration();
        cursors.dts = WrappingAdd(cursors.dts, m_grouped ? samples : record.duration);
        position += record.size;
        duration += record.duration;
        largest = std::max(largest, record.size);
    }
    const auto bytes = static_cast<std::uint32_t>(position - offset);
    tables.chunks.push_back({offset, bytes, static_cast<std::uint32_t>(records)});
    tables.max_sample_size = std::max(tables.max_sample_size, largest);
    tables.max_chunk_size = std::max(tables.max_chunk_size, bytes);
    tables.total_bytes += position - offset;
    tables.total_duration += duration;
}

}  // namespace Norvane::MediaKit::Filters::details
