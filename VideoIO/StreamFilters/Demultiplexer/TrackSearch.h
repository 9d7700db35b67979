// Where in a track playing starts.
#pragma once

#include "VideoIO/StreamFilters/Demultiplexer/TrackTables.h"

namespace Norvane::MediaKit::Filters::details {

/// The sync sample at or before `time`, as far as the table is in order; the first one for what lies before it. A later
/// record at exactly `time` is taken only when `time` is also where the stream starts now (`start`). There is one.
const SyncRecord& FindSyncRecord(const TrackTables& tables, REFERENCE_TIME time, REFERENCE_TIME start);

/// The number of the sample that is decoded at `time`, or the one before; there is one. Presentation times are searched
/// as they lie, so that reordered pictures may lead to a neighbour.
std::uint64_t FindSample(const TrackTables& tables, REFERENCE_TIME time);

}  // namespace Norvane::MediaKit::Filters::details
