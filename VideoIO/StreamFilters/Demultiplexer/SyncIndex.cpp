#include "VideoIO/StreamFilters/Demultiplexer/TrackTableBuilder.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters::details {
namespace {

/// Counts first: a track of sync samples alone must not take twice the memory while its index grows.
template <class Belongs>
void FillSyncIndex(TrackTables& tables, std::int64_t SampleRecord::*time, Belongs belongs) {
    const std::vector<SampleRecord>& index = tables.index_;
    std::size_t count = 0;
    for (std::size_t i = 0; i < index.size(); ++i) count += belongs(i) ? 1 : 0;
    tables.sync_index.clear();
    tables.sync_index.reserve(count);
    for (std::size_t i = 0; i < index.size(); ++i)
        if (belongs(i)) tables.sync_index.push_back({CutToReferenceTime(index[i].*time, tables.timescale()), i});
}

}  // namespace

void BuildVideoSyncIndex(TrackTables& tables) {
    FillSyncIndex(tables, &SampleRecord::cts, [&](std::size_t i) { return tables.index_[i].sync != 0; });
    tables.longest_sync_distance = 0;
    for (std::size_t i = 1; i < tables.sync_index.size(); ++i)
        tables.longest_sync_distance =
            std::max(tables.longest_sync_distance, tables.sync_index[i].sample - tables.sync_index[i - 1].sample);
}

void BuildAudioSyncIndex(TrackTables& tables) {
    const std::int64_t second = tables.timescale();
    FillSyncIndex(tables, &SampleRecord::dts, [&](std::size_t i) { return i == 0 || tables.index_[i].dts >= second; });
}

}  // namespace Norvane::MediaKit::Filters::details
