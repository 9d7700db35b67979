#include "VideoIO/StreamFilters/Demultiplexer/TrackSearch.h"

#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"

namespace Norvane::MediaKit::Filters::details {

namespace {

/// std::lower_bound wants a table in order, and a file need not keep one.
template <class Record>
std::size_t FirstNotBelow(const std::vector<Record>& table, std::int64_t Record::*key, std::int64_t value) {
    std::size_t first = 0;
    for (std::size_t count = table.size(); count != 0;) {
        const std::size_t half = count / 2;
        const bool below = table[first + half].*key < value;
        if (below) first += half + 1;
        count = below ? count - half - 1 : half;
    }
    return first;
}

}  // namespace

const SyncRecord& FindSyncRecord(const TrackTables& tables, REFERENCE_TIME time, REFERENCE_TIME start) {
    const auto& table = tables.sync_index;
    std::size_t found = FirstNotBelow(table, &SyncRecord::time, time);
    if (found == table.size() || (found != 0 && table[found].time != start)) --found;
    return table[found];
}

std::uint64_t FindSample(const TrackTables& tables, REFERENCE_TIME time) {
    const auto& table = tables.index_;
    const std::int64_t target = ToTicks(time, tables.timescale());
    std::size_t found = FirstNotBelow(table, &SampleRecord::cts, target);
    if (found == table.size() || (found != 0 && table[found].dts != target)) --found;
    return found;
}

}  // namespace Norvane::MediaKit::Filters::details
