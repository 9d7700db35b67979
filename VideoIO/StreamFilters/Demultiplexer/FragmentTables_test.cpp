#include "VideoIO/StreamFilters/Demultiplexer/FragmentTables.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackRecords_test.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace vio::mp4;
namespace runs = track_run_flags;
namespace has = track_fragment_flags;

constexpr std::uint32_t kNotSync = 0x10000;

std::shared_ptr<track_run_box> Boxed(track_run_box run) { return std::make_shared<track_run_box>(std::move(run)); }

track_run_box Fields(std::uint32_t flags, std::uint32_t count) {
    track_run_box run;
    run.flags = flags;
    run.sample_count = count;
    return run;
}

/// A run that tells all of its samples by itself.
track_run_box WholeRun(std::uint32_t dataOffset, std::uint32_t count, std::uint32_t size) {
    constexpr std::uint32_t flags = runs::data_offset | runs::sample_duration | runs::sample_size | runs::sample_flags;
    track_run_box run = Fields(flags, count);
    run.data_offset = dataOffset;
    run.sample_duration.assign(count, 20);
    run.sample_size.assign(count, size);
    run.sample_flags.assign(count, 0);
    return run;
}

FragmentRecord Fragment(std::uint64_t moof, std::vector<std::shared_ptr<track_run_box>> truns) {
    FragmentRecord fragment;
    fragment.base = moof;
    fragment.tfhd = std::make_shared<track_fragment_header_box>();
    fragment.truns = std::move(truns);
    return fragment;
}

class FragmentTables : public testing::Test {
protected:
    FragmentTables() {
        boxes.trex = std::make_shared<track_extends_box>();
        boxes.trex->default_sample_duration = 10;
        boxes.trex->default_sample_size = 5;
        boxes.trex->default_sample_flags = kNotSync;
        boxes.fragments = &fragments;
    }

    TrackTables Build() {
        TrackTables tables = EmptyTables();
        ReadingBudget budget(fileSize);
        ReadingFindings findings;
        result = BuildTrackTables(boxes, sampleTables, {options, findings}, budget, tables);
        return tables;
    }
    std::string Records() { return Text(Build()); }

    /// One sample of 7 bytes at 300 that lasts 100.
    void PutSampleInMoov() {
        sampleTables.stts = std::make_shared<time_to_sample_box>();
        sampleTables.stts->entries = {{1, 100}};
        sampleTables.stsz = std::make_shared<sample_size_box>();
        sampleTables.stsz->sample_size = 7;
        sampleTables.stsz->sample_count = 1;
        sampleTables.stsc = std::make_shared<sample_to_chunk_box>();
        sampleTables.stsc->entries = {{1, 1, 1}};
        sampleTables.stco = std::make_shared<chunk_offset_box>();
        sampleTables.stco->offsets = {300};
    }

    TrackBoxes boxes = BoxesOf(fourcc("vide"));
    SampleTableBoxes sampleTables;
    std::vector<FragmentRecord> fragments;
    ReadingOptions options;
    std::uint64_t fileSize = 1 << 20;
    HRESULT result = E_UNEXPECTED;
};

TEST_F(FragmentTables, RunsTakeWhatTheyDoNotTellFromTheHeadersAbove) {
    track_run_box own = Fields(runs::first_sample_flags | runs::sample_composition_time_offset, 2);
    own.first_sample_flags = 0x02000000;
    own.sample_composition_time_offset = {30, 0xFFFFFFFE};
    track_run_box flagged = Fields(runs::first_sample_flags | runs::sample_flags, 2);
    flagged.first_sample_flags = kNotSync;
    flagged.sample_flags = {0, 0};
    fragments = {Fragment(1000, {Boxed(own)}), Fragment(2000, {Boxed(flagged)}), Fragment(3000, {Boxed(Fields(0, 2))})};
    fragments[1].tfhd->flags = has::default_sample_duration | has::default_sample_size;
    fragments[1].tfhd->default_sample_duration = 3;
    fragments[1].tfhd->default_sample_size = 8;
    fragments[1].tfhd->default_sample_flags = 0;
    fragments[2].tfhd->flags = has::default_sample_flags;
    fragments[2].tfhd->default_sample_duration = 99;
    fragments[2].tfhd->default_sample_size = 99;
    EXPECT_EQ(Records(),
              "1000+5 0/30+10*, 1005+5 10/8+10, "     // the flags of the first stand above the default
              "2000+8 20/20+3, 2008+8 23/23+3*, "     // and above those of the run
              "3000+5 26/26+10*, 3005+5 36/36+10*");  // values without their flag count for nothing
    EXPECT_EQ(result, S_OK);
}

TEST_F(FragmentTables, RunsWithoutOffsetBeginAtTheBaseAgain) {
    track_run_box back = WholeRun(0xFFFFFF9C, 1, 4);  // -100
    const auto bare = Boxed(Fields(0, 1));
    fragments = {Fragment(1000, {bare, bare, Boxed(WholeRun(50, 2, 4)), bare}), Fragment(500, {Boxed(back), bare})};
    EXPECT_EQ(Records(),
              "1000+5 0/0+10, 1000+5 10/10+10, 1050+4 20/20+20*, 1054+4 40/40+20*, 1000+5 60/60+10, "
              "400+4 70/70+20*, 500+5 90/90+10");

    options.contiguousRuns = true;
    EXPECT_EQ(Records(),
              "1000+5 0/0+10, 1005+5 10/10+10, 1050+4 20/20+20*, 1054+4 40/40+20*, 1058+5 60/60+10, "
              "400+4 70/70+20*, 404+5 90/90+10");
    EXPECT_EQ(EndOfFragmentData(fragments[0], boxes.trex.get()), 1063U);
    EXPECT_EQ(EndOfFragmentData(fragments[1], nullptr), 404U) << "without defaults";
}

TEST_F(FragmentTables, GoOnBehindTheTables) {
    PutSampleInMoov();
    fragments = {Fragment(1000, {Boxed(WholeRun(0, 1, 9))}), Fragment(2000, {Boxed(WholeRun(0, 1, 4))})};
    fragments[0].decode_time = 5000;
    const TrackTables tables = Build();
    EXPECT_EQ(Text(tables), "300+7 0/0+100, 1000+9 100/100+20*, 2000+4 120/120+20*");
    EXPECT_EQ(tables.sample_count, 3U);
    EXPECT_EQ(tables.total_bytes, 20U);
    EXPECT_EQ(tables.total_duration, 140U);
    EXPECT_EQ(tables.max_sample_size, 9U);
    EXPECT_EQ(tables.typical_duration, 20) << "that of the fragments alone";
    EXPECT_EQ(tables.index_.capacity(), 3U) << "reserved at once";
    EXPECT_EQ(PresentationEnd(tables), 1'400'000);

    options.fragmentDecodeTimes = true;
    EXPECT_EQ(Records(), "300+7 0/0+100, 1000+9 5000/5000+20*, 2000+4 5020/5020+20*");
    fragments[1].decode_time = ~std::uint64_t{0};
    EXPECT_EQ(Text(Build().index_[2]), "2000+4 -1/-1+20*");
}

TEST_F(FragmentTables, CountOnlyWithAnExtendsBox) {
    PutSampleInMoov();
    fragments = {Fragment(1000, {Boxed(WholeRun(0, 1, 9))})};
    boxes.trex = nullptr;
    const TrackTables tables = Build();
    EXPECT_EQ(Text(tables), "300+7 0/0+100");
    EXPECT_EQ(tables.sample_count, 1U);
    EXPECT_EQ(tables.typical_duration, 100);
}

TEST_F(FragmentTables, WithoutSamplesAreNoTrack) {
    const mediakit_test::log_capture log;
    fragments = {Fragment(1000, {}), Fragment(2000, {Boxed(Fields(0, 0))})};
    Build();
    EXPECT_EQ(result, E_FAIL);
    EXPECT_EQ(log.count(1, L"The track max sample size is zero"), 1U);
    PutSampleInMoov();
    EXPECT_EQ(Build().typical_duration, 100) << "fragments without samples leave it";
}

TEST_F(FragmentTables, ARunWithTooFewValuesIsOutOfRange) {
    std::vector<std::uint32_t> track_run_box::*const columns[] = {
        &track_run_box::sample_duration, &track_run_box::sample_size, &track_run_box::sample_flags,
        &track_run_box::sample_composition_time_offset};
    const std::uint32_t flags[] = {runs::sample_duration, runs::sample_size, runs::sample_flags,
                                   runs::sample_composition_time_offset};
    for (std::size_t i = 0; i < std::size(flags); ++i) {
        track_run_box run = Fields(0xF00, 3);
        for (const auto column : columns) run.*column = {1, 1, 1};
        fragments = {Fragment(1000, {Boxed(run)})};
        EXPECT_NO_THROW(Build());
        (run.*columns[i]).pop_back();
        fragments = {Fragment(1000, {Boxed(run)})};
        EXPECT_THROW(Build(), std::out_of_range);
        run.flags &= ~flags[i];
        fragments = {Fragment(1000, {Boxed(run)})};
        EXPECT_NO_THROW(Build()) << "values that no flag announces are not looked at";
    }
}

TEST_F(FragmentTables, ClaimsCostNoMoreThanTheFileIsLarge) {
    const mediakit_test::log_capture log;
    PutSampleInMoov();
    fileSize = 10;
    fragments.assign(50, Fragment(1000, {Boxed(Fields(0, 0xFFFFFFFF)), Boxed(Fields(0, 0xFFFFFFFF))}));
    const TrackTables tables = Build();
    EXPECT_EQ(tables.index_.size(), 1 + (65536U + 10 - 1) / 2);
    EXPECT_EQ(tables.index_.capacity(), 1 + (65536U + 10 - 1) / 2);
    EXPECT_EQ(tables.sample_count, 1 + 100 * std::uint64_t{0xFFFFFFFF});
    EXPECT_EQ(tables.typical_duration, 10);
    EXPECT_EQ(log.count(2, L"more than the file has bytes left for"), 1U);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
