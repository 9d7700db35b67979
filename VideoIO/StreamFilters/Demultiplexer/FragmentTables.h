// The samples of a track's fragments (ISO/IEC 14496-12, 8.8).
#pragma once

#include "MediaKit/IReadingPolicy.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackBoxes.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTables.h"

namespace Norvane::MediaKit::Filters::details {

/// As claimed; 0 for a track that `mvex` does not name.
std::uint64_t CountFragmentSamples(const TrackBoxes& boxes);

/// File position behind the last sample of a track fragment whose runs follow each other. `trex` may be null.
std::uint64_t EndOfFragmentData(const FragmentRecord& fragment, const vio::mp4::track_extends_box* trex);

/// Appends at most `limit` records, for which there is room, from the decode time on. std::out_of_range for a run with
/// fewer values than samples.
void AddFragments(const TrackBoxes& boxes, const ReadingOptions& options, std::uint64_t limit, std::int64_t dts,
                  TrackTables& tables);

}  // namespace Norvane::MediaKit::Filters::details
