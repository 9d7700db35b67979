// Small whole files, cut at every byte and damaged in every field.
#include "Fuzz/survive_test.h"
#include "Testing/Kit/movie_tracks.h"

#include <algorithm>
#include <string>

namespace mediakit_fuzz {
namespace {

using namespace mediakit_test;

/// A few tiny samples: their bytes are not what is damaged.
movie_track track_of(movie_track track, std::size_t samples) {
    track.samples.clear();
    for (std::size_t i = 0; i < samples; ++i)
        track.samples.push_back({{0, 0, 0, 2, 0x65, static_cast<std::uint8_t>(i)}, 40, i == 1 ? 7 : 0, i % 2 == 0});
    return track;
}

movie_file plain_file() {
    movie_file file;
    file.tracks = {track_of(h264_track(1), 3), track_of(aac_track(1), 3)};
    file.tracks[0].samples_per_chunk = 2;
    file.tracks[0].edits = {{40, -1}, {120, 7}};
    return file;
}

movie_file compact_file() {
    movie_file file = plain_file();
    file.tracks[0].entry = hvc1_entry();
    file.tracks[0].size_table = movie_track::sizes::compact4;
    file.tracks[1].entry = mp3_entry();
    file.tracks[1].large_offsets = true;
    file.moov_first = false;
    file.large_mdat = true;
    return file;
}

movie_file fragmented_file() {
    movie_file file;
    file.tracks = {track_of(h264_track(1), 4), track_of(aac_track(1), 4)};
    file.fragments.samples = 2;
    file.fragments.samples_in_moov = 2;
    file.fragments.samples_per_run = 1;
    return file;
}

movie_file quicktime_file() {
    movie_file file;
    file.tracks = {pcm_track("twos", 8, 4), track_of(h264_track(1), 2)};
    file.tracks[1].entry = mp4v_entry(16, 16, {0, 0, 1, 0x20, 0, 0xC8, 0x88, 0x80, 0x0F, 0x50, 0x41, 0x41, 0x41, 0x1F});
    return file;
}

struct damage_case {
    const char* name;
    movie_file (*file)();
    std::vector<std::size_t> samples;  ///< of the whole file
};

class DamagedFile : public testing::TestWithParam<damage_case> {
protected:
    /// Every other time with all reading policies, and now and then in a running graph.
    played play_odd(const bytes& file, const std::string& what) {
        SCOPED_TRACE(what);
        const int trial = m_trials++;
        return survive(file, {.strict = trial % 2 == 0, .threads = trial % 16 < 2, .seeks = {400'000}});
    }

    int m_trials = 0;
};

TEST_P(DamagedFile, PlaysWhenItIsWhole) {
    for (const bool threads : {false, true}) {
        const played result = play(GetParam().file().bytes(), {.threads = threads, .seeks = {}});
        EXPECT_EQ(result.connected, S_OK);
        EXPECT_EQ(result.ends, std::vector<HRESULT>(result.pins, threads ? S_OK : S_FALSE));
        EXPECT_EQ(result.samples, GetParam().samples);
    }
}

TEST_P(DamagedFile, SurvivesACutAtEachByte) {
    const bytes whole = GetParam().file().bytes();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const played result = play_odd(bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)),
                                       "cut at " + std::to_string(size));
        ASSERT_LE(result.pins, GetParam().samples.size());
        for (std::size_t pin = 0; pin < result.pins; ++pin) EXPECT_LE(result.samples[pin], GetParam().samples[pin]);
        if (HasFailure()) return;
    }
}

TEST_P(DamagedFile, SurvivesEachFieldWithEachOddValue) {
    const movie_file description = GetParam().file();
    bytes file = description.bytes();
    std::size_t played_whole = 0;
    for (std::size_t at = 0; at + 4 <= file.size(); ++at) {
        const bytes before(file.begin() + static_cast<std::ptrdiff_t>(at),
                           file.begin() + static_cast<std::ptrdiff_t>(at + 4));
        std::uint32_t value = 0;
        for (const std::uint8_t byte : before) value = value << 8 | byte;
        for (const std::uint32_t odd : {0U, 1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU, value + 1, value - 1}) {
            for (int byte = 0; byte < 4; ++byte)
                file[at + static_cast<std::size_t>(byte)] = static_cast<std::uint8_t>(odd >> (24 - 8 * byte));
            const played result = play_odd(file, std::to_string(at) + " set to " + std::to_string(odd));
            played_whole += result.samples == GetParam().samples ? 1 : 0;
        }
        std::ranges::copy(before, file.begin() + static_cast<std::ptrdiff_t>(at));
        if (HasFailure()) return;
    }
    // Most fields say how something looks, not where it is. A reader that refuses whatever is odd shows here.
    EXPECT_GT(played_whole, 7 * file.size() / 4);
}

INSTANTIATE_TEST_SUITE_P(Files, DamagedFile,
                         testing::Values(damage_case{"plain", plain_file, {3, 3}},
                                         damage_case{"compact", compact_file, {3, 3}},
                                         damage_case{"fragmented", fragmented_file, {4, 4}},
                                         damage_case{"quicktime", quicktime_file, {2, 2}}),
                         [](const auto& of) { return std::string(of.param.name); });

}  // namespace
}  // namespace mediakit_fuzz
