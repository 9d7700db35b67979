// Files of a kind that no writer at hand makes, built box by box.
#include "Testing/Kit/movie_file.h"
#include "Testing/Tool/reading_check.h"

#include <gmock/gmock.h>

#include <bit>

namespace mediakit_test {
namespace {

constexpr std::size_t kPictures = 12, kGroup = 5;

std::vector<byte_vector> Pictures() { return h264_units(1, 1, 25).units(kPictures, kGroup); }

movie_track VideoTrack(unsigned lengthSize = 4) {
    const h264_units units(1, 1, 25);
    byte_vector record = avcc_record(units).bytes();
    record[4] = static_cast<std::uint8_t>(0xFC | (lengthSize - 1));
    movie_track track;
    track.timescale = 25;
    track.entry = visual_entry("avc1", units.width(), units.height(), make_box("avcC", box_builder().add(record)));
    for (const byte_vector& unit : Pictures())
        track.samples.push_back(
            {with_lengths(split_annex_b(unit), lengthSize), 1, 0, track.samples.size() % kGroup == 0});
    return track;
}

movie_track SoundTrack(box_builder entry, std::size_t smallest, std::size_t step) {
    movie_track track;
    track.handler = "soun";
    track.timescale = 48000;
    track.entry = std::move(entry);
    track.with_stss = false;
    for (std::size_t i = 0; i < 20; ++i)
        track.samples.push_back({byte_vector(smallest + i * step % 11, static_cast<std::uint8_t>(0x21 + i)), 1024});
    return track;
}

/// QuickTime's longer entries (QuickTime File Format, Sound Sample Descriptions). The entry proper with the fields
/// that version 0 has.
box_builder QuickTimeEntry(unsigned version, unsigned channels, unsigned rate, const box_builder& children) {
    box_builder entry;
    entry.zeros(6).u16(1).u16(static_cast<std::uint16_t>(version)).zeros(6);
    if (version == 1) {
        entry.u16(static_cast<std::uint16_t>(channels)).u16(16).u16(0xFFFE).u16(0).u32(rate << 16);
        entry.words({1024, 0, 0, 2});
    } else {
        entry.u16(3).u16(16).u16(0xFFFE).u16(0).u32(0x10000).u32(72);
        entry.u64(std::bit_cast<std::uint64_t>(static_cast<double>(rate))).u32(channels);
        entry.words({0x7F000000, 0, 0, 0, 1024});
    }
    return make_box("mp4a", entry.add(children));
}

box_builder AacDescriptor() { return esds_box(0x40, audio_specific_config()); }

struct BuiltCase {
    const char* name;
    movie_file (*build)();
    PeerExpectation expectation = {};
};

std::ostream& operator<<(std::ostream& out, const BuiltCase& one) { return out << one.name; }

movie_file Both() { return {.tracks = {VideoTrack(), SoundTrack(aac_entry(), 5, 3)}}; }

movie_file WithSizes(movie_track::sizes sizes, std::size_t smallest, std::size_t step) {
    movie_file file = Both();
    file.tracks[1] = SoundTrack(aac_entry(), smallest, step);
    file.tracks[1].size_table = sizes;
    return file;
}

// clang-format off: a row a case
const BuiltCase kCases[] = {
    {"MoovFirst", Both},
    {"MoovLast",
     [] {
         auto file = Both();
         file.moov_first = false;
         return file;
     }},
    {"LargeOffsets",
     [] {
         auto file = Both();
         for (auto& track : file.tracks) track.large_offsets = true;
         return file;
     }},
    {"LargeDataBox",
     [] {
         auto file = Both();
         file.large_mdat = true;
         file.moov_first = false;
         return file;
     }},
    {"SeveralDataBoxes",
     [] {
         auto file = Both();
         file.mdats = 4;
         for (auto& track : file.tracks) track.samples_per_chunk = 3;
         return file;
     }},
    {"OneSampleAChunk",
     [] {
         auto file = Both();
         for (auto& track : file.tracks) track.samples_per_chunk = 1;
         return file;
     }},
    {"SizesOf16Bits", [] { return WithSizes(movie_track::sizes::compact16, 300, 7); }},
    {"SizesOf8Bits", [] { return WithSizes(movie_track::sizes::compact8, 200, 5); }},
    {"SizesOf4Bits", [] { return WithSizes(movie_track::sizes::compact4, 4, 3); }},
    {"OneSize", [] { return WithSizes(movie_track::sizes::constant, 77, 0); }},
    {"LengthsOfTwoBytes", [] { return movie_file{.tracks = {VideoTrack(2)}}; }},
    {"QuickTimeSoundVersion1",
     [] {
         const box_builder wave = make_box("wave", AacDescriptor());
         return movie_file{.tracks = {SoundTrack(QuickTimeEntry(1, 2, 48000, wave), 9, 4)}};
     }},
    {"QuickTimeSoundVersion2",
     [] {
         const box_builder wave = make_box("wave", AacDescriptor());
         return movie_file{.tracks = {SoundTrack(QuickTimeEntry(2, 2, 48000, wave), 9, 4)}};
     }},
    {"QuickTimeSoundVersion2NoWave",
     [] { return movie_file{.tracks = {SoundTrack(QuickTimeEntry(2, 2, 48000, AacDescriptor()), 9, 4)}}; }},
    {"PlayedFromTheMiddle",
     [] {
         auto file = Both();
         file.tracks[0].edits = {{360, 3}};
         file.tracks[1].edits = {{300, 1000}};
         return file;
     }},
    {"FragmentsWithExplicitBase",
     [] {
         auto file = Both();
         file.fragments = {.samples = 5, .samples_per_run = 2, .default_base_moof = false, .explicit_base = true};
         return file;
     }},
    {"FragmentsBehindSamples",
     [] {
         auto file = Both();
         file.fragments = {.samples = 4, .samples_in_moov = 5};
         return file;
     }},
};
// clang-format on

class BuiltFiles : public testing::TestWithParam<BuiltCase> {};

TEST_P(BuiltFiles, AreReadAsThePeerReadsThem) {
    const WorkFolder folder;
    const movie_file file = GetParam().build();
    const std::vector<std::uint8_t> bytes = file.bytes();
    const bool quickTime = std::string(GetParam().name).starts_with("QuickTime");
    const std::string name = quickTime ? "in.mov" : "in.mp4";
    folder.Write(name, {bytes.begin(), bytes.end()});
    ExpectSamplesAsPeer(folder, name, GetParam().expectation);
    for (std::size_t i = 0; i < file.tracks.size(); ++i) {
        const movie_track& track = file.tracks[i];
        byte_vector wanted;
        if (track.handler == "vide") {
            for (const byte_vector& unit : Pictures()) append(wanted, unit);
        } else {
            for (const movie_sample& sample : track.samples) append(wanted, adts_frame(sample.bytes));
        }
        const RunResult run =
            folder.Tool("extract -q --force --pin " + std::to_string(i) + " " + name + " -o extracted");
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_TRUE(folder.Read("extracted") == std::string(wanted.begin(), wanted.end())) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Peer, BuiltFiles, testing::ValuesIn(kCases),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace mediakit_test
