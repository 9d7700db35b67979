#include "VideoIO/StreamFilters/Authoring/Movie.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Authoring/ExpectedMovie_test.h"
#include "VideoIO/StreamFilters/Authoring/Recording_test.h"
#include "VideoIO/StreamFilters/Authoring/SampleTables.h"
#include "VideoIO/StreamFilters/Container/exception.h"

#include <gmock/gmock.h>

#include <chrono>
#include <limits>

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;

constexpr REFERENCE_TIME kFrame = 400000;  // 25 a second
constexpr REFERENCE_TIME kTick = 200000;   // 50 a second

Recording Video() { return Recording({VideoType(kFrame)}, {25}); }
Recording VideoAndAudio() { return Recording({VideoType(kFrame), AudioType(50)}, {25, 50}); }

/// A movie whose tables a test fills, to look at its boxes before they are released.
struct TestMovie {
    explicit TestMovie(std::vector<CMediaType> mediaTypes, std::uint32_t timescale = 25)
        : types(std::move(mediaTypes)), tracks(types.size()) {
        for (MovieTrack& track : tracks) {
            track.timescale = timescale;
            track.rate = {timescale, 1};
        }
    }

    std::vector<CMediaType> types;
    std::vector<MovieTrack> tracks;
    MovieSettings settings;
    std::shared_ptr<mediakit_test::failing_stream> file = std::make_shared<mediakit_test::failing_stream>();
    Movie movie{TestClock};

    void Start() {
        std::vector<MovieTrackRef> refs;
        for (std::size_t i = 0; i < tracks.size(); ++i) refs.push_back({&tracks[i], &types[i], 4});
        movie.Start(file, settings, std::move(refs));
    }
    /// A sample that is a chunk of its own.
    void Add(REFERENCE_TIME start, REFERENCE_TIME duration, const std::vector<std::uint8_t>& bytes = {1},
             std::size_t n = 0) {
        MovieTrack& track = tracks[n];
        const bool video = types[n].majortype == MEDIATYPE_Video;
        if (video) track.DetectReordering(start);
        file->seek(movie.DataPosition() + movie.OpenPayload());
        const std::uint64_t offset = file->tell();
        file->write(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        movie.AddPayload(bytes.size());
        const std::size_t first = track.samples.size();
        track.AppendSample({offset, start, static_cast<std::uint32_t>(bytes.size()), 1}, start + duration, video, L"");
        track.AppendChunk(first, settings.maxStcoOffset);
    }
    MovieTrack& Finish() {
        EXPECT_EQ(movie.Finalize(true, false), S_OK);
        EXPECT_TRUE(movie.IsComplete());
        return tracks[0];
    }
};

TEST(Movie, WritesOneVideoTrack) {
    Recording recording = Video();
    recording.Receive(0, 0, kFrame, {1, 2, 3}, true);
    recording.Receive(0, kFrame, kFrame, {4, 5}, false);
    EXPECT_EQ(recording.file->content, Ftyp().add(box_builder().u32(8).text("mdat")).add({1, 2, 3, 4, 5}).bytes())
        << "while recording";
    recording.Receive(0, 2 * kFrame, kFrame, {6}, false);

    ExpectedTrack track;
    track.duration = track.movieDuration = 3;
    track.stts = Table{3, 1};
    track.stsc = Table{1, 2, 1, 2, 1, 1};
    track.stsz = {3, 2, 1};
    track.stco = Table{kFtypSize + 8, kFtypSize + 13};
    track.stss = Table{1};
    EXPECT_EQ(recording.Finish(),
              Ftyp().add(make_box("mdat", box_builder().add({1, 2, 3, 4, 5, 6}))).add(Moov(25, 3, {track})).bytes());
}

TEST(Movie, WritesTwoTracksMetadataAndRotation) {
    Recording recording = VideoAndAudio();
    recording.settings.AddMetadata(0xA9737772, "tool");
    recording.settings.AddMetadata(0xA9646573, "a text");
    recording.settings.AddMetadata(0xA9737772, "2");
    recording[0].Track().orientation = 1;
    recording[1].Track().orientation = 1;
    recording.Receive(0, 0, kFrame, {1, 1}, true);
    recording.Receive(1, 0, 200000, {2}, true);
    recording.Receive(0, kFrame, kFrame, {3, 3}, true);
    recording.Receive(1, 200000, 200000, {4}, true);

    ExpectedTrack video;
    video.duration = 2;
    video.movieDuration = 80;
    video.matrix = {0, 0x10000, 0, 0xFFFF0000, 0, 0, 48 << 16, 0, 0x40000000};
    video.stts = Table{2, 1};
    video.stsc = Table{1, 2, 1};
    video.stsz = {2, 2};
    video.stco = Table{kFtypSize + 8};
    video.stss = Table{1, 2};
    ExpectedTrack audio;
    audio.video = false;
    audio.id = 2;
    audio.timescale = 50;
    audio.duration = 2;
    audio.movieDuration = 40;
    audio.stts = Table{2, 1};
    audio.stsc = Table{1, 2, 1};
    audio.stsz = {1, 1};
    audio.stco = Table{kFtypSize + 12};
    const auto item = [](std::uint8_t c1, std::string_view rest, std::string_view text) {
        return box_builder()
            .u32(static_cast<std::uint32_t>(12 + text.size()))
            .u8(c1)
            .text(rest)
            .u16(static_cast<std::uint16_t>(text.size()))
            .u16(0x15C7)
            .text(text);
    };
    const box_builder udta =
        make_box("udta", box_builder().add(item(0xA9, "swr", "tool/2")).add(item(0xA9, "des", "a text")));
    EXPECT_EQ(recording.Finish(), Ftyp()
                                      .add(make_box("mdat", box_builder().add({1, 1, 3, 3, 2, 4})))
                                      .add(Moov(1000, 80, {video, audio}, udta))
                                      .bytes());
}

TEST(Movie, ReorderedVideoHasOffsetsAndAnEdit) {
    Recording recording = Video();
    // I P B B P: in presentation order 0 3 1 2 4.
    for (const int at : {0, 3, 1, 2, 4}) recording.Receive(0, at * kFrame, kFrame, {1}, at == 0);

    ExpectedTrack track;
    track.duration = track.movieDuration = 5;
    track.mediaTime = 1;  // the B pictures are shown one tick before their place in decode order
    track.stts = Table{5, 1};
    track.ctts = Table{1, 1, 1, 3, 2, 0, 1, 1};
    track.stsc = Table{1, 2, 1, 3, 1, 1};
    track.stsz = {1, 1, 1, 1, 1};
    track.stco = Table{32, 34, 36};
    track.stss = Table{1};
    EXPECT_EQ(recording.Finish(),
              Ftyp().add(make_box("mdat", box_builder().fill(5, 1))).add(Moov(25, 5, {track})).bytes());
}

/// Presentation times as a reader works them out from the tables and the edits, in ticks of both timescales (50).
std::vector<std::int64_t> PresentedAt(const MovieTrack& track, const TrackTimeline& timeline) {
    std::int64_t delay = 0;
    std::vector<std::int64_t> times;
    for (const auto& edit : track.elst->entries) {
        if (edit.media_time == -1) delay += static_cast<std::int64_t>(edit.segment_duration);
        if (edit.media_time == -1) continue;
        for (std::size_t i = 0; i < timeline.size(); ++i) {
            const std::int64_t composed = timeline.CompositionTime(i) - timeline.DecodeTime(0);
            times.push_back(composed - edit.media_time + delay);
        }
    }
    return times;
}

TEST(Movie, KeepsStartTimes) {
    struct Case {
        bool video;
        std::vector<std::int64_t> starts;
        std::size_t edits;
        std::uint64_t mediaDuration, trackDuration;
    };
    for (const Case& test :
         {Case{false, {-2, 0, 2}, 1, 6, 4}, Case{false, {10, 12}, 2, 4, 14}, Case{true, {-4, 2, -2, 0}, 1, 8, 4},
          Case{true, {6, 10, 8, 12}, 2, 8, 14}, Case{true, {0, 4, 2, 6}, 1, 8, 8}}) {
        TestMovie recording({test.video ? VideoType(2 * kTick) : AudioType(50)}, 50);
        recording.tracks[0].options.keepStartTime = true;
        recording.Start();
        for (const std::int64_t start : test.starts) recording.Add(start * kTick, 2 * kTick);
        MovieTrack& track = recording.Finish();
        const TrackTimeline timeline(track);
        EXPECT_EQ(PresentedAt(track, timeline), test.starts);
        EXPECT_EQ(timeline.DecodeTime(0), 0);
        EXPECT_EQ(track.elst->entries.size(), test.edits);
        EXPECT_EQ(track.mdhd->duration, test.mediaDuration);
        EXPECT_EQ(track.tkhd->duration, test.trackDuration);
    }
}

TEST(Movie, WritesGivenDecodeTimes) {
    struct Sample {
        std::int64_t decode, start;
    };
    struct Case {
        std::vector<Sample> samples;
        std::vector<std::int64_t> decodeTimes, offsets;
        std::size_t edits;
        std::int64_t mediaTime;
    };
    for (const Case& test :
         {Case{{{-4, 0}, {-2, 6}, {0, 2}, {2, 4}}, {0, 2, 4, 6}, {4, 8, 2, 2}, 1, 4},  // an encoder's delay
          Case{{{0, 4}, {2, 8}, {4, 6}}, {0, 2, 4}, {4, 6, 2}, 2, 4},                  // the same, without an edit
          Case{{{10, 10}, {11, 11}, {19, 19}}, {0, 1, 9}, {}, 2, 0},                   // uneven, and late
          Case{{{2, 2}, {4, 3}, {3, 4}}, {0, 2, 2}, {0, -1, 0}, 2, 0}}) {              // shown early; set back
        TestMovie recording({VideoType(2 * kTick)}, 50);
        MovieTrack& track = recording.tracks[0];
        track.options.mediaTimesAreDecodeTimes = true;
        recording.Start();
        for (const Sample& sample : test.samples) {
            track.AppendDecodeTime(sample.decode * kTick);
            recording.Add(sample.start * kTick, 2 * kTick);
        }
        recording.Finish();
        const TrackTimeline timeline(track);
        std::vector<std::int64_t> decodeTimes, offsets, starts;
        for (std::size_t i = 0; i < timeline.size(); ++i) {
            decodeTimes.push_back(timeline.DecodeTime(i));
            offsets.push_back(timeline.CompositionTime(i) - timeline.DecodeTime(i));
            starts.push_back(test.samples[i].start);
        }
        EXPECT_EQ(decodeTimes, test.decodeTimes);
        EXPECT_EQ(timeline.HasCompositionOffsets(), !test.offsets.empty());
        if (!test.offsets.empty()) {
            EXPECT_EQ(offsets, test.offsets);
        }
        EXPECT_EQ(PresentedAt(track, timeline), starts);
        EXPECT_EQ(track.elst->entries.size(), test.edits);
        EXPECT_EQ(track.elst->entries.back().media_time, test.mediaTime);
    }
}

TEST(Movie, OneSampleHasNoDurationTable) {
    Recording recording = Video();
    recording.Receive(0, 0, kFrame, {9}, false);

    ExpectedTrack track;
    track.duration = track.movieDuration = 1;
    track.stsc = Table{1, 1, 1};
    track.stsz = {1};
    track.stco = Table{32};
    EXPECT_EQ(recording.Finish(),
              Ftyp().add(make_box("mdat", box_builder().add({9}))).add(Moov(25, 1, {track})).bytes());
}

TEST(Movie, SamplesOnOneTickKeepAZeroDelta) {
    Recording recording = Video();
    recording.SetTimescale(0, 90000);
    for (const REFERENCE_TIME start : {0, 1, 400000}) recording.Receive(0, start, kFrame, {1}, false);

    ExpectedTrack track;
    track.timescale = 90000;
    track.duration = track.movieDuration = 7200;
    track.stts = Table{1, 0, 2, 3600};
    track.stsc = Table{1, 2, 1, 2, 1, 1};
    track.stsz = {1, 1, 1};
    track.stco = Table{32, 34};
    EXPECT_EQ(recording.Finish(),
              Ftyp().add(make_box("mdat", box_builder().fill(3, 1))).add(Moov(90000, 7200, {track})).bytes());
}

TEST(Movie, OpensFurtherMdatAtTheLimit) {
    Recording recording = Video();
    recording.settings.maxMdatSize = 7;
    recording.settings.maxStcoOffset = 46;
    for (int i = 0; i < 4; ++i) recording.Receive(0, i * kFrame, kFrame, {1, 2, 3}, false);
    // Two samples come first; the third, 3 bytes on top of 6, is too much for 7.
    const box_builder open = box_builder().u32(8).text("mdat").add({1, 2, 3, 1, 2, 3});
    EXPECT_EQ(recording.file->content, Ftyp().add(open).add(open).bytes()) << "while recording";

    ExpectedTrack track;
    track.duration = track.movieDuration = 4;
    track.stts = Table{4, 1};
    track.stsc = Table{1, 2, 1, 2, 1, 1};
    track.stsz = {3, 3, 3, 3};
    track.co64 = std::vector<std::uint64_t>{32, 46, 49};
    const auto payload = [] { return box_builder().add({1, 2, 3, 1, 2, 3}); };
    EXPECT_EQ(
        recording.Finish(),
        Ftyp().add(make_box("mdat", payload())).add(make_box("mdat", payload())).add(Moov(25, 4, {track})).bytes());
}

ExpectedTrack FrontTrack() {
    ExpectedTrack track;
    track.duration = track.movieDuration = 3;
    track.stts = Table{3, 1};
    track.stsc = Table{1, 2, 1, 2, 1, 1};
    track.stsz = {2, 2, 2};
    track.stco = Table{0, 0};
    return track;
}

TEST(Movie, MovesMoovToTheFront) {
    ExpectedTrack track = FrontTrack();
    const auto shift = static_cast<std::uint32_t>(Moov(25, 3, {track}).size());
    track.stco = Table{32 + shift, 44 + shift};

    Recording recording = Video();
    recording.settings.moveMoovToFront = true;
    recording.settings.maxMdatSize = 4;
    for (int i = 0; i < 3; ++i) recording.Receive(0, i * kFrame, kFrame, {1, 2}, false);
    EXPECT_EQ(recording.Finish(), Ftyp()
                                      .add(Moov(25, 3, {track}))
                                      .add(make_box("mdat", box_builder().add({1, 2, 1, 2})))
                                      .add(make_box("mdat", box_builder().add({1, 2})))
                                      .bytes());
    EXPECT_GT(recording.file->flushes, 0u);
    EXPECT_EQ(recording.Samples(0)[2].offset, 44u + shift) << "readers find the moved data";
    EXPECT_TRUE(recording.Result().fileComplete);
}

/// Gives up at a move, as a stream does that cannot start one.
class StreamThatCannotMove final : public mediakit_test::failing_stream {
public:
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override { failing_seek = failing_write = 0; }
};

TEST(Movie, MoveThatCannotStartKeepsMoovAtTheEnd) {
    std::vector<std::uint8_t> expected;
    for (const bool front : {false, true}) {
        const mediakit_test::log_capture log(1);
        Recording recording = Video();
        recording.file = std::make_shared<StreamThatCannotMove>();
        recording.settings.moveMoovToFront = front;
        for (int i = 0; i < 3; ++i) recording.Receive(0, i * kFrame, kFrame, {1, 2}, false);
        recording.Finish();
        EXPECT_EQ(log.count(1, L"Exception when finalizing the file "), front ? 1u : 0u);
        EXPECT_TRUE(recording.Result().fileComplete);
        EXPECT_EQ(FAILED(recording.Result().failure.result), front) << "not what was asked for";
        EXPECT_EQ(recording.Samples(0)[0].offset, 32u);
        if (!front) expected = recording.file->content;
        EXPECT_EQ(recording.file->content, expected);
    }
}

TEST(Movie, OffsetsAfterTheLimitAre64Bit) {
    // The greater of two chunk offsets is at the limit, and one after it, before and after moov moves.
    ExpectedTrack track = FrontTrack();
    const std::uint64_t narrow = Moov(25, 3, {track}).size();
    for (const bool front : {false, true})
        for (const bool beyond : {false, true}) {
            Recording recording = Video();
            recording.settings.moveMoovToFront = front;
            recording.settings.maxStcoOffset = 36 + (front ? narrow : 0) - (beyond ? 1 : 0);
            for (int i = 0; i < 3; ++i) recording.Receive(0, i * kFrame, kFrame, {1, 2}, false);

            const auto shift = static_cast<std::uint32_t>(front ? narrow + (beyond ? 8 : 0) : 0);
            track.stco.reset();
            track.co64.reset();
            if (beyond)
                track.co64 = std::vector<std::uint64_t>{32 + shift, 36 + shift};
            else
                track.stco = Table{32 + shift, 36 + shift};
            const box_builder moov = Moov(25, 3, {track});
            const box_builder mdat = make_box("mdat", box_builder().add({1, 2, 1, 2, 1, 2}));
            EXPECT_EQ(recording.Finish(), Ftyp().add(front ? moov : mdat).add(front ? mdat : moov).bytes());
        }
}

TEST(Movie, WidensTheTrackThatNeedsIt) {
    TestMovie recording({VideoType(kFrame), AudioType(50)});
    recording.settings.moveMoovToFront = true;
    recording.settings.maxStcoOffset = 42 + 1000;  // between the two tracks' chunks, once moov is before them
    recording.Start();
    recording.Add(0, kFrame, std::vector<std::uint8_t>(500, 1));
    recording.Add(0, kFrame, {2}, 1);
    recording.Finish();
    const std::uint64_t shift = recording.movie.DataShift();
    ASSERT_LT(32 + shift, 1042u);
    ASSERT_NE(recording.tracks[0].stco, nullptr);
    EXPECT_EQ(recording.tracks[0].stco->offsets, (Table{static_cast<std::uint32_t>(32 + shift)}));
    ASSERT_NE(recording.tracks[1].co64, nullptr);
    EXPECT_EQ(recording.tracks[1].co64->offsets, (std::vector<std::uint64_t>{532 + shift}));
    EXPECT_EQ(recording.file->content[532 + shift], 2);
}

TEST(Movie, AbsorbsWrittenMoov) {
    TestMovie recording({VideoType(kFrame)});
    recording.Start();
    recording.Add(0, kFrame);
    recording.Add(kFrame, kFrame);
    recording.movie.Finalize(false, false);
    const std::vector<std::uint8_t> first = recording.file->content;
    recording.movie.Finalize(false, false);
    EXPECT_EQ(recording.file->content, first) << "complete already";

    recording.movie.Finalize(true, true);
    const auto& content = recording.file->content;
    const std::size_t moov = first.size() - kFtypSize - 10;
    ASSERT_EQ(content.size(), first.size() + moov);
    EXPECT_EQ(content[kFtypSize + 3] + 256u * content[kFtypSize + 2], 10 + moov) << "mdat covers it";
    EXPECT_TRUE(
        std::equal(first.begin() + kFtypSize + 10, first.end(), content.begin() + static_cast<long>(first.size())));
}

TEST(Movie, LongRecordingsUse64BitHeaders) {
    TestMovie recording({VideoType(kFrame)}, 90000);
    const REFERENCE_TIME end = 600000000000;  // 16 h 40 min: 5.4e9 ticks
    recording.Start();
    recording.Add(0, kFrame);
    recording.Add(end - kFrame, kFrame);
    const MovieTrack& track = recording.Finish();
    EXPECT_EQ(track.mdhd->version, 1);
    EXPECT_EQ(track.mdhd->duration, 5400000000u);
    EXPECT_EQ(track.tkhd->version, 1);
    EXPECT_EQ(track.tkhd->duration, 5400000000u);
    EXPECT_EQ(track.elst->version, 1);
    ExpectedTrack shortTrack = FrontTrack();
    shortTrack.stts = Table{1, 0, 1, 0};
    shortTrack.stsc = Table{1, 1, 1};
    shortTrack.stsz = {1, 1};
    EXPECT_EQ(recording.file->content.size(), kFtypSize + 10 + Moov(0, 0, {shortTrack}).size() + 3 * 12 + 8 + 24)
        << "mvhd, tkhd and mdhd grow by 12 bytes, elst by 8; stss of two";
}

TEST(Movie, PictureSizeIsTakenModulo) {
    constexpr LONG least = std::numeric_limits<LONG>::min();
    TestMovie recording({VideoType(kFrame, least, least + 1)});
    recording.Start();
    recording.Add(0, kFrame);
    const MovieTrack& track = recording.Finish();
    EXPECT_EQ(track.tkhd->width, 0u);
    EXPECT_EQ(track.tkhd->height, 0xFFFF0000u);
}

TEST(Movie, MdatSizesAreWrittenWithoutMoov) {
    const mediakit_test::log_capture log(1);
    TestMovie recording({VideoType(kFrame)});
    recording.Start();
    for (int i = 0; i < 2; ++i) recording.Add(i * kFrame, kFrame, {1, 2, 3});
    recording.movie.OpenNextMdat();
    recording.Add(2 * kFrame, kFrame, {4});
    const std::uint64_t flushes = recording.file->flushes;
    recording.file->failing_write = recording.file->writes + 10;  // in moov, and once
    recording.file->failures = 1;
    EXPECT_TRUE(FAILED(recording.movie.Finalize(true, false)));
    EXPECT_FALSE(recording.movie.IsComplete());
    EXPECT_EQ(log.count(1, L"Exception when finalizing the file "), 1u);
    auto content = recording.file->content;
    content.resize(kFtypSize + 14 + 9);
    EXPECT_EQ(content, Ftyp()
                           .add(make_box("mdat", box_builder().add({1, 2, 3, 1, 2, 3})))
                           .add(make_box("mdat", box_builder().add({4})))
                           .bytes());
    EXPECT_GT(recording.file->flushes, flushes);
}

TEST(Movie, FailedStartLeavesItNotStarted) {
    TestMovie recording({VideoType()});
    recording.file->failing_write = 3;
    EXPECT_THROW(recording.Start(), core::exception);
    EXPECT_EQ(recording.movie.TrackCount(), 0u);
    EXPECT_EQ(recording.movie.DataPosition(), 0u);

    recording.file->failing_write = mediakit_test::failing_stream::never;
    recording.Start();
    EXPECT_EQ(recording.movie.TrackCount(), 1u);
    EXPECT_EQ(recording.movie.DataPosition(), kFtypSize + 8u);
}

TEST(TrackTimeline, MillionSamplesTakeAMoment) {
    MovieTrack track;
    track.timescale = 25;
    track.rate = {25, 1};
    for (int group = 0; group < 250000; ++group)
        for (const int at : {0, 3, 1, 2}) {
            const REFERENCE_TIME start = (4 * group + at) * kFrame;
            track.DetectReordering(start);
            const std::size_t first = track.samples.size();
            track.AppendSample({first * 10, start, 10, 0}, start + kFrame, true, L"");
            track.AppendChunk(first, 0x80000000);
        }
    const auto begin = std::chrono::steady_clock::now();
    vio::mp4::mp4_writer writer;
    const auto stbl = writer.add_box<vio::mp4::sample_table_box>(nullptr);
    const TrackTimeline timeline(track);
    AddSampleTables(writer, stbl.get(), track, timeline, VideoType(kFrame));
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(track.stco->offsets.size(), 1000000u);
    EXPECT_LT(took, std::chrono::seconds(5)) << "a walk that is quadratic takes hours";
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
