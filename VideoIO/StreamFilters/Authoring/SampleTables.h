// The tables of `stbl` after the sample description.
#pragma once

#include "VideoIO/StreamFilters/Authoring/MovieTrack.h"
#include "VideoIO/StreamFilters/Authoring/TrackTimeline.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace Norvane::MediaKit::Filters {

/// Adds `stts`, `ctts`, `stsc`, `stsz`, `stco` or `co64`, and `stss` under `stbl`, each only where the track
/// has something for it (`stsz` always). The offset table is kept in the track, to be patched when `moov`
/// moves. `mediaType` gives the duration of the last sample, unless the track has its source's times. Linear in the
/// samples.
void AddSampleTables(vio::mp4::mp4_writer& writer, vio::mp4::box* stbl, MovieTrack& track,
                     const TrackTimeline& timeline, const CMediaType& mediaType);

/// Replaces the track's `stco` by a `co64` with the same offsets.
void WidenChunkOffsets(vio::mp4::mp4_writer& writer, MovieTrack& track);

}  // namespace Norvane::MediaKit::Filters
