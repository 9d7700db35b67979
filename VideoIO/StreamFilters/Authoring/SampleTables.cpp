#include "VideoIO/StreamFilters/Authoring/SampleTables.h"

#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"

#include <limits>
#include <optional>

namespace Norvane::MediaKit::Filters {

using namespace vio::mp4;

namespace {

/// Appends to runs of { count, value }.
template <class Entry>
void AppendRun(std::vector<Entry>& runs, std::uint32_t Entry::*value, std::uint32_t next) {
    if (runs.empty() || runs.back().*value != next) {
        runs.emplace_back();
        runs.back().*value = next;
    }
    ++runs.back().sample_count;
}

/// Its stop minus its start time where a source's times are kept: 0 is a duration too, but one of less than a tick, as
/// of a sample without a stop time, is not.
std::optional<std::uint32_t> OwnDuration(const MovieTrack& track) {
    if (!track.HasSourceTimes()) return std::nullopt;
    const REFERENCE_TIME start = track.samples[track.samples.size() - 1].start;
    const std::int64_t ticks = SubtractTimes(ToTicks(track.timescale, track.lastStop), ToTicks(track.timescale, start));
    const bool told = ticks > 0 ? ticks <= std::numeric_limits<std::uint32_t>::max() : track.lastStop == start;
    return told ? std::optional(static_cast<std::uint32_t>(ticks)) : std::nullopt;
}

std::uint32_t LastSampleDuration(const MovieTrack& track, const CMediaType& mediaType) {
    if (const auto own = OwnDuration(track)) return *own;
    REFERENCE_TIME frameTime = 0;
    if (FAILED(qz_DSFilters::GetAvgTimePerFrame(mediaType, frameTime))) return 0;
    return static_cast<std::uint32_t>(ToTicks(track.rate.m_numerator, frameTime));
}

/// A single sample has no duration of its own, unless it is a source's.
void AddTimeToSample(mp4_writer& writer, box* stbl, const MovieTrack& track, const TrackTimeline& timeline,
                     const CMediaType& mediaType) {
    if (timeline.size() < (track.HasSourceTimes() ? 1 : 2)) return;
    const auto stts = writer.add_box<time_to_sample_box>(stbl);
    std::int64_t previous = timeline.DecodeTime(0);
    for (std::size_t i = 1; i < timeline.size(); ++i) {
        const std::int64_t decode = timeline.DecodeTime(i);
        AppendRun(stts->entries, &time_to_sample_box::entry::sample_delta,
                  static_cast<std::uint32_t>(SubtractTimes(decode, previous)));
        previous = decode;
    }
    AppendRun(stts->entries, &time_to_sample_box::entry::sample_delta, LastSampleDuration(track, mediaType));
}

void AddCompositionOffsets(mp4_writer& writer, box* stbl, const TrackTimeline& timeline) {
    if (!timeline.HasCompositionOffsets()) return;
    const auto ctts = writer.add_box<composition_offset_box>(stbl);
    for (std::size_t i = 0; i < timeline.size(); ++i) {
        const std::int64_t offset = SubtractTimes(timeline.CompositionTime(i), timeline.DecodeTime(i));
        if (offset < 0) ctts->version = 1;
        AppendRun(ctts->entries, &composition_offset_box::entry::sample_offset, static_cast<std::uint32_t>(offset));
    }
}

void AddSampleToChunk(mp4_writer& writer, box* stbl, const MovieTrack& track) {
    if (track.chunks.empty()) return;
    const auto stsc = writer.add_box<sample_to_chunk_box>(stbl);
    for (std::size_t i = 0; i < track.chunks.size(); ++i) {
        const std::uint32_t count = track.chunks[i].sampleCount;
        if (stsc->entries.empty() || stsc->entries.back().samples_per_chunk != count)
            stsc->entries.push_back({static_cast<std::uint32_t>(i + 1), count, 1});
    }
}

void AddSampleSizes(mp4_writer& writer, box* stbl, const MovieTrack& track) {
    const auto stsz = writer.add_box<sample_size_box>(stbl);
    stsz->sample_count = static_cast<std::uint32_t>(track.samples.size());
    stsz->entry_sizes.reserve(track.samples.size());
    for (std::size_t i = 0; i < track.samples.size(); ++i) stsz->entry_sizes.push_back(track.samples[i].size);
}

template <class Box>
std::shared_ptr<Box> AddOffsets(mp4_writer& writer, box* stbl, const MovieTrack& track) {
    const auto table = writer.add_box<Box>(stbl);
    using Offset = typename decltype(table->offsets)::value_type;
    table->offsets.reserve(track.chunks.size());
    for (std::size_t i = 0; i < track.chunks.size(); ++i)
        table->offsets.push_back(static_cast<Offset>(track.chunks[i].offset));
    return table;
}

void AddChunkOffsets(mp4_writer& writer, box* stbl, MovieTrack& track) {
    track.stco.reset();
    track.co64.reset();
    if (!track.needsCo64 && !track.chunks.empty())
        track.stco = AddOffsets<chunk_offset_box>(writer, stbl, track);
    else
        track.co64 = AddOffsets<chunk_large_offset_box>(writer, stbl, track);
}

void AddSyncSamples(mp4_writer& writer, box* stbl, const MovieTrack& track) {
    if (track.syncSamples.empty()) return;
    const auto stss = writer.add_box<sync_sample_box>(stbl);
    stss->sample_numbers.reserve(track.syncSamples.size());
    for (std::size_t i = 0; i < track.syncSamples.size(); ++i) stss->sample_numbers.push_back(track.syncSamples[i]);
}

}  // namespace

void AddSampleTables(mp4_writer& writer, box* stbl, MovieTrack& track, const TrackTimeline& timeline,
                     const CMediaType& mediaType) {
    AddTimeToSample(writer, stbl, track, timeline, mediaType);
    AddCompositionOffsets(writer, stbl, timeline);
    AddSampleToChunk(writer, stbl, track);
    AddSampleSizes(writer, stbl, track);
    AddChunkOffsets(writer, stbl, track);
    AddSyncSamples(writer, stbl, track);
}

void WidenChunkOffsets(mp4_writer& writer, MovieTrack& track) {
    const auto co64 = std::make_shared<chunk_large_offset_box>();
    co64->offsets.assign(track.stco->offsets.begin(), track.stco->offsets.end());
    writer.replace_box(track.stco.get(), co64);
    track.stco.reset();
    track.co64 = co64;
}

}  // namespace Norvane::MediaKit::Filters
