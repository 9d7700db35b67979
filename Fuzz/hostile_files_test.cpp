// Files made to hurt a reader: each is opened and played within the limits of time and memory.
#include "Fuzz/survive_test.h"
#include "Testing/Kit/movie_tracks.h"

#include <limits>
#include <string>

namespace mediakit_fuzz {
namespace {

using namespace mediakit_test;

constexpr std::uint32_t kAll = std::numeric_limits<std::uint32_t>::max();

movie_track small_track(bool video = true, std::size_t samples = 2) {
    movie_track track = video ? h264_track(1) : aac_track(1);
    track.samples.assign(samples, {{0, 0, 0, 1, 0x65}, 40, 0, true});
    return track;
}

movie_file small_file() {
    movie_file file;
    file.tracks = {small_track(), small_track(false)};
    return file;
}

/// The small file with the box of that type in its first track replaced.
bytes with_box(const std::string& type, const box_builder& box, movie_file file = small_file()) {
    file.replace = [&](std::string_view at, std::size_t track, const box_builder& before) {
        return at == type && (track == 0 || track == movie_file::no_track) ? box : before;
    };
    return file.bytes();
}

/// The payload of a table: its number of rows, and the words of some.
box_builder table(std::uint32_t count, std::initializer_list<std::uint32_t> words) {
    return box_builder().u32(count).words(words);
}

bytes with_table(const std::string& type, std::uint32_t count, std::initializer_list<std::uint32_t> words) {
    return with_box(type, make_full_box(type, 0, 0, table(count, words)));
}

bytes joined(bytes file, const box_builder& more) {
    append(file, more.bytes());
    return file;
}

box_builder nested(std::string_view type, std::size_t front, int depth) {
    box_builder box;
    for (int i = 0; i < depth; ++i) box = make_box(type, box_builder().zeros(front).add(box));
    return box;
}

constexpr std::size_t kMostSamples = 50'000;

/// With all policies, then strictly.
played survive_twice(const bytes& file) {
    survive(file, {.strict = false, .seeks = {10'000'000}, .most_samples = kMostSamples});
    return survive(file, {.strict = true, .seeks = {0}, .most_samples = kMostSamples});
}

using counts = std::vector<std::size_t>;

struct hostile_case {
    const char* name;
    bytes file;
    counts samples;  ///< of the pins that are left
};

std::vector<hostile_case> broken_tracks() {
    const auto entry = [](const box_builder& of) {
        return with_box("stsd", make_full_box("stsd", 0, 0, box_builder().u32(1).add(of)));
    };
    const auto mdhd = [](std::uint32_t timescale) {
        return make_full_box("mdhd", 0, 0, box_builder().zeros(8).u32(timescale).zeros(8));
    };
    const auto large_offset = [](std::uint64_t offset) {
        return with_box("stco", make_full_box("co64", 0, 0, box_builder().u32(1).u64(offset)));
    };
    return {
        {"timescale of 0", with_box("mdhd", mdhd(0)), {2}},
        {"timescale at its highest", with_box("mdhd", mdhd(kAll)), {2, 2}},
        {"movie timescale of 0", with_box("mvhd", make_full_box("mvhd", 0, 0, box_builder().zeros(96))), {2, 2}},
        {"no sample tables", with_box("stbl", {}), {2}},
        {"no sizes", with_box("stsz", {}), {2}},
        {"no times", with_box("stts", {}), {2}},
        {"no chunks", with_box("stsc", {}), {2}},
        {"no offsets", with_box("stco", {}), {2}},
        {"no sample entry", with_box("stsd", make_full_box("stsd", 0, 0, box_builder().u32(0))), {}},
        {"an entry of an unknown kind", entry(make_box("abcd", box_builder().zeros(78))), {}},
        {"an entry without its record", entry(visual_entry("avc1", 16, 16)), {2, 2}},
        {"a record that lies",
         entry(visual_entry("avc1", 0, 0, make_box("avcC", box_builder().words({0x014D000A, kAll, kAll})))),
         {2}},
        {"sizes of 0", with_table("stsz", 0, {2, 0, 0}), {2}},
        {"a size for one of two samples", with_table("stsz", 0, {1, 5}), {1, 2}},
        {"no time for the second sample", with_table("stts", 1, {1, 40}), {2, 2}},
        {"times without end", with_table("stts", 2, {kAll, kAll, kAll, kAll}), {2, 2}},
        {"runs of no sample", with_table("stts", 3, {0, 1, 0, 1, 2, 40}), {2, 2}},
        {"more samples than chunks", with_table("stsc", 1, {1, 1, 1}), {1, 2}},
        {"chunks that go backwards", with_table("stsc", 3, {1, 1, 1, 5, 1, 1, 2, 1, 1}), {1, 2}},
        {"chunks of no sample", with_table("stsc", 1, {1, 0, 1}), {2}},
        {"chunks of all samples", with_table("stsc", 1, {1, kAll, 1}), {2, 2}},
        {"chunk 0", with_table("stsc", 1, {0, 2, 0}), {2, 2}},
        {"an offset behind the file", with_table("stco", 1, {kAll}), {0, 2}},
        {"an offset beyond all files", large_offset(~0ULL), {0, 2}},
        {"an offset at the sign", large_offset(1ULL << 63), {0, 2}},
        {"a size of 32 bits", with_table("stsz", 0, {2, kAll, 1}), {0, 2}},
        {"a constant size of 32 bits", with_table("stsz", kAll, {2}), {0, 2}},
        {"a fragment at the end of time",
         with_box("tfdt", make_full_box("tfdt", 1, 0, box_builder().u64(~0ULL >> 1)),
                  [] {
                      movie_file file = small_file();
                      file.fragments.samples = 2;
                      return file;
                  }()),
         {2, 2}},
        {"an edit at the end of time",
         with_box("edts", {},
                  [] {
                      movie_file file = small_file();
                      file.tracks[0].edits = {{1, std::numeric_limits<std::int64_t>::max()}};
                      return file;
                  }()),
         {2, 2}},
    };
}

TEST(HostileFile, ABrokenTrackIsLeftOutOrEndsAndTheOthersPlay) {
    for (const hostile_case& of : broken_tracks()) {
        SCOPED_TRACE(of.name);
        EXPECT_EQ(survive_twice(of.file).samples, of.samples);
    }
}

/// Boxes without content, as many as go into that many bytes.
box_builder tiny_boxes(std::string_view type, std::size_t bytes) {
    box_builder boxes;
    for (std::size_t i = 0; i < bytes / 8; ++i) boxes.u32(8).text(type);
    return boxes;
}

TEST(HostileFile, NestedBoxesEndTheReadingOnly) {
    for (const char* const type : {"moov", "trak", "mdia", "minf", "stbl", "dinf", "edts", "udta", "meta", "mvex",
                                   "moof", "traf", "wave", "dref", "stsd", "iods", "uuid", "mdat"}) {
        SCOPED_TRACE(type);
        survive_twice(joined(small_file().bytes(), nested(type, 0, 5000)));
        survive_twice(with_box("trak", nested(type, 0, 5000)));
        survive_twice(with_box("stbl", nested(type, 8, 3000)));
    }
    // Entries are read with their children at once, 8 bytes and more for each level.
    for (const auto& [type, fields] : {std::pair{"mp4a", 28U}, std::pair{"avc1", 78U}, std::pair{"hvc1", 78U}})
        survive_twice(
            with_box("stsd", make_full_box("stsd", 0, 0, box_builder().u32(1).add(nested(type, fields, 1000)))));
}

TEST(HostileFile, LargeSizesEndTheReadingOnly) {
    for (const char* const type : {"ftyp", "moov", "mdat", "free", "trak", "mdia", "stbl", "stsd", "stsz", "avc1"}) {
        for (const std::uint64_t size : {0ULL, 1ULL, 15ULL, 16ULL, 17ULL, 1ULL << 31, 1ULL << 32, ~0ULL >> 1,
                                         1ULL << 63, ~0ULL - 15, ~0ULL - 7, ~0ULL}) {
            SCOPED_TRACE(testing::Message() << type << " of " << size);
            const box_builder lying = make_lying_large_box(size, type, box_builder().zeros(40));
            survive_twice(joined(small_file().bytes(), lying));
            survive_twice(with_box(type, lying));
            bytes in_front = lying.bytes();
            append(in_front, small_file().bytes());
            survive_twice(in_front);
        }
    }
}

TEST(HostileFile, MediaDataThatClaimsMoreThanThereIsIsPlayed) {
    movie_file file = small_file();
    bytes claims_all = file.bytes();
    const std::size_t mdat = claims_all.size() - 8 - 4 * 5;
    claims_all[mdat] = 0xFF;
    EXPECT_EQ(survive_twice(claims_all).samples, (counts{2, 2}));
    claims_all.pop_back();
    EXPECT_EQ(survive_twice(claims_all).samples, (counts{2, 1}));
}

TEST(HostileFile, WhatCannotBeReadIsLeftOutWhenTheHostAsksForIt) {
    movie_file fragmented = small_file();
    fragmented.fragments.samples = 1;
    fragmented.fragments.samples_in_moov = 1;
    const hostile_case cases[] = {
        {"a table cut off", with_box("stsz", make_full_box("stsz", 0, 0, box_builder().u32(0).u32(9))), {2}},
        {"a box longer than its parent", with_box("stts", make_lying_box(1000, "stts", box_builder().zeros(16))), {2}},
        {"a run without its fields",
         with_box("trun", make_full_box("trun", 0, 0x201, box_builder().u32(kAll).u32(0)), fragmented),
         {1, 1}},
    };
    for (const hostile_case& of : cases) {
        SCOPED_TRACE(of.name);
        EXPECT_EQ(survive(of.file, {.strict = false, .seeks = {}}).samples, of.samples);
        EXPECT_EQ(survive(of.file, {.strict = true, .seeks = {}}).samples, counts{});
    }
}

struct claim {
    const char* name;
    bytes file;
};

/// Files of a few bytes that claim much. `filler` stands at their end: what a file may take depends on its size.
std::vector<claim> claims(const box_builder& filler) {
    const box_builder one_chunk = make_full_box("stsc", 0, 0, table(1, {1, kAll, 1}));
    const auto constant = [&](bool video, std::uint32_t size, std::uint32_t duration) {
        movie_file file;
        file.tracks.assign(2, small_track(video));
        file.replace = [=](std::string_view at, std::size_t track, const box_builder& before) {
            if (track != 0) return before;
            if (at == "stsz") return make_full_box("stsz", 0, 0, box_builder().u32(size).u32(kAll));
            if (at == "stts") return make_full_box("stts", 0, 0, table(1, {kAll, duration}));
            if (at == "stsc") return one_chunk;
            return before;
        };
        return joined(file.bytes(), filler);
    };
    const auto run = [&](std::uint32_t flags) {
        movie_file file = small_file();
        file.fragments.samples = 2;
        return joined(with_box("trun", make_full_box("trun", 0, flags, box_builder().u32(kAll).zeros(8)), file),
                      filler);
    };
    return {{"video of one byte a sample", constant(true, 1, 1)},
            {"video of samples as large as can be", constant(true, kAll, kAll)},
            {"audio of one byte a sample", constant(false, 1, 7)},
            {"audio in groups", constant(false, 1, 1)},
            {"a run without fields", run(0)},
            {"a run with an offset", run(1)}};
}

TEST(HostileFile, ClaimsTakeNoMoreThanTheFileAllows) {
    // The box that takes the most memory in an open file.
    for (const claim& of : claims(tiny_boxes("trun", 4 << 20))) {
        SCOPED_TRACE(of.name);
        survive_twice(of.file);
    }
}

/// Runs without content in one track fragment, between one that claims the samples, of a byte each, and a huge sample.
bytes claiming_run(std::size_t runs, std::uint32_t claimed, const box_builder& media) {
    movie_file file = small_file();
    file.fragments.samples = 2;
    const box_builder traf =
        make_box("traf", make_full_box("tfhd", 0, 0x10, box_builder().u32(1).u32(1))
                             .add(make_full_box("trun", 0, 0, box_builder().u32(claimed)))
                             .add(tiny_boxes("trun", runs))
                             .add(make_full_box("trun", 0, 0x200, box_builder().u32(1).u32(kAll))));
    return joined(with_box("traf", traf, file), media);
}

TEST(HostileFile, ClaimsOfAllThatTheFileAllowsTakeNoMore) {
    constexpr std::uint32_t kFree = 1 << 16;
    const struct {
        std::size_t runs;
        std::uint32_t media;
    } sizes[] = {{4 << 20, 0}, {1 << 18, 2 << 20}};
    for (const auto& of : sizes) {
        SCOPED_TRACE(of.runs);
        const box_builder media = make_box("mdat", box_builder().zeros(of.media));
        const auto size = static_cast<std::uint32_t>(claiming_run(of.runs, 0, media).size());
        // Of bytes of media data, all but the huge sample and the two of the other track.
        const std::uint32_t most = 2 * 2 * 5 + of.media + kFree - 3;
        EXPECT_EQ(survive_twice(claiming_run(of.runs, most, media)).samples, (counts{kMostSamples, 2}));
        const played refused = survive_twice(claiming_run(of.runs, most + 3, media));
        EXPECT_EQ(refused.samples, (counts{std::min<std::size_t>((most + 3) / 2, kMostSamples), 2}));
        survive_twice(claiming_run(of.runs, size / 2 + kFree - 1, media));
        survive_twice(claiming_run(of.runs, size, media));
    }
}

TEST(HostileFile, AClaimLeavesRoomForTheOtherTracks) {
    for (const claim& of : claims({})) {
        SCOPED_TRACE(of.name);
        const played result = survive_twice(of.file);
        ASSERT_EQ(result.pins, 2U);
        EXPECT_EQ(result.samples.back(), 2U);
    }
}

TEST(HostileFile, ManyBoxesOfAKindAreReadInLinearTime) {
    constexpr std::size_t kBytes = 1 << 19;
    const bytes whole = small_file().bytes();
    for (const char* const type : {"trak", "mvex", "udta", "trex", "moof", "mdat", "abcd"}) {
        SCOPED_TRACE(type);
        survive_twice(joined(whole, tiny_boxes(type, kBytes)));
        survive_twice(
            with_box("mvhd", tiny_boxes(type, kBytes).add(make_full_box("mvhd", 0, 0, box_builder().zeros(96)))));
    }
    movie_file fragmented = small_file();
    fragmented.fragments.samples = 1;
    for (const char* const type : {"traf", "trun", "tfhd", "tfdt"}) {
        SCOPED_TRACE(type);
        survive_twice(with_box("traf", make_box("traf", tiny_boxes(type, kBytes)), fragmented));
        survive_twice(joined(fragmented.bytes(), make_box("moof", tiny_boxes(type, kBytes))));
    }
    box_builder trafs;
    for (std::size_t i = 0; i < kBytes / 40; ++i)
        trafs.add(make_box("traf", make_full_box("tfhd", 0, 0, box_builder().u32(static_cast<std::uint32_t>(i % 2 + 1)))
                                       .add(make_full_box("trun", 0, 0, box_builder().u32(1)))));
    survive_twice(joined(fragmented.bytes(), make_box("moof", trafs)));
}

TEST(HostileFile, HundredsOfTracksMayShareTheirSamples) {
    movie_file file;
    file.tracks.assign(400, small_track());
    for (std::size_t i = 0; i < file.tracks.size(); i += 2) file.tracks[i] = small_track(false);
    file.tracks.front().samples.front().bytes.assign(1 << 20, 7);
    file.replace = [](std::string_view at, std::size_t, const box_builder& before) {
        if (at == "stco") return make_full_box("stco", 0, 0, table(1, {500'000}));
        if (at == "stsz") return make_full_box("stsz", 0, 0, box_builder().u32(0).u32(2).u32(900'000).u32(700'000));
        return before;
    };
    const played result = survive_twice(file.bytes());
    EXPECT_EQ(result.pins, 400U);
}

}  // namespace
}  // namespace mediakit_fuzz
