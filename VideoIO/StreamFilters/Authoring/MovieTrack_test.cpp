#include "VideoIO/StreamFilters/Authoring/MovieTrack.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Authoring/FakeInput_test.h"
#include "VideoIO/StreamFilters/Authoring/TrackTimeline.h"

#include <gmock/gmock.h>

namespace Norvane::MediaKit::Filters {
namespace {

using testdata::AudioType;
using testdata::VideoType;

CMediaType Aac(DWORD samplesPerSecond) {
    CMediaType type = AudioType(samplesPerSecond);
    type.subtype = MEDIASUBTYPE_RAW_AAC1;
    return type;
}

CMediaType Avc(REFERENCE_TIME frameTime) {
    CMediaType type = VideoType(frameTime);
    type.subtype = MEDIASUBTYPE_AVC1;
    return type;
}

void Append(MovieTrack& track, REFERENCE_TIME start, bool sync = false) {
    track.AppendSample({0, start, 1, sync ? 1u : 0u}, start + 1, true, L"Input_0");
}

std::vector<std::int64_t> Entries(const SegmentedVector<std::int64_t>& table) {
    std::vector<std::int64_t> entries;
    for (std::size_t i = 0; i < table.size(); ++i) entries.push_back(table[i]);
    return entries;
}

TEST(MovieTrack, SetupTakesRateFromMediaType) {
    struct Case {
        CMediaType type;
        bool force;
        std::uint32_t timescale;
        std::int64_t denominator;
    };
    const Case cases[] = {
        {Avc(333667), false, 30000, 1001}, {Avc(400000), false, 25, 1},  {Avc(400000), true, 90000, 1},
        {Aac(44100), false, 44100, 1},     {Aac(48000), true, 48000, 1},
    };
    for (const Case& c : cases) {
        MovieTrack track;
        EXPECT_EQ(track.SetupFromMediaType(c.type, nullptr, c.force), S_OK);
        EXPECT_EQ(track.timescale, c.timescale);
        EXPECT_EQ(track.rate, (qz_DSFilters::StreamRate{c.timescale, c.denominator}));
        EXPECT_NE(track.handler, nullptr);
    }

    const mediakit_test::log_capture log(1);
    CMediaType shortBlock = Aac(48000);
    shortBlock.ReallocFormatBuffer(4);
    const std::pair<CMediaType, HRESULT> failing[] = {
        {Avc(0), E_INVALIDARG}, {Avc(MaxTime), E_FAIL}, {Aac(0), E_FAIL}, {shortBlock, E_FAIL}, {AudioType(), S_OK}};
    for (const auto& [type, result] : failing) {
        MovieTrack track;
        EXPECT_EQ(track.SetupFromMediaType(type, nullptr, false), result);
        EXPECT_EQ(track.handler, nullptr);
        EXPECT_EQ(track.timescale, 90000u);
    }
    EXPECT_EQ(log.count(1, L"rate.m_numerator > 0"), 1u);
    EXPECT_EQ(log.count(1, L"format.nSamplesPerSec > 0"), 2u);
}

TEST(MovieTrack, RateOutlivesRecordings) {
    MovieTrack track;
    track.SetupFromMediaType(Aac(48000), nullptr, false);
    const auto* const handler = track.handler.get();
    track.SetupFromMediaType(Aac(32000), nullptr, false);
    EXPECT_EQ(track.handler.get(), handler);
    EXPECT_EQ(track.timescale, 48000u);

    track.BeginRecording();
    EXPECT_EQ(track.handler, nullptr) << "made anew, with the next stream's parameter sets";
    track.SetupFromMediaType(Aac(32000), nullptr, false);
    EXPECT_NE(track.handler, nullptr);
    EXPECT_EQ(track.timescale, 48000u);

    track.BeginRecording();
    track.SetOptions({.timescale = 1000});
    track.SetupFromMediaType(Aac(32000), nullptr, false);
    EXPECT_EQ(track.timescale, 1000u) << "chosen in between";
    track.ResetStream();
    EXPECT_EQ(track.handler, nullptr);
    EXPECT_EQ(track.rate, (qz_DSFilters::StreamRate{90000, 1}));
    track.SetOptions({});
    track.SetupFromMediaType(Aac(32000), nullptr, false);
    EXPECT_EQ(track.timescale, 32000u) << "another stream";
}

TEST(MovieTrack, OrdersByStartOnceReordered) {
    MovieTrack track;
    for (REFERENCE_TIME start : {0, 400000, 1200000}) {
        track.DetectReordering(start);
        Append(track, start);
    }
    EXPECT_FALSE(track.reorderDetected);
    EXPECT_TRUE(track.presentationOrder.empty());

    for (REFERENCE_TIME start : {800000, 2400000, 1600000, 2000000, 1600000}) {
        track.DetectReordering(start);
        Append(track, start);
    }
    EXPECT_TRUE(track.reorderDetected);
    EXPECT_THAT(Entries(track.presentationOrder),
                testing::ElementsAre(0, 400000, 800000, 1200000, 1600000, 1600000, 2000000, 2400000));

    track.BeginRecording();
    EXPECT_FALSE(track.reorderDetected);
    EXPECT_EQ(track.lastStart, 0);
    EXPECT_TRUE(track.samples.empty());
    EXPECT_TRUE(track.presentationOrder.empty());
    track.DetectReordering(-1);
    EXPECT_TRUE(track.reorderDetected) << "a first sample before 0";
}

TEST(MovieTrack, SortsAfterClockIsSetBack) {
    // So many that moving each entry past all of the first half would take minutes.
    constexpr REFERENCE_TIME kHalf = 500000;
    MovieTrack track;
    track.timescale = 10000000;
    for (const REFERENCE_TIME origin : {kHalf, REFERENCE_TIME{0}})
        for (REFERENCE_TIME n = 0; n < kHalf; ++n) {
            track.DetectReordering(origin + n);
            Append(track, origin + n);
        }
    {
        const TrackTimeline timeline(track);
        for (std::size_t i = 0; i < timeline.size(); ++i)
            ASSERT_EQ(timeline.DecodeTime(i), static_cast<std::int64_t>(i));
        EXPECT_EQ(timeline.MinimalOffset(), -kHalf);
    }

    track.DetectReordering(0);
    Append(track, 0);
    const TrackTimeline again(track);
    EXPECT_EQ(again.DecodeTime(1), 0) << "what came after the sorting is sorted in too";
    EXPECT_EQ(again.DecodeTime(2), 1);

    track.BeginRecording();
    EXPECT_TRUE(track.presentationOrderIsSorted);
}

TEST(MovieTrack, SharedTickChangesTimescale) {
    mediakit_test::log_capture log(3);
    MovieTrack track;
    track.timescale = 30000;
    track.rate = {30000, 1001};
    Append(track, 333667);
    Append(track, 667333);
    EXPECT_EQ(track.timescale, 30000u);
    Append(track, 667334);  // rounds to tick 2002 like the one before

    EXPECT_EQ(track.timescale, 90000u);
    EXPECT_EQ(track.rate, (qz_DSFilters::StreamRate{90000, 3003}));
    EXPECT_EQ(log.count(3,
                        L"Found non-monotonically increasing DTS at 00:00:00.066_7334, in stream Input_0, switching "
                        L"to 90000 timescale, new stream rate 90000 / 3003"),
              1u);
    // Every sample counts in the new ticks, those from before included.
    const TrackTimeline timeline(track);
    EXPECT_EQ(timeline.DecodeTime(0), 3003);
    EXPECT_EQ(timeline.DecodeTime(1), 6006);
    EXPECT_EQ(timeline.DecodeTime(2), 6006);
    EXPECT_EQ(log.count(3, L"compensating"), 0u);

    Append(track, 667333);
    EXPECT_EQ(log.count(3, L"at 00:00:00.066_7333, in stream Input_0, compensating."), 1u);

    MovieTrack fast;
    fast.timescale = 120000;
    fast.rate = {120000, 1001};
    Append(fast, 1);
    Append(fast, 2);
    EXPECT_EQ(fast.rate, (qz_DSFilters::StreamRate{90000, 0})) << "an integer quotient";
}

TEST(MovieTrack, TickCollisionReachesTwelveSamples) {
    for (const int between : {11, 12}) {
        MovieTrack track;
        track.timescale = 25;
        track.rate = {25, 1};
        Append(track, 0);
        for (int i = 1; i <= between; ++i) Append(track, i * 400000);
        Append(track, 0);
        EXPECT_EQ(track.timescale, between == 11 ? 90000u : 25u) << between;
    }
}

TEST(MovieTrack, SyncSamplesAreOfVideo) {
    MovieTrack video;
    Append(video, 0, true);
    Append(video, 10000);
    Append(video, 20000, true);
    ASSERT_EQ(video.syncSamples.size(), 2u);
    EXPECT_EQ(video.syncSamples[0], 1u);
    EXPECT_EQ(video.syncSamples[1], 3u);

    MovieTrack audio;
    audio.timescale = 48000;
    for (int i = 0; i < 2; ++i) audio.AppendSample({0, 0, 1, 1}, 7, false, L"Input_1");
    EXPECT_TRUE(audio.syncSamples.empty());
    EXPECT_EQ(audio.timescale, 48000u);
    EXPECT_EQ(audio.endTime, 7);
}

TEST(SegmentedVector, GrowsByBlocks) {
    SegmentedVector<MovieChunk> table;
    const std::size_t count = 3 * SegmentedVector<MovieChunk>::block_entries + 1;
    for (std::size_t i = 0; i < count; ++i) table.push_back({i, static_cast<std::uint32_t>(i), 1});
    ASSERT_EQ(table.size(), count);
    for (std::size_t i = 0; i < count; ++i) ASSERT_EQ(table[i].offset, i);
    EXPECT_EQ(table.back().offset, count - 1);
    table.clear();
    EXPECT_TRUE(table.empty());
    table.push_back({7, 0, 1});
    EXPECT_EQ(table.front().offset, 7u);
}

TEST(TimeMath, RoundsAndSaturates) {
    EXPECT_EQ(ToTicks(90000, 333667), 3003);
    EXPECT_EQ(ToTicks(1000, 5000), 1);    // 0.5
    EXPECT_EQ(ToTicks(1000, -5000), -1);  // -0.5
    EXPECT_EQ(ToTicks(1000, 4999), 0);
    EXPECT_EQ(ToTicks(4000000000, MaxTime), MaxTime);
    EXPECT_EQ(ToTicks(4000000000, MinTime), MinTime);
    EXPECT_EQ(AddTimes(MaxTime, 1), MaxTime);
    EXPECT_EQ(AddTimes(MinTime, -1), MinTime);
    EXPECT_EQ(SubtractTimes(MinTime, 1), MinTime);
    EXPECT_EQ(SubtractTimes(0, MinTime), MaxTime);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
