#include "VideoIO/StreamFilters/Demultiplexer/TrackTableBuilder.h"

#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Demultiplexer/FragmentTables.h"
#include "VideoIO/StreamFilters/Demultiplexer/SampleTableWalk.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"
#include "VideoIO/StreamFilters/Demultiplexer/TypicalDuration.h"

#include <algorithm>
#include <limits>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace vio::mp4;
using Severity = ReadingFindings::Severity;

constexpr std::int64_t kEmptyEdit = -1;

using EditIterator = std::vector<edit_list_box::entry>::const_iterator;

/// What the edits last, from the movie's timescale in ticks of the media.
std::int64_t TicksOf(EditIterator edit, EditIterator end, const movie_header_box& mvhd, const TrackTables& tables) {
    double duration = 0;
    for (; edit != end; ++edit) duration += static_cast<double>(edit->segment_duration);
    return RoundToInteger(mvhd.timescale == 0 ? 0 : duration * tables.timescale() / mvhd.timescale);
}

/// The first edit that shows media decides where the presentation begins, and those in front of it when they are to be
/// heeded; nothing else of the list is used.
void ApplyEdits(const TrackBoxes& boxes, const ReadingOptions& options, TrackTables& tables) {
    const edit_list_box& elst = *boxes.elst;
    const auto edit = std::find_if(elst.entries.begin(), elst.entries.end(),
                                   [](const auto& entry) { return entry.media_time != kEmptyEdit; });
    if (edit == elst.entries.end()) return;
    tables.edit = edit->media_time;
    if (options.emptyEdits && boxes.mvhd != nullptr)
        tables.edit = WrappingSubtract(tables.edit, TicksOf(elst.entries.begin(), edit, *boxes.mvhd, tables));
    for (SampleRecord& record : tables.index_) record.cts = WrappingSubtract(record.cts, tables.edit);
}

}  // namespace

SampleTableBoxes FindSampleTables(mp4_parser& parser, const media_information_box& minf) {
    SampleTableBoxes tables;
    const auto stbl = parser.find_child<sample_table_box>(minf);
    if (stbl == nullptr) return tables;
    const auto find = [&]<class Box>(std::shared_ptr<Box>& box) { box = parser.find_child<Box>(*stbl); };
    find(tables.stsd);
    find(tables.stts);
    find(tables.ctts);
    find(tables.stss);
    find(tables.stsc);
    find(tables.stsz);
    find(tables.stz2);
    find(tables.stco);
    find(tables.co64);
    return tables;
}

HRESULT BuildTrackTables(const TrackBoxes& boxes, const SampleTableBoxes& sampleTables, const ReadingContext& context,
                         ReadingBudget& budget, TrackTables& tables) {
    if (tables.timescale() == 0) {
        context.findings.RecordExclusion(L"track %d has a timescale of 0", boxes.tkhd->track_ID);
        return E_FAIL;
    }
    const SampleTableWalk walk(sampleTables, boxes.hdlr->handler_type == fourcc("soun"), context.options);
    if (walk.Count() != 0 && !walk.HasTimes()) {
        context.findings.RecordExclusion(L"track %d has samples and no decoding times", boxes.tkhd->track_ID);
        return E_FAIL;
    }

    const std::uint64_t inFragments = CountFragmentSamples(boxes);
    const std::uint64_t wanted = walk.Reachable() + inFragments;
    const std::uint64_t plainLimit = budget.TakeRecords(walk.Reachable());
    const std::uint64_t fragmentLimit = budget.TakeRecords(inFragments);
    if (plainLimit + fragmentLimit != wanted)
        context.findings.ReportExclusion(
            Severity::Warning,
            L"A track claims %I64u samples, more than the file has bytes left for. At most %I64u are read.", wanted,
            plainLimit + fragmentLimit);

    tables.sample_count = walk.Count() + inFragments;
    tables.index_.reserve(plainLimit + fragmentLimit);
    std::int64_t dts = 0;
    if (walk.Count() != 0) {
        dts = walk.Run(plainLimit, tables);
        tables.typical_duration = TypicalDuration(sampleTables.stts->entries);
    }
    AddFragments(boxes, context.options, fragmentLimit, dts, tables);

    if (tables.max_sample_size == 0) {
        context.findings.ReportExclusion(Severity::Error, L"The track max sample size is zero");
        return E_FAIL;
    }
    if (boxes.elst != nullptr) ApplyEdits(boxes, context.options, tables);
    return S_OK;
}

REFERENCE_TIME PresentationEnd(const TrackTables& tables) {
    if (tables.index_.empty()) return 0;
    const SampleRecord& last = tables.index_.back();
    return CutToReferenceTime(WrappingAdd(WrappingAdd(last.cts, tables.edit), last.duration), tables.timescale());
}

REFERENCE_TIME AverageTimePerFrame(const TrackTables& tables) {
    return RoundToInteger(std::trunc(tables.typical_duration * kUnitsPerSecond / tables.timescale()));
}

DWORD AverageBitRate(const TrackTables& tables, DWORD whenUnknown) {
    if (tables.total_duration == 0) return whenUnknown;
    const double seconds = static_cast<double>(tables.total_duration) / tables.timescale();
    const std::int64_t bytes = RoundToInteger(std::trunc(static_cast<double>(tables.total_bytes) / seconds));
    constexpr DWORD highest = std::numeric_limits<DWORD>::max();
    return bytes > highest / 8 ? highest : static_cast<DWORD>(bytes * 8);
}

}  // namespace Norvane::MediaKit::Filters::details
