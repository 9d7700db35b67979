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

constexpr REFERENCE_TIME Frame = 400000;  // 25 a second

/// A recording of video at 25 frames a second.
Recording Video() {
    Recording recording({VideoType(Frame)});
    recording[0].Track().timescale = 25;
    recording[0].Track().rate = {25, 1};
    return recording;
}

Recording VideoAndAudio() {
    Recording recording({VideoType(Frame), AudioType(50)});
    recording[0].Track().timescale = 25;
    recording[0].Track().rate = {25, 1};
    recording[1].Track().timescale = 50;
    recording[1].Track().rate = {50, 1};
    return recording;
}

TEST(Movie, OneVideoTrack) {
    Recording recording = Video();
    recording.Receive(0, 0, Frame, {1, 2, 3}, true);
    recording.Receive(0, Frame, Frame, {4, 5}, false);
    EXPECT_EQ(recording.file->content, Ftyp().add(box_builder().u32(8).text("mdat")).add({1, 2, 3, 4, 5}).bytes())
        << "while recording";
    recording.Receive(0, 2 * Frame, Frame, {6}, false);

    ExpectedTrack track;
    track.duration = track.movieDuration = 3;
    track.stts = Table{3, 1};
    track.stsc = Table{1, 2, 1, 2, 1, 1};
    track.stsz = {3, 2, 1};
    track.stco = Table{FtypSize + 8, FtypSize + 13};
    track.stss = Table{1};
    EXPECT_EQ(recording.Finish(),
              Ftyp().add(make_box("mdat", box_builder().add({1, 2, 3, 4, 5, 6}))).add(Moov(25, 3, {track})).bytes());
}

TEST(Movie, TwoTracksWithMetadataAndRotation) {
    Recording recording = VideoAndAudio();
    recording.settings.AddMetadata(0xA9737772, "tool");
    recording.settings.AddMetadata(0xA9646573, "a text");
    recording.settings.AddMetadata(0xA9737772, "2");
    recording[0].Track().orientation = 1;
    recording[1].Track().orientation = 1;
    recording.Receive(0, 0, Frame, {1, 1}, true);
    recording.Receive(1, 0, 200000, {2}, true);
    recording.Receive(0, Frame, Frame, {3, 3}, true);
    recording.Receive(1, 200000, 200000, {4}, true);

    ExpectedTrack video;
    video.duration = 2;
    video.movieDuration = 80;
    video.matrix = {0, 0x10000, 0, 0xFFFF0000, 0, 0, 48 << 16, 0, 0x40000000};
    video.stts = Table{2, 1};
    video.stsc = Table{1, 2, 1};
    video.stsz = {2, 2};
    video.stco = Table{FtypSize + 8};
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
    audio.stco = Table{FtypSize + 12};
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

TEST(Movie, ReorderedVideoHasCompositionOffsetsAndAnEdit) {
    Recording recording = Video();
    // I P B B P: in presentation order 0 3 1 2 4.
    for (const int at : {0, 3, 1, 2, 4}) recording.Receive(0, at * Frame, Frame, {1}, at == 0);

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

TEST(Movie, ReorderingFromAStartAboveZeroCountsFromTheFirstPicture) {
    Recording recording = Video();
    for (const int at : {10, 12, 11}) recording.Receive(0, at * Frame, Frame, {1}, true);
    recording.EndAll();
    const TrackTimeline timeline(recording[0].Track());
    EXPECT_EQ(timeline.MinimalOffset(), 0) << "10, 11, 9 after the decode times 0, 1, 2";
    EXPECT_EQ(timeline.DecodeTime(2), 2);
    EXPECT_EQ(timeline.CompositionTime(1), 12);
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

TEST(Movie, KeepsTheStartOfATrackThatIsToKeepIt) {
    constexpr REFERENCE_TIME Tick = 200000;
    struct Case {
        bool video;
        std::vector<std::int64_t> starts;
        std::size_t edits;
        std::uint64_t mediaDuration, trackDuration;
    };
    for (const Case& test :
         {Case{false, {-2, 0, 2}, 1, 6, 4}, Case{false, {10, 12}, 2, 4, 14}, Case{true, {-4, 2, -2, 0}, 1, 8, 4},
          Case{true, {6, 10, 8, 12}, 2, 8, 14}, Case{true, {0, 4, 2, 6}, 1, 8, 8}}) {
        Recording recording({test.video ? VideoType(2 * Tick) : AudioType(50)});
        MovieTrack& track = recording[0].Track();
        track.timescale = 50;
        track.rate = {50, 1};
        track.options.keepStartTime = true;
        for (const std::int64_t start : test.starts) recording.Receive(0, start * Tick, 2 * Tick, {1}, true);
        recording.Finish();
        const TrackTimeline timeline(track);
        EXPECT_EQ(PresentedAt(track, timeline), test.starts);
        EXPECT_EQ(timeline.DecodeTime(0), 0);
        EXPECT_EQ(track.elst->entries.size(), test.edits);
        EXPECT_EQ(track.mdhd->duration, test.mediaDuration);
        EXPECT_EQ(track.tkhd->duration, test.trackDuration);
    }
}

TEST(Movie, WritesDecodeTimesThatAreGiven) {
    constexpr REFERENCE_TIME Tick = 200000;
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
        Recording recording({VideoType(2 * Tick)});
        MovieTrack& track = recording[0].Track();
        track.timescale = 50;
        track.rate = {50, 1};
        track.options.mediaTimesAreDecodeTimes = true;
        for (const Sample& sample : test.samples) {
            recording[0].Add(sample.start * Tick, 2 * Tick, {1}, true);
            LONGLONG begin = sample.decode * Tick, end = begin + 2 * Tick;
            recording[0].State().queue.back().sample->SetMediaTime(&begin, &end);
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
    recording.Receive(0, 0, Frame, {9}, false);
    EXPECT_TRUE(recording.written.empty()) << "one sample is no span";

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
    recording[0].Track().timescale = 90000;
    recording[0].Track().rate = {90000, 1};
    for (const REFERENCE_TIME start : {0, 1, 400000}) recording.Receive(0, start, Frame, {1}, false);

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

TEST(Movie, OpensAFurtherMdatWhenAChunkWouldPassTheLimit) {
    Recording recording = Video();
    recording.settings.maxMdatSize = 7;
    recording.settings.maxStcoOffset = 46;
    for (int i = 0; i < 4; ++i) recording.Receive(0, i * Frame, Frame, {1, 2, 3}, false);
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

TEST(Movie, AChunkAtTheLimitStaysWith32Bits) {
    Recording recording = Video();
    recording.settings.maxStcoOffset = 34;
    for (int i = 0; i < 3; ++i) recording.Receive(0, i * Frame, Frame, {1}, false);
    recording.Finish();
    EXPECT_FALSE(recording[0].Track().needsCo64);
    EXPECT_NE(recording[0].Track().stco, nullptr);
}

ExpectedTrack FrontTrack() {
    ExpectedTrack track;
    track.duration = track.movieDuration = 3;
    track.stts = Table{3, 1};
    track.stsc = Table{1, 2, 1, 2, 1, 1};
    track.stsz = {2, 2, 2};
    return track;
}

TEST(Movie, MovesMoovToTheFront) {
    Recording recording = Video();
    recording.settings.moveMoovToFront = true;
    recording.settings.maxMdatSize = 4;
    for (int i = 0; i < 3; ++i) recording.Receive(0, i * Frame, Frame, {1, 2}, false);

    ExpectedTrack track = FrontTrack();
    track.stco = Table{0, 0};
    const auto shift = static_cast<std::uint32_t>(Moov(25, 3, {track}).size());
    track.stco = Table{32 + shift, 44 + shift};
    EXPECT_EQ(recording.Finish(), Ftyp()
                                      .add(Moov(25, 3, {track}))
                                      .add(make_box("mdat", box_builder().add({1, 2, 1, 2})))
                                      .add(make_box("mdat", box_builder().add({1, 2})))
                                      .bytes());
    EXPECT_GT(recording.file->flushes, 0u);
    EXPECT_EQ(recording.movie.DataShift(), shift);
    recording.movie.Renew();
    EXPECT_EQ(recording.movie.DataShift(), 0u);
}

/// Gives up at a move, as a stream does that cannot start one.
class StreamThatCannotMove final : public mediakit_test::failing_stream {
public:
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override { failing_seek = failing_write = 0; }
};

TEST(Movie, AMoveThatCannotStartLeavesTheFileComplete) {
    std::vector<std::uint8_t> expected;
    for (const bool front : {false, true}) {
        mediakit_test::log_capture log(1);
        Recording recording = Video();
        recording.file = std::make_shared<StreamThatCannotMove>();
        DataStream data(recording.file->content);
        recording.settings.moveMoovToFront = front;
        ASSERT_EQ(recording.StartMovie(), S_OK);
        for (int i = 0; i < 3; ++i) recording[0].Add(i * Frame, Frame, {1, 2}, false);
        data.position = recording.movie.DataPosition();
        ChunkWriter(recording, recording.movie, data).Write(recording[0], MaxTime, true);
        recording.movie.Finalize(true, false);
        EXPECT_EQ(log.count(1, L"Exception when finalizing the file "), front ? 1u : 0u);
        EXPECT_EQ(recording.movie.DataShift(), 0u);
        if (!front) expected = recording.file->content;
        EXPECT_EQ(recording.file->content, expected);
    }
}

TEST(Movie, MovingToTheFrontWidensOffsetsThatTheShiftTakesBeyondTheLimit) {
    ExpectedTrack track = FrontTrack();
    track.stco = Table{0, 0};
    const std::uint64_t narrowShift = Moov(25, 3, {track}).size();
    track.stco.reset();
    track.co64 = std::vector<std::uint64_t>{0, 0};
    const std::uint64_t wideShift = Moov(25, 3, {track}).size();
    ASSERT_EQ(wideShift, narrowShift + 8);
    track.co64 = std::vector<std::uint64_t>{32 + wideShift, 36 + wideShift};

    Recording recording = Video();
    recording.settings.moveMoovToFront = true;
    recording.settings.maxStcoOffset = 36 + narrowShift - 1;
    for (int i = 0; i < 3; ++i) recording.Receive(0, i * Frame, Frame, {1, 2}, false);
    EXPECT_EQ(recording.Finish(),
              Ftyp().add(Moov(25, 3, {track})).add(make_box("mdat", box_builder().add({1, 2, 1, 2, 1, 2}))).bytes());
}

TEST(Movie, AnOffsetThatTheShiftTakesToTheLimitStaysWith32Bits) {
    ExpectedTrack track = FrontTrack();
    track.stco = Table{0, 0};
    const auto shift = static_cast<std::uint32_t>(Moov(25, 3, {track}).size());
    Recording recording = Video();
    recording.settings.moveMoovToFront = true;
    recording.settings.maxStcoOffset = 36 + shift;
    for (int i = 0; i < 3; ++i) recording.Receive(0, i * Frame, Frame, {1, 2}, false);
    recording.Finish();
    ASSERT_NE(recording[0].Track().stco, nullptr);
    EXPECT_EQ(recording[0].Track().stco->offsets, (Table{32 + shift, 36 + shift}));
}

TEST(Movie, TheTrackThatNeedsItIsWidenedAlone) {
    Recording recording = VideoAndAudio();
    for (const bool front : {false, true}) {
        recording.settings.moveMoovToFront = front;
        for (const auto& input : recording.inputs) {
            input->Track().BeginRecording();
            input->State().BeginRecording();
        }
        recording.movie.Renew();
        recording.file->content.clear();
        recording.Receive(0, 0, Frame, std::vector<BYTE>(10, 1), true);
        recording.Receive(1, 0, 200000, {2}, true);
        recording.Receive(0, Frame, Frame, std::vector<BYTE>(10, 1), true);
        recording.Finish();
        // Between the places of the two tracks' chunks, once moov stands in front of them.
        const std::uint64_t narrow = recording.file->content.size() - FtypSize - 8 - 21;
        if (!front) recording.settings.maxStcoOffset = 32 + narrow + 10;
    }
    const std::uint64_t shift = recording.movie.DataShift();
    EXPECT_EQ(recording.file->content.size(), FtypSize + shift + 8 + 21);
    ASSERT_NE(recording[0].Track().stco, nullptr);
    EXPECT_EQ(recording[0].Track().stco->offsets, (Table{static_cast<std::uint32_t>(32 + shift)}));
    ASSERT_NE(recording[1].Track().co64, nullptr);
    EXPECT_EQ(recording[1].Track().co64->offsets, (std::vector<std::uint64_t>{52 + shift}));
    EXPECT_EQ(recording.file->content[52 + shift], 2);
}

TEST(Movie, AMoovThatIsInTheFileBecomesDeadSpaceWhenAsked) {
    Recording recording = Video();
    recording.Receive(0, 0, Frame, {1}, false);
    recording.Receive(0, Frame, Frame, {2}, false);
    recording.movie.Finalize(false, false);
    const std::vector<std::uint8_t> first = recording.file->content;
    recording.movie.Finalize(false, false);
    EXPECT_EQ(recording.file->content, first) << "complete already";

    recording.movie.Finalize(true, true);
    const auto& content = recording.file->content;
    const std::size_t moov = first.size() - FtypSize - 10;
    ASSERT_EQ(content.size(), first.size() + moov);
    EXPECT_EQ(content[FtypSize + 3] + 256u * content[FtypSize + 2], 10 + moov) << "mdat covers it";
    EXPECT_TRUE(
        std::equal(first.begin() + FtypSize + 10, first.end(), content.begin() + static_cast<long>(first.size())));
}

TEST(Movie, LongRecordingsUse64BitHeaders) {
    Recording recording = Video();
    recording[0].Track().timescale = 90000;
    const REFERENCE_TIME end = 600000000000;  // 16 h 40 min: 5.4e9 ticks
    recording.Receive(0, 0, Frame, {1}, false);
    recording.Receive(0, end - Frame, Frame, {1}, false);
    recording.Finish();
    const MovieTrack& track = recording[0].Track();
    EXPECT_EQ(track.mdhd->version, 1);
    EXPECT_EQ(track.mdhd->duration, 5400000000u);
    EXPECT_EQ(track.tkhd->version, 1);
    EXPECT_EQ(track.tkhd->duration, 5400000000u);
    EXPECT_EQ(track.elst->version, 1);
    ExpectedTrack shortTrack;
    shortTrack.stts = Table{1, 0, 1, 0};
    shortTrack.stsc = Table{1, 1, 1};
    shortTrack.stsz = {1, 1};
    shortTrack.stco = Table{0, 0};
    EXPECT_EQ(recording.file->content.size(), FtypSize + 10 + Moov(0, 0, {shortTrack}).size() + 3 * 12 + 8)
        << "mvhd, tkhd and mdhd grow by 12 bytes, elst by 8";
}

TEST(Movie, APictureSizeThatNoHeaderHoldsIsTakenModulo) {
    constexpr LONG least = std::numeric_limits<LONG>::min();
    Recording recording({VideoType(Frame, least, least + 1)});
    recording.Receive(0, 0, Frame, {1}, false);
    recording.Finish();
    EXPECT_EQ(recording[0].Track().tkhd->width, 0u);
    EXPECT_EQ(recording[0].Track().tkhd->height, 0xFFFF0000u);
}

TEST(Movie, FailuresAtTheEndAreLoggedAndSwallowed) {
    mediakit_test::log_capture log(1);
    Recording recording = Video();
    recording.Receive(0, 0, Frame, {1}, false);
    recording.Receive(0, Frame, Frame, {2}, false);
    recording.file->failing_write = recording.file->writes + 10;
    recording.Finish();
    EXPECT_EQ(log.count(1, L"Exception when finalizing the file "), 1u);
    EXPECT_EQ(recording.file->content[FtypSize + 8], 1) << "the data stays";
}

TEST(Movie, AStartThatFailsLeavesItNotStarted) {
    Movie movie(TestClock);
    FakeInput input(0, VideoType());
    const auto file = std::make_shared<mediakit_test::failing_stream>();
    file->failing_write = 3;
    const std::vector<MovieTrackRef> refs{{&input.Track(), &input.TrackMediaType(), 4}};
    EXPECT_THROW(movie.Start(file, {}, refs), core::exception);
    EXPECT_EQ(movie.TrackCount(), 0u);
    EXPECT_EQ(movie.DataPosition(), 0u);

    file->failing_write = mediakit_test::failing_stream::never;
    movie.Start(file, {}, refs);
    EXPECT_EQ(movie.TrackCount(), 1u);
    EXPECT_EQ(movie.DataPosition(), FtypSize + 8u);
}

TEST(Movie, ASecondRecordingStartsAnew) {
    Recording recording = Video();
    std::vector<std::uint8_t> first;
    for (int run = 0; run < 2; ++run) {
        recording[0].Track().BeginRecording();
        recording[0].State().BeginRecording();
        recording.file->content.clear();
        for (const int at : {20, 22, 21}) recording.Receive(0, at * Frame, Frame, {1}, true);
        const std::vector<std::uint8_t> content = recording.Finish();
        recording.movie.Renew();
        EXPECT_EQ(recording.movie.TrackCount(), 0u);
        EXPECT_EQ(recording[0].Track().tkhd, nullptr) << "the boxes of a finished file are let go";
        if (run == 0)
            first = content;
        else
            EXPECT_EQ(content, first);
    }
    EXPECT_EQ(recording.starts, 2);
}

TEST(MovieTables, AMillionReorderedSamplesAreBuiltInAMoment) {
    MovieTrack track;
    track.timescale = 25;
    track.rate = {25, 1};
    for (int group = 0; group < 250000; ++group)
        for (const int at : {0, 3, 1, 2}) {
            const REFERENCE_TIME start = (4 * group + at) * Frame;
            track.NoteVideoArrival(start);
            const std::size_t first = track.samples.size();
            track.AppendSample({first * 10, start, 10, 0}, start + Frame, true, L"");
            track.AppendChunk(first, 0x80000000);
        }
    ASSERT_EQ(track.presentationOrder.size(), 1000000u);

    const auto begin = std::chrono::steady_clock::now();
    vio::mp4::mp4_writer writer;
    const auto stbl = writer.add_box<vio::mp4::sample_table_box>(nullptr);
    const TrackTimeline timeline(track);
    AddSampleTables(writer, stbl.get(), track, timeline, VideoType(Frame));
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(track.stco->offsets.size(), 1000000u);
    EXPECT_LT(took, std::chrono::seconds(5)) << "a walk that is quadratic takes hours";
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
