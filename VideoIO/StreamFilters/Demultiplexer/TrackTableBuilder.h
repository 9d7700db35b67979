// From the sample tables and fragments of a track to its index.
#pragma once

#include "Platform/Com/Results.h"
#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingBudget.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingContext.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackBoxes.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTables.h"

namespace vio::mp4 {
class mp4_parser;
}

namespace Norvane::MediaKit::Filters::details {

/// The children of `stbl` that matter; null for what the file lacks.
struct SampleTableBoxes {
    std::shared_ptr<vio::mp4::sample_description_box> stsd;
    std::shared_ptr<vio::mp4::time_to_sample_box> stts;
    std::shared_ptr<vio::mp4::composition_offset_box> ctts;
    std::shared_ptr<vio::mp4::sync_sample_box> stss;
    std::shared_ptr<vio::mp4::sample_to_chunk_box> stsc;
    std::shared_ptr<vio::mp4::sample_size_box> stsz;
    std::shared_ptr<vio::mp4::compact_sample_size_box> stz2;
    std::shared_ptr<vio::mp4::chunk_offset_box> stco;
    std::shared_ptr<vio::mp4::chunk_large_offset_box> co64;
};

/// Throws core::exception for a table that cannot be read.
SampleTableBoxes FindSampleTables(vio::mp4::mp4_parser& parser, const vio::mp4::media_information_box& minf);

/// Fills all of `tables` but mdhd and the sync index: samples of `moov`, then of the fragments, then the edit list.
/// E_FAIL without a sample of any size, without times or with a timescale of 0. std::out_of_range for a fragment whose
/// tables disagree.
HRESULT BuildTrackTables(const TrackBoxes& boxes, const SampleTableBoxes& sampleTables, const ReadingContext& context,
                         ReadingBudget& budget, TrackTables& tables);

/// Where the presentation ends before edits: end of the last record, 100 ns; 0 without records.
REFERENCE_TIME PresentationEnd(const TrackTables& tables);

/// One record for each sync sample, by presentation time.
void BuildVideoSyncIndex(TrackTables& tables);
/// One record for sample 0 and each sample from one second on, by decode time.
void BuildAudioSyncIndex(TrackTables& tables);

/// Of the typical sample, 100 ns, cut; 0 when unknown.
REFERENCE_TIME AverageTimePerFrame(const TrackTables& tables);
/// Bits a second over the whole track, or `whenUnknown` for a track without duration.
DWORD AverageBitRate(const TrackTables& tables, DWORD whenUnknown = 0);

}  // namespace Norvane::MediaKit::Filters::details
