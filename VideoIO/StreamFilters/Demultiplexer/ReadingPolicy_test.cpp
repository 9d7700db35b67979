#include "MediaKit/IReadingPolicy.h"
#include "MediaKit/ITrackInformation.h"
#include "MediaKit/Results.h"
#include "Testing/Kit/heap_sample.h"
#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/memory_async_reader.h"
#include "Testing/Kit/movie_tracks.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadPart.h"

#include <gmock/gmock.h>

#include <map>
#include <new>
#include <stdexcept>
#include <string>

namespace Norvane::MediaKit::Filters {
namespace {

using mediakit_test::aac_track;
using mediakit_test::box_builder;
using mediakit_test::h264_track;
using mediakit_test::make_box;
using mediakit_test::make_full_box;
using mediakit_test::movie_file;

/// A file that each choice reads otherwise: two samples of each track in `moov`, then fragments of two.
std::vector<BYTE> OddFile() {
    movie_file movie;
    movie.tracks = {h264_track(2), aac_track(4), aac_track(6), mediakit_test::pcm_track("sowt", 2),
                    h264_track(2), aac_track(2)};
    movie.tracks[0].with_stss = false;
    movie.tracks[0].edits = {{40, -1}, {80, 0}};                  // 40 ms empty
    movie.tracks[3].entry = mediakit_test::pcm_entry("sowt", 1);  // 2 bytes a sample
    const box_builder record = mediakit_test::avcc_record(mediakit_test::h264_units());
    movie.tracks[4].entry = mediakit_test::visual_entry("avc3", 16, 16, make_box("avcC", record));
    movie.fragments.samples_in_moov = 2;
    movie.fragments.samples = 2;
    movie.fragments.samples_per_run = 1;
    movie.fragments.explicit_base = true;
    movie.fragments.run_flags = 0x100 | 0x200 | 0x400;  // no offsets
    int fragments = 0;
    movie.replace = [&fragments](std::string_view type, std::size_t track, const box_builder& box) {
        if (type == "tfdt" && track == 1) return make_full_box("tfdt", 1, 0, box_builder().u64(48000));
        if (type == "mfhd") fragments = box.bytes().back();
        if (type == "moof" && fragments == 2) return box_builder().add(make_box("styp")).add(box);
        if (type == "mdhd" && track == 5) return make_full_box("mdhd", 9, 0, box_builder().zeros(20));  // not known
        return box;
    };
    return movie.bytes();
}

using Facts = std::map<std::string, std::int64_t>;

TrackInformation InformationOf(MP4MediaDemuxFilter& demux, int pin) {
    TrackInformation information;
    if (demux.OutputPin(pin) != nullptr) demux.OutputPin(pin)->GetTrackInformation(&information);
    return information;
}

/// One for each choice.
Facts FactsOf(MP4MediaDemuxFilter& demux, HRESULT opened) {
    const auto sample = mediakit_test::heap_sample::create({}, 0, 0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(demux.OutputPin(1)->FillBuffer(sample.get()), S_OK);
    return {{"refused", opened == QZ_E_UNSUPPORTED_FORMAT},
            {"pins", demux.OutputPinCount()},
            {"sync samples", InformationOf(demux, 0).syncSampleCount},
            {"edit", InformationOf(demux, 0).edit},
            {"end", InformationOf(demux, 1).presentation},
            {"fourth sample", sample->bytes.front()},
            {"samples", InformationOf(demux, 2).sampleCount},
            {"PCM bytes", InformationOf(demux, 3).totalBytes}};
}

TEST(ReadingOptions, EachChoiceHasItsOwnEffect) {
    const std::vector<BYTE> bytes = OddFile();
    constexpr std::int64_t kFrame = 1024;
    const Facts strict = {{"refused", 1},
                          {"pins", 4},
                          {"sync samples", 0},
                          {"edit", 0},
                          {"end", 4 * kFrame * 10'000'000 / 48000},
                          {"fourth sample", 2},
                          {"samples", 4},
                          {"PCM bytes", 8}};
    const struct {
        bool ReadingOptions::*option;
        const char* fact;
        std::int64_t value;
    } kChoices[] = {
        {&ReadingOptions::avc3AsAvc1, "pins", 5},
        {&ReadingOptions::skipSegmentBoxes, "samples", 6},
        {&ReadingOptions::syncWithoutTable, "sync samples", 2},
        {&ReadingOptions::fragmentDecodeTimes, "end", 10'000'000 + 2 * kFrame * 10'000'000 / 48000},
        {&ReadingOptions::pcmSizeFromEntry, "PCM bytes", 4},
        {&ReadingOptions::contiguousRuns, "fourth sample", 3},
        {&ReadingOptions::skipBrokenParts, "refused", 0},
        {&ReadingOptions::emptyEdits, "edit", -3600},
    };
    for (const auto& choice : kChoices) {
        const mediakit_test::log_capture quiet(0);
        for (const bool on : {false, true}) {
            auto* const demux = new MP4MediaDemuxFilter;
            const ComPtr<IBaseFilter> hold(demux);
            const auto policy = hold.query<IReadingPolicy>();
            ReadingOptions options;
            options.*choice.option = on;
            ASSERT_EQ(policy->SetOptions(&options), S_OK);
            const ComPtr<IAsyncReader> reader(new mediakit_test::memory_async_reader(bytes));
            const HRESULT opened = demux->SetReader(reader.get());
            Facts expected = strict;
            if (on) expected[choice.fact] = choice.value;
            EXPECT_EQ(FactsOf(*demux, opened), expected) << choice.fact;
        }
    }
}

TEST(ReadPart, ForgivesWhatTheFileIsToBlameFor) {
    const ReadingOptions strict, lenient{.skipBrokenParts = true};
    const auto broken = [] { throw std::out_of_range("too few values"); };
    const auto noMemory = [] { throw std::bad_alloc(); };
    details::ReadingFindings findings;
    EXPECT_THROW(details::ReadPart({strict, findings}, broken), std::out_of_range);
    const mediakit_test::log_capture log;
    EXPECT_NO_THROW(details::ReadPart({lenient, findings}, broken));
    EXPECT_EQ(log.count(2, L"A broken part of the file is left out: too few values"), 1u);
    ASSERT_EQ(findings.Findings().size(), 1u);
    EXPECT_TRUE(findings.Findings()[0].excludes);
    EXPECT_THROW(details::ReadPart({lenient, findings}, noMemory), std::bad_alloc);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
