#include "Testing/Kit/failing_stream.h"
#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/movie_tracks.h"
#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackRecords_test.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace vio::mp4;
using mediakit_test::log_capture;
using testing::ElementsAre;

constexpr auto kVideo = fourcc("vide");
constexpr auto kSound = fourcc("soun");
using Numbers = std::vector<std::uint32_t>;

/// Sample tables in short. What is empty is left out of the file.
struct Claim {
    std::vector<time_to_sample_box::entry> stts = {{100, 10}};
    std::vector<composition_offset_box::entry> ctts = {};
    std::optional<Numbers> stss = {};
    std::vector<sample_to_chunk_box::entry> stsc = {{1, 100, 1}};
    std::uint32_t size = 0;                   ///< constant
    std::optional<std::uint32_t> count = {};  ///< else that of the sizes
    Numbers sizes = {};
    Numbers stz2 = {};
    Numbers stco = {1000};
    std::vector<std::uint64_t> co64 = {};

    SampleTableBoxes Boxes() const {
        SampleTableBoxes boxes;
        if (!stts.empty()) Make(boxes.stts).entries = stts;
        if (!ctts.empty()) Make(boxes.ctts).entries = ctts;
        if (stss) Make(boxes.stss).sample_numbers = *stss;
        if (!stsc.empty()) Make(boxes.stsc).entries = stsc;
        if (!stz2.empty()) Make(boxes.stz2).entry_sizes = stz2;
        if (!sizes.empty() || count) {
            auto& stsz = Make(boxes.stsz);
            stsz.sample_size = size;
            stsz.sample_count = count.value_or(static_cast<std::uint32_t>(sizes.size()));
            stsz.entry_sizes = sizes;
        }
        if (!stco.empty()) Make(boxes.stco).offsets = stco;
        if (!co64.empty()) Make(boxes.co64).offsets = co64;
        return boxes;
    }

private:
    template <class Box>
    static Box& Make(std::shared_ptr<Box>& box) {
        box = std::make_shared<Box>();
        return *box;
    }
};

struct Built {
    HRESULT result;
    TrackTables tables;
};

Built Build(const SampleTableBoxes& sampleTables, std::uint32_t handler = kVideo, const ReadingOptions& options = {},
            std::uint64_t fileSize = 1 << 20) {
    Built built{E_UNEXPECTED, EmptyTables()};
    ReadingBudget budget(fileSize);
    ReadingFindings findings;
    built.result = BuildTrackTables(BoxesOf(handler), sampleTables, {options, findings}, budget, built.tables);
    return built;
}

TEST(SampleTable, IsWalkedRowByRow) {
    const struct {
        const char* what;
        Claim claim;
        const char* records;
    } cases[] = {
        {"chunks, offsets and sync samples",
         {.stts = {{2, 10}, {2, 20}},
          .ctts = {{1, 20}, {3, 5}},
          .stss = Numbers{1, 3},
          .stsc = {{1, 2, 1}, {2, 1, 1}},
          .sizes = {7, 8, 9, 6},
          .stco = {100, 200, 50}},
         "100+7 0/20+10*, 107+8 10/15+10, 200+9 20/25+20*, 50+6 40/45+20"},
        {"the last duration and offset stay",
         {.stts = {{1, 10}}, .ctts = {{1, 3}}, .sizes = {1, 1, 1}},
         "1000+1 0/3+10, 1001+1 10/13+10, 1002+1 20/23+10"},
        {"empty runs are passed over",
         {.stts = {{0, 1}, {1, 10}, {0, 2}, {0, 3}, {1, 30}},
          .ctts = {{0, 100}, {1, 1}, {0, 100}, {1, 2}},
          .sizes = {1, 1}},
         "1000+1 0/1+10, 1001+1 10/12+30"},
        {"and stay when the empty ones come last",
         {.stts = {{1, 10}, {0, 99}, {0, 98}}, .ctts = {{1, 3}, {0, 50}}, .sizes = {1, 1, 1}},
         "1000+1 0/3+10, 1001+1 10/13+10, 1002+1 20/23+10"},
        {"the last row tells when all are empty",
         {.stts = {{0, 99}, {0, 10}}, .ctts = {{0, 50}, {0, 3}}, .sizes = {1, 1}},
         "1000+1 0/3+10, 1001+1 10/13+10"},
        {"offsets are signed", {.ctts = {{1, 0xFFFFFFF6}}, .sizes = {1, 1}}, "1000+1 0/-10+10, 1001+1 10/0+10"},
        {"a constant size", {.size = 5, .count = 2}, "1000+5 0/0+10, 1005+5 10/10+10"},
        {"sizes that are fewer than samples",
         {.count = 3, .sizes = {4}},
         "1000+4 0/0+10, 1004+0 10/10+10, 1004+0 20/20+10"},
        {"compact sizes", {.stz2 = {3, 4}}, "1000+3 0/0+10, 1003+4 10/10+10"},
        {"compact sizes beside the others", {.sizes = {1, 1}, .stz2 = {3, 4, 5}}, "1000+1 0/0+10, 1001+1 10/10+10"},
        {"fewer chunks than samples",
         {.stsc = {{1, 1, 1}}, .sizes = {1, 1, 1}, .stco = {5, 9}},
         "5+1 0/0+10, 9+1 10/10+10"},
        {"chunks without samples",
         {.stsc = {{1, 0, 1}, {3, 1, 1}}, .sizes = {1, 1}, .stco = {1, 2, 3, 4}},
         "3+1 0/0+10, 4+1 10/10+10"},
        {"no chunk holds samples", {.stsc = {{1, 1, 1}, {2, 0, 1}}, .sizes = {1, 1}, .stco = {1, 2, 3}}, "1+1 0/0+10"},
        {"runs without chunks",
         {.stsc = {{1, 9, 1}, {1, 1, 1}, {2, 2, 1}}, .sizes = {1, 1, 1}, .stco = {10, 20}},
         "10+1 0/0+10, 20+1 10/10+10, 21+1 20/20+10"},
        {"runs out of order",
         {.stsc = {{5, 9, 1}, {1, 1, 1}, {2, 2, 1}}, .sizes = {1, 1, 1}, .stco = {10, 20}},
         "10+1 0/0+10, 20+1 10/10+10, 21+1 20/20+10"},
        {"64-bit offsets",
         {.sizes = {1, 2}, .stco = {}, .co64 = {1ULL << 40}},
         "1099511627776+1 0/0+10, 1099511627777+2 10/10+10"},
        {"both kinds of offsets: the larger are taken, the fewer count",
         {.stsc = {{1, 1, 1}}, .sizes = {1, 1, 1}, .stco = {1, 2}, .co64 = {70, 80, 90}},
         "70+1 0/0+10, 80+1 10/10+10"},
        {"offsets where no file reaches",
         {.sizes = {2, 9}, .stco = {}, .co64 = {~0ULL - 1}},
         "9223372036854775807+2 0/0+10, 0+9 10/10+10"},
        {"sync numbers that repeat, or stand in no order",
         {.stss = Numbers{0, 1, 1, 4, 2, 5}, .sizes = {1, 1, 1, 1, 1}},
         "1000+1 0/0+10*, 1001+1 10/10+10, 1002+1 20/20+10, 1003+1 30/30+10*, 1004+1 40/40+10*"},
        {"sync numbers without one", {.stss = Numbers{}, .sizes = {1}}, "1000+1 0/0+10"},
        {"duration of 32 bits",
         {.stts = {{1, 0xFFFFFFFF}}, .sizes = {1, 1}},
         "1000+1 0/0+4294967295, 1001+1 4294967295/4294967295+4294967295"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Built built = Build(c.claim.Boxes());
        EXPECT_EQ(built.result, S_OK);
        EXPECT_EQ(Text(built.tables), c.records);
    }
}

TEST(SampleTable, EverySampleIsSyncWithoutTableWhenTheHostSaysSo) {
    const ReadingOptions options{.syncWithoutTable = true};
    EXPECT_EQ(Text(Build(Claim{.sizes = {1, 1}}.Boxes(), kVideo, options).tables), "1000+1 0/0+10*, 1001+1 10/10+10*");
    EXPECT_EQ(Text(Build(Claim{.stss = Numbers{2}, .sizes = {1, 1}}.Boxes(), kVideo, options).tables),
              "1000+1 0/0+10, 1001+1 10/10+10*");
}

TEST(SampleTable, FailsWithoutTimesAndWithoutSizes) {
    const struct {
        const char* what;
        Claim claim;
        std::size_t logged;
    } cases[] = {
        {"no times", {.stts = {}, .sizes = {1}}, 0},      {"no sizes table", {}, 1},
        {"no sample", {.stts = {}, .count = 0}, 1},       {"sizes of 0", {.sizes = {0, 0}}, 1},
        {"no chunk runs", {.stsc = {}, .sizes = {1}}, 1}, {"no chunk offsets", {.sizes = {1}, .stco = {}}, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const log_capture log;
        EXPECT_EQ(Build(c.claim.Boxes()).result, E_FAIL);
        EXPECT_EQ(log.count(1, L"The track max sample size is zero"), c.logged);
    }
    SampleTableBoxes empty = Claim{.sizes = {1}}.Boxes();
    empty.stts->entries.clear();
    EXPECT_EQ(Build(empty).result, E_FAIL);

    TrackTables timeless = EmptyTables(0);
    ReadingBudget budget(100);
    ReadingFindings findings;
    EXPECT_EQ(BuildTrackTables(BoxesOf(kVideo), Claim{.sizes = {1}}.Boxes(), {{}, findings}, budget, timeless), E_FAIL);
}

TEST(SampleTable, TellsChunksAndSums) {
    const TrackTables tables = Build(Claim{.stts = {{2, 10}, {1, 40}},
                                           .stsc = {{1, 2, 1}, {2, 0, 1}, {3, 3, 1}},
                                           .sizes = {7, 8, 3, 4},
                                           .stco = {100, 150, 200}}
                                         .Boxes())
                                   .tables;
    ASSERT_EQ(tables.chunks.size(), 2U);
    EXPECT_EQ(tables.chunks[0].offset, 100U);
    EXPECT_EQ(tables.chunks[0].bytes, 15U);
    EXPECT_EQ(tables.chunks[0].samples, 2U);
    EXPECT_EQ(tables.chunks[1].offset, 200U);
    EXPECT_EQ(tables.chunks[1].bytes, 7U);
    EXPECT_EQ(tables.chunks[1].samples, 2U);
    EXPECT_EQ(tables.max_chunk_size, 15U);
    EXPECT_EQ(tables.max_sample_size, 8U);
    EXPECT_EQ(tables.total_bytes, 22U);
    EXPECT_EQ(tables.total_duration, 100U);
    EXPECT_EQ(tables.sample_count, 4U);
}

TEST(GroupedSound, IsOneRecordAChunk) {
    const Claim claim{
        .stts = {{11, 1}}, .stsc = {{1, 4, 1}, {3, 2, 1}}, .size = 2, .count = 11, .stco = {10, 50, 90, 95}};
    const Built built = Build(claim.Boxes(), kSound);
    EXPECT_EQ(Text(built.tables), "10+16 0/0+1, 50+16 4/4+1, 90+8 8/8+1, 95+8 10/10+1");
    EXPECT_EQ(built.tables.sample_count, 4U);
    EXPECT_EQ(built.tables.total_bytes, 48U);
    EXPECT_EQ(built.tables.typical_duration, 1);

    // Each of these makes it a track like any other.
    SampleTableBoxes boxes = claim.Boxes();
    EXPECT_EQ(Build(boxes, kVideo).tables.index_.size(), 11U);
    boxes.stts->entries = {{11, 2}};
    EXPECT_EQ(Build(boxes, kSound).tables.index_.size(), 11U);
    boxes.stts->entries = {{10, 1}, {1, 1}};
    EXPECT_EQ(Build(boxes, kSound).tables.index_.size(), 11U);
}

TEST(GroupedSound, CountsChunksThatTheSamplesNeed) {
    const struct {
        const char* what;
        std::vector<sample_to_chunk_box::entry> stsc;
        std::uint32_t samples;
        std::uint64_t count;
    } cases[] = {
        {"used up in an early run", {{1, 10, 1}, {100, 1, 1}}, 25, 3},
        {"a rest in the last", {{1, 10, 1}, {3, 7, 1}}, 29, 4},
        {"chunks without samples", {{1, 0, 1}, {50, 5, 1}}, 10, 2},
        {"none ever", {{1, 4, 1}, {2, 0, 1}}, 10, 1},
        {"all that 32 bits hold", {{1, 1, 1}}, 0xFFFFFFFF, 0xFFFFFFFF},
        {"runs backwards", {{9, 5, 1}, {1, 5, 1}}, 10, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Claim claim{.stts = {{1, 1}}, .stsc = c.stsc, .size = 2, .count = c.samples, .stco = Numbers(60, 1)};
        EXPECT_EQ(Build(claim.Boxes(), kSound).tables.sample_count, c.count);
    }
}

TEST(GroupedSound, SizesByEntryWhenTheHostSaysSo) {
    const ReadingOptions options{.pcmSizeFromEntry = true};
    SampleTableBoxes boxes = Claim{.stts = {{10, 1}}, .stsc = {{1, 10, 1}}, .size = 1, .count = 10}.Boxes();
    const auto size = [&] { return std::uint32_t{Build(boxes, kSound, options).tables.index_.at(0).size}; };
    EXPECT_EQ(size(), 40U) << "no description";
    const auto entry = std::make_shared<audio_sample_entry>(fourcc("sowt"));
    boxes.stsd = std::make_shared<sample_description_box>();
    boxes.stsd->entries = {entry};
    EXPECT_EQ(size(), 40U) << "an entry that says nothing";
    entry->channelcount = 6;
    entry->samplesize = 24;
    EXPECT_EQ(size(), 180U);
    entry->version = 1;
    EXPECT_EQ(size(), 180U);
    entry->version = 2;  // channels and bits are constants there
    entry->channelcount = 3;
    entry->samplesize = 16;
    EXPECT_EQ(size(), 40U);
    boxes.stsz->sample_size = 6;
    EXPECT_EQ(size(), 60U);
    EXPECT_EQ(Build(boxes, kSound).tables.index_.at(0).size, 40U);
}

TEST(SampleTable, ClaimsCostNoMoreThanTheFileIsLarge) {
    const struct {
        const char* what;
        Claim claim;
        std::uint32_t handler;
        std::size_t records;
        std::size_t logged;
    } cases[] = {
        {"all in one chunk",
         {.stsc = {{1, 0xFFFFFFFF, 1}}, .size = 1, .count = 0xFFFFFFFF},
         kVideo,
         (65536 + 5000) / 2,
         1},
        {"in few chunks", {.stsc = {{1, 2, 1}}, .size = 1, .count = 0xFFFFFFFF, .stco = {1, 2}}, kVideo, 4, 0},
        {"in few chunks of sound",
         {.stts = {{0xFFFFFFFF, 1}}, .stsc = {{1, 1, 1}}, .size = 1, .count = 0xFFFFFFFF, .stco = {1, 2}},
         kSound,
         2,
         0},
        {"runs of many chunks",
         {.stsc = {{1, 0, 1}, {0xFFFFFFFF, 0xFFFFFFFF, 1}}, .size = 1, .count = 0xFFFFFFFF},
         kVideo,
         0,
         0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const log_capture log;
        const TrackTables tables = Build(c.claim.Boxes(), c.handler, {}, 5000).tables;
        EXPECT_EQ(tables.index_.size(), c.records);
        EXPECT_EQ(tables.index_.capacity(), c.records) << "what is reserved is what is used";
        EXPECT_LE(tables.chunks.capacity(), 2U);
        EXPECT_EQ(tables.sample_count, 0xFFFFFFFF);
        EXPECT_EQ(log.count(2, L"more than the file has bytes left for"), c.logged);
    }
}

TEST(SampleTable, TracksShareOneBudget) {
    ReadingBudget budget(500, 500);
    ReadingFindings findings;
    const SampleTableBoxes boxes = Claim{.stsc = {{1, 40000, 1}}, .size = 1, .count = 40000}.Boxes();
    TrackTables first = EmptyTables();
    TrackTables second = EmptyTables();
    BuildTrackTables(BoxesOf(kVideo), boxes, {{}, findings}, budget, first);
    BuildTrackTables(BoxesOf(kVideo), boxes, {{}, findings}, budget, second);
    EXPECT_EQ(first.index_.size(), 40000U);
    EXPECT_EQ(second.index_.size(), 25536U / 2);  // and leaves as many to a third
}

TEST(SampleTable, SamplesOfAByteFillTheirFile) {
    constexpr std::uint32_t kSamples = 300'000;
    ReadingBudget budget(kSamples);
    ReadingFindings findings;
    TrackTables tables = EmptyTables();
    const Claim claim{.stts = {{kSamples - 1, 1}, {1, 2}}, .stsc = {{1, kSamples, 1}}, .size = 1, .count = kSamples};
    EXPECT_EQ(BuildTrackTables(BoxesOf(kSound), claim.Boxes(), {{}, findings}, budget, tables), S_OK);
    EXPECT_EQ(tables.index_.size(), kSamples);
}

TEST(ReadingBudget, CountsWhatBoxesAtTopLevelTake) {
    using namespace mediakit_test;
    const struct {
        const char* what;
        box_builder file;
        std::uint64_t bytes;
    } cases[] = {
        {"media data's header alone",
         box_builder()
             .add(make_box("free", box_builder().zeros(12)))
             .add(make_box("mdat", box_builder().zeros(100)))
             .add(make_large_box("mdat", box_builder().zeros(50))),
         20 + 8 + 16},
        {"a box that holds others", make_box("dref", box_builder().zeros(8).add(make_box("mdat"))), 24},
        {"media data that claims more than there is", make_lying_box(1000, "mdat", box_builder().zeros(9)), 8},
        {"headers that claim to be shorter",
         box_builder().add(make_lying_box(2, "free", {})).add(make_lying_box(3, "free", {})), 16},
    };
    for (const auto& of : cases) {
        failing_stream stream(of.file.bytes());
        mp4_parser parser(stream);
        parser.parse();
        EXPECT_EQ(BoxBytes(parser, of.file.size()), of.bytes) << of.what;
        EXPECT_EQ(BoxBytes(parser, 5), 5U) << of.what;
    }
}

TEST(TypicalDuration, IsThatOfMostSamples) {
    const struct {
        std::vector<time_to_sample_box::entry> stts;
        double typical;
    } cases[] = {
        {{{10, 40}}, 40},
        {{{10, 0xFFFFFFFF}}, 4294967295.0},
        {{{50, 40}, {1, 4000}, {49, 40}}, 40},                         // an odd one is left out
        {{{1, 33}, {1, 34}, {1, 33}, {1, 34}}, 33.5},                  // two alternate
        {{{3, 10}, {3, 40}, {4, 70}}, 43},                             // three kept
        {{{2, 10}, {8, 40}}, 40},                                      // 2 is not more than 10 / 5
        {{{3, 10}, {8, 40}}, (30 + 320) / 11.0},                       // 3 is more than 11 / 5
        {{{5, 10}, {1, 20}, {1, 30}, {1, 40}, {1, 50}, {1, 60}}, 25},  // what is kept covers no more than half: all
        {{{1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}}, 3.5},       // none is kept
        {{{1, 9}, {1, 2}, {1, 3}, {1, 4}, {1, 5}, {1, 6}, {4, 9}, {6, 9}}, 9},  // late, but most
        {{{0, 10}}, 0},
    };
    for (const auto& c : cases) {
        const Built built = Build(Claim{.stts = c.stts, .sizes = {1}}.Boxes());
        EXPECT_DOUBLE_EQ(built.tables.typical_duration, c.typical) << testing::PrintToString(c.typical);
    }
}

TEST(EditList, MovesByTheFirstEditThatShowsMedia) {
    using entry = edit_list_box::entry;
    const struct {
        std::vector<entry> edits;
        std::int64_t edit;
        const char* record;
    } cases[] = {
        {{{500, -1}, {1000, 1024}, {0, 7}}, 1024, "1000+1 0/-1017+10"},
        {{{0, 0}, {0, 5}}, 0, "1000+1 0/7+10"},
        {{{0, -2}}, -2, "1000+1 0/9+10"},
        {{{0, -1}}, 0, "1000+1 0/7+10"},
        {{}, 0, "1000+1 0/7+10"},
        {{{0, std::numeric_limits<std::int64_t>::min()}},
         std::numeric_limits<std::int64_t>::min(),
         "1000+1 0/-9223372036854775801+10"},
    };
    for (const auto& c : cases) {
        TrackBoxes boxes = BoxesOf(kVideo);
        boxes.elst = std::make_shared<edit_list_box>();
        boxes.elst->entries = c.edits;
        TrackTables tables = EmptyTables();
        ReadingBudget budget(100);
        ReadingFindings findings;
        EXPECT_EQ(
            BuildTrackTables(boxes, Claim{.ctts = {{1, 7}}, .sizes = {1}}.Boxes(), {{}, findings}, budget, tables),
            S_OK);
        EXPECT_EQ(Text(tables), c.record);
        EXPECT_EQ(tables.edit, c.edit);
        EXPECT_EQ(PresentationEnd(tables), 170000) << "edits do not change where it ends";
    }
}

TEST(EditList, EmptyEditsInFrontDelayATrackWhenTheyAreHeeded) {
    constexpr auto most = std::numeric_limits<std::uint64_t>::max();
    const struct {
        std::vector<edit_list_box::entry> edits;
        std::uint32_t timescale;  // of the movie; the media's is 1000
        std::int64_t edit;
    } cases[] = {
        {{{500, -1}, {250, -1}, {1000, 1024}, {900, -1}}, 500, 1024 - 1500},
        {{{1000, 1024}, {500, -1}}, 500, 1024},
        {{{500, -1}}, 500, 0},
        {{{500, -1}, {1, 3}}, 0, 3},
        {{{most, -1}, {most, -1}, {1, 0}}, 1, -std::numeric_limits<std::int64_t>::max()},
    };
    for (const auto& c : cases) {
        TrackBoxes boxes = BoxesOf(kVideo);
        boxes.mvhd = std::make_shared<movie_header_box>();
        boxes.mvhd->timescale = c.timescale;
        boxes.elst = std::make_shared<edit_list_box>();
        boxes.elst->entries = c.edits;
        TrackTables tables = EmptyTables();
        ReadingBudget budget(100);
        ReadingFindings findings;
        ASSERT_EQ(tables.timescale(), 1000u);
        EXPECT_EQ(BuildTrackTables(boxes, Claim{.ctts = {{1, 7}}, .sizes = {1}}.Boxes(),
                                   {{.emptyEdits = true}, findings}, budget, tables),
                  S_OK);
        EXPECT_EQ(tables.edit, c.edit);
        EXPECT_EQ(tables.index_[0].cts, WrappingSubtract(7, c.edit));
    }
}

TEST(TrackTimes, AreCutInWholeNumbersOfAnySize) {
    constexpr auto highest = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(CutToReferenceTime(1, 3), 3333333);
    EXPECT_EQ(CutToReferenceTime(-1, 3), -3333333);
    EXPECT_EQ(CutToReferenceTime(highest, 0xFFFFFFFF), 21474836484999999);
    EXPECT_EQ(CutToReferenceTime(highest, 10'000'000), highest);
    EXPECT_EQ(CutToReferenceTime(highest, 1), highest);
    EXPECT_EQ(CutToReferenceTime(-highest, 1), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(PresentationEnd(EmptyTables()), 0);
}

TEST(SyncIndex, OfVideoHoldsSyncSamplesByPresentationTime) {
    const Claim claim{.stts = {{9, 33}}, .ctts = {{9, 5}}, .stss = Numbers{2, 3, 8}, .sizes = Numbers(9, 1)};
    TrackTables tables = Build(claim.Boxes()).tables;
    BuildVideoSyncIndex(tables);
    BuildVideoSyncIndex(tables);
    ASSERT_EQ(tables.sync_index.size(), 3U);
    EXPECT_EQ(tables.sync_index.capacity(), 3U);
    EXPECT_EQ(tables.sync_index[0].time, 380000);
    EXPECT_EQ(tables.sync_index[0].sample, 1U);
    EXPECT_EQ(tables.sync_index[2].time, 2360000);
    EXPECT_EQ(tables.sync_index[2].sample, 7U);
    EXPECT_EQ(tables.longest_sync_distance, 5U);

    TrackTables none = Build(Claim{.sizes = {1, 1}}.Boxes()).tables;
    BuildVideoSyncIndex(none);
    EXPECT_TRUE(none.sync_index.empty());
    EXPECT_EQ(none.longest_sync_distance, 0U);
}

TEST(SyncIndex, OfAudioHoldsTheFirstSampleAndThoseFromOneSecondOn) {
    TrackTables tables = Build(Claim{.stts = {{6, 400}}, .ctts = {{6, 9}}, .sizes = Numbers(5, 1)}.Boxes()).tables;
    BuildAudioSyncIndex(tables);
    std::vector<std::uint64_t> samples;
    for (const SyncRecord& record : tables.sync_index) {
        samples.push_back(record.sample);
        EXPECT_EQ(record.time, static_cast<REFERENCE_TIME>(record.sample) * 4'000'000);
    }
    EXPECT_THAT(samples, ElementsAre(0, 3, 4));
}

TEST(TrackRates, AreCut) {
    TrackTables tables = EmptyTables(30000);
    tables.typical_duration = 1001;
    EXPECT_EQ(AverageTimePerFrame(tables), 333666);
    EXPECT_EQ(AverageBitRate(tables), 0U);
    EXPECT_EQ(AverageBitRate(tables, 25), 25U);
    tables.total_bytes = 1999;
    tables.total_duration = 60000;
    EXPECT_EQ(AverageBitRate(tables, 25), 999 * 8U);
    tables.total_bytes = std::uint64_t{1} << 60;
    EXPECT_EQ(AverageBitRate(tables), 0xFFFFFFFFU);
}

/// Every form in which a file can say the same gives the same records.
TEST(SampleTable, IsFoundInFilesOfEveryForm) {
    using mediakit_test::movie_track;
    for (const auto sizes : {movie_track::sizes::table, movie_track::sizes::constant, movie_track::sizes::compact4,
                             movie_track::sizes::compact8, movie_track::sizes::compact16}) {
        for (const bool plain : {true, false}) {
            SCOPED_TRACE(static_cast<int>(sizes) * 2 + plain);
            mediakit_test::movie_file movie{.tracks = {mediakit_test::aac_track(5), movie_track()}};
            movie.moov_first = plain;
            movie.mdats = plain ? 1 : 3;
            movie.large_mdat = !plain;
            movie_track& track = movie.tracks[1];
            track.large_offsets = !plain;
            track.samples_per_chunk = 2;
            track.size_table = sizes;
            for (std::uint8_t i = 0; i < 7; ++i)
                track.samples.push_back({std::vector<std::uint8_t>(9, i), 10U + i / 3, (i % 3 - 1) * 5, i % 4 == 0});
            const mediakit_test::built_movie built = movie.build();

            mediakit_test::failing_stream stream(built.bytes);
            mp4_parser parser(stream);
            parser.parse();
            std::uint64_t at = 0;
            const auto moov = parser.find_box(fourcc("moov"), 0, at, built.bytes.size(), true);
            const auto trak = parser.find_child<track_box>(*moov, 1);
            const auto mdia = parser.find_child<media_box>(*trak);
            const auto minf = parser.find_child<media_information_box>(*mdia);
            const TrackTables tables = Build(FindSampleTables(parser, *minf)).tables;

            ASSERT_EQ(tables.index_.size(), 7U);
            std::int64_t dts = 0;
            for (std::size_t i = 0; i < 7; ++i) {
                const auto& sample = track.samples[i];
                const SampleRecord expected{
                    built.positions[1][i], sample.sync ? 1U : 0U, dts, dts + sample.cts_offset, 9, sample.duration};
                EXPECT_EQ(Text(tables.index_[i]), Text(expected));
                dts += sample.duration;
            }
        }
    }
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
