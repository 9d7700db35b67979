// Whole recordings with the plain multiplexer: what goes in on the pins is what a second reader finds in the file.
#include "MediaKit/IMPEG4Mux.h"
#include "Platform/DirectShow/WaveFormatTags.h"
#include "Testing/Graph/recording_graph.h"
#include "Testing/Kit/log_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace mediakit_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Big enough to need several delivery buffers for a key unit.
const h264_units video{6, 3, 25};

CMediaType adts_type() { return aac_type(WAVE_FORMAT_MPEG_ADTS_AAC); }

/// Every sample in the file is one that was sent, in order and from the first.
void expect_prefix(const recorded_track& track, const std::vector<byte_vector>& sent) {
    ASSERT_LE(track.samples.size(), sent.size());
    for (std::size_t i = 0; i < track.samples.size(); ++i)
        EXPECT_TRUE(track.samples[i].bytes == sent[i]) << "sample " << i;
}

std::vector<byte_vector> h264_samples(const std::vector<byte_vector>& units) {
    std::vector<byte_vector> samples;
    for (const byte_vector& unit : units) samples.push_back(h264_sample(unit));
    return samples;
}

std::vector<byte_vector> aac_payloads(std::size_t count) {
    std::vector<byte_vector> payloads;
    for (std::size_t i = 0; i < count; ++i) payloads.push_back(aac_payload(i));
    return payloads;
}

TEST(PlainRecording, KeepsEverySampleOfVideoAndAudio) {
    const auto units = video.units(60, 12);
    recording_graph graph;
    graph.add(h264_type(video), video_script(units, 12));
    graph.add(adts_type(), adts_script(113));
    graph.record();

    const recorded_movie movie = graph.movie();
    EXPECT_THAT(movie.boxes, ElementsAre("ftyp", "mdat", "moov"));
    ASSERT_EQ(movie.tracks.size(), 2u);

    const recorded_track& pictures = movie.tracks[0];
    EXPECT_EQ(pictures.handler, "vide");
    EXPECT_EQ(pictures.entry, "avc1");
    EXPECT_EQ(pictures.timescale, 25u);
    ASSERT_EQ(pictures.samples.size(), 60u);
    expect_prefix(pictures, h264_samples(units));
    for (std::size_t i = 0; i < pictures.samples.size(); ++i) {
        EXPECT_EQ(pictures.samples[i].decode_time, static_cast<std::int64_t>(i));
        EXPECT_EQ(pictures.samples[i].composition_time, static_cast<std::int64_t>(i));
        EXPECT_EQ(pictures.samples[i].sync, i % 12 == 0);
    }

    const recorded_track& sound = movie.tracks[1];
    EXPECT_EQ(sound.handler, "soun");
    EXPECT_EQ(sound.entry, "mp4a");
    EXPECT_EQ(sound.timescale, 48000u);
    ASSERT_EQ(sound.samples.size(), 113u);
    expect_prefix(sound, aac_payloads(113));
    for (std::size_t i = 0; i < sound.samples.size(); ++i)
        EXPECT_NEAR(static_cast<double>(sound.samples[i].decode_time), 1024.0 * static_cast<double>(i), 1.0);
}

TEST(PlainRecording, PutsTheIndexInFrontWhenAsked) {
    const auto units = video.units(30, 10);
    recording_graph graph;
    ASSERT_EQ(ComPtr<IBaseFilter>(graph.mux()).query<qz_MPEGSystemFilters::IMPEG4Mux>()->SetMoveMoovToFront(TRUE),
              S_OK);
    graph.add(h264_type(video), video_script(units, 10));
    graph.record();
    const recorded_movie movie = graph.movie();
    EXPECT_THAT(movie.boxes, ElementsAre("ftyp", "moov", "mdat"));
    ASSERT_EQ(movie.tracks.size(), 1u);
    ASSERT_EQ(movie.tracks[0].samples.size(), 30u);
    expect_prefix(movie.tracks[0], h264_samples(units));
}

TEST(PlainRecording, OrdersPicturesThatAreShownLaterThanTheyAreCoded) {
    // coded I P B B P B B, shown I B B P B B P
    const std::vector<std::int64_t> shown = {0, 3, 1, 2, 6, 4, 5};
    std::vector<byte_vector> units = {video.key_unit(16)};
    for (unsigned n = 1; n < shown.size(); ++n) {
        const auto order_count = static_cast<unsigned>(2 * shown[n]);
        units.push_back(n % 3 == 1 ? video.p_unit((n + 2) / 3, order_count, 40)
                                   : video.b_unit((n + 1) / 3 + 1, order_count, 60));
    }
    std::vector<scripted_sample> script = video_script(units, units.size());
    for (std::size_t i = 0; i < script.size(); ++i) {
        script[i].start = shown[i] * frame_time;
        script[i].stop = script[i].start + frame_time;
    }
    recording_graph graph;
    graph.add(h264_type(video), script);
    graph.record();

    const recorded_movie movie = graph.movie();
    ASSERT_EQ(movie.tracks.size(), 1u);
    const recorded_track& track = movie.tracks[0];
    ASSERT_EQ(track.samples.size(), shown.size());
    expect_prefix(track, h264_samples(units));
    for (std::size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(track.samples[i].decode_time, static_cast<std::int64_t>(i));
        EXPECT_EQ(track.samples[i].composition_time - track.edit_start, shown[i]) << "sample " << i;
    }
}

TEST(PlainRecording, TakesEveryKindOfCodec) {
    const h265_units hevc;
    const auto hevc_access = hevc.units(20, 5);
    std::vector<byte_vector> prefixed;
    for (const byte_vector& unit : video.units(20, 5)) prefixed.push_back(with_lengths(split_annex_b(unit)));
    std::vector<byte_vector> hevc_samples;
    for (const byte_vector& unit : hevc_access) hevc_samples.push_back(h265_sample(unit));

    const struct {
        CMediaType type;
        std::vector<byte_vector> sent;
        std::vector<byte_vector> expected;
        const char* entry;
    } rows[] = {
        {avc1_type(video), prefixed, prefixed, "avc1"},
        {h265_type(hevc), hevc_access, hevc_samples, "hvc1"},
        {hvc1_type(hevc), hevc_samples, hevc_samples, "hvc1"},
        {aac_type(), aac_payloads(20), aac_payloads(20), "mp4a"},
    };
    for (const auto& row : rows) {
        recording_graph graph;
        graph.add(row.type, video_script(row.sent, 5));
        graph.record();
        const recorded_movie movie = graph.movie();
        ASSERT_EQ(movie.tracks.size(), 1u);
        EXPECT_EQ(movie.tracks[0].entry, row.entry);
        EXPECT_EQ(movie.tracks[0].samples.size(), 20u);
        expect_prefix(movie.tracks[0], row.expected);
    }
}

TEST(PlainRecording, RecordsAgainAfterAStop) {
    const auto units = video.units(10, 5);
    recording_graph graph;
    graph.add(h264_type(video), video_script(units, 5));
    graph.record();
    const auto first = graph.sink().file().bytes();
    graph.sink().file().set_bytes({});
    EXPECT_GE(graph.run(), S_OK);
    EXPECT_TRUE(graph.wait_for_sources());
    EXPECT_EQ(graph.stop(), S_OK);
    const recorded_movie second = graph.movie();
    ASSERT_EQ(second.tracks.size(), 1u);
    EXPECT_EQ(second.tracks[0].samples.size(), 10u);
    expect_prefix(second.tracks[0], h264_samples(units));
    EXPECT_EQ(graph.sink().file().bytes().size(), first.size());
}

TEST(PlainRecording, DescribesWhatWasWrittenWhenItIsStoppedBeforeTheEnd) {
    const auto units = video.units(40, 10);
    recording_graph graph;
    graph.add(h264_type(video), video_script(units, 10)).end_after_script = false;
    graph.add(adts_type(), adts_script(75)).end_after_script = false;
    EXPECT_GE(graph.run(), S_OK);
    ASSERT_TRUE(graph.wait_for_sources());
    EXPECT_EQ(graph.stop(), S_OK);

    const recorded_movie movie = graph.movie();
    ASSERT_EQ(movie.tracks.size(), 2u);
    // Queued samples go at the stop; a quarter of a second of each track at least was written before.
    EXPECT_GT(movie.tracks[0].samples.size(), 6u);
    EXPECT_GT(movie.tracks[1].samples.size(), 11u);
    expect_prefix(movie.tracks[0], h264_samples(units));
    expect_prefix(movie.tracks[1], aac_payloads(75));
}

TEST(PlainRecording, WritesNothingBeforeEveryPinHasBeenFed) {
    // more samples than the pool has buffers: the fed pin's source waits when the stop comes
    recording_graph graph;
    scripted_output& fed = graph.add(h264_type(video), video_script(video.units(400, 10), 10));
    graph.add(adts_type(), {});
    EXPECT_GE(graph.run(), S_OK);
    EXPECT_FALSE(fed.wait_until_done(std::chrono::milliseconds(200)));
    EXPECT_THAT(graph.sink().file().bytes(), IsEmpty());
    EXPECT_EQ(graph.stop(), S_OK);
    EXPECT_TRUE(fed.wait_until_done());
    EXPECT_LT(fed.delivered(), 400u);
    EXPECT_THAT(graph.sink().file().bytes(), IsEmpty());
}

TEST(PlainRecording, KeepsTheTablesTrueWhenADeliveryFails) {
    // In a key unit each set is two deliveries, a length and its bytes, and the picture three; in others it is the
    // picture alone. So these fall on lengths, on beginnings and on rests.
    for (const int failing : {1, 2, 6, 7, 8, 10, 40}) {
        SCOPED_TRACE(failing);
        const log_capture log(1);
        const auto units = video.units(60, 12);
        const auto all = h264_samples(units);
        recording_graph graph;
        graph.sink().on_receive = [=, n = 0](IMediaSample*) mutable {
            return ++n == failing ? STG_E_MEDIUMFULL : S_OK;
        };
        graph.add(h264_type(video), video_script(units, 12));
        graph.record();

        const recorded_movie movie = graph.movie();
        ASSERT_EQ(movie.tracks.size(), 1u);
        const recorded_track& track = movie.tracks[0];
        // Samples may be missing, where the failure was; each that is told is one that was sent.
        EXPECT_LT(track.samples.size(), all.size());
        EXPECT_GT(track.samples.size(), all.size() - 5);
        auto rest = all.begin();
        for (const recorded_sample& sample : track.samples) {
            rest = std::find(rest, all.end(), sample.bytes);
            ASSERT_NE(rest, all.end()) << "sample at " << sample.decode_time;
            ++rest;
        }
    }
}

TEST(PlainRecording, ComesToAnEndWithoutAStreamToWriteTo) {
    const log_capture log(1);
    recording_graph graph(false);
    graph.add(h264_type(video), video_script(video.units(10, 5), 5));
    EXPECT_GE(graph.run(), S_OK);
    EXPECT_TRUE(graph.wait_for_sources());
    EXPECT_EQ(graph.stop(), S_OK);
    for (const std::string& box : read_movie(graph.sink().file().bytes()).boxes) EXPECT_NE(box, "moov");
}

}  // namespace
}  // namespace mediakit_test
