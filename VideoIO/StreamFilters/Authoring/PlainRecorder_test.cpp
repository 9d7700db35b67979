#include "VideoIO/StreamFilters/Authoring/PlainRecorder.h"

#include "MediaKit/Results.h"
#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Authoring/ChunkWriter.h"
#include "VideoIO/StreamFilters/Authoring/Recording_test.h"
#include "VideoIO/StreamFilters/Container/size_byte_stream.h"

#include <gmock/gmock.h>

#include <new>
#include <random>

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;
using mediakit_test::heap_sample;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr REFERENCE_TIME kMs = 10000;
constexpr REFERENCE_TIME kStep = 250 * kMs;

Recording OneTrack() { return Recording({VideoType()}); }
Recording TwoTracks() { return Recording({VideoType(), AudioType()}, {90000, 48000}); }

/// The pin receives samples of 50 ms from `from` to `to`.
void Feed(Recording& recording, std::size_t input, REFERENCE_TIME from, REFERENCE_TIME to) {
    for (REFERENCE_TIME start = from; start < to; start += 50 * kMs)
        recording.Receive(input, start, 50 * kMs, {static_cast<BYTE>(input)});
}

TEST(PlainRecorder, WritesASingleTrackAtOnce) {
    Recording recording = OneTrack();
    recording.Receive(0, 70 * kMs, kMs, {1});
    EXPECT_EQ(recording.opens, 0) << "one sample has no span";
    for (std::size_t n = 2; n < 6; ++n) {
        recording.Receive(0, 70 * kMs + static_cast<REFERENCE_TIME>(n) * 40 * kMs, kMs, {1});
        EXPECT_EQ(recording.Written(), n);
    }
    EXPECT_EQ(recording.opens, 1);
}

TEST(PlainRecorder, WaitsForAStepOfEveryTrack) {
    Recording recording = TwoTracks();
    Feed(recording, 0, 0, 2000 * kMs);
    EXPECT_EQ(recording.opens, 0) << "the other track has nothing";
    Feed(recording, 1, 0, 250 * kMs);
    EXPECT_EQ(recording.opens, 1) << "both have a span";
    EXPECT_THAT(recording.Order(), ElementsAre(0, 0, 0, 0, 0)) << "200 ms are no step";
    Feed(recording, 1, 250 * kMs, 300 * kMs);
    // 5 samples cover the first step; the sixth begins the next one.
    EXPECT_THAT(recording.Order(), ElementsAre(0, 0, 0, 0, 0, 1, 1, 1, 1, 1));

    Recording late = TwoTracks();
    Feed(late, 0, 0, 600 * kMs);
    Feed(late, 1, 50000 * kMs, 50600 * kMs);
    EXPECT_THAT(late.Order(), ElementsAre(0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 0, 0, 0, 0)) << "aligned by first samples";
}

TEST(PlainRecorder, TrackWithoutHandlerBlocksFile) {
    Recording recording = TwoTracks();
    recording[1].getsHandler = false;
    Feed(recording, 1, 0, 1000 * kMs);
    EXPECT_EQ(recording.Result().failure.result, E_FAIL);
    EXPECT_THAT(recording.events, ElementsAre(Pair(QZ_EC_RECORDING_FAILED, E_FAIL))) << "once";
    Feed(recording, 0, 0, 1000 * kMs);
    recording.EndAll();
    EXPECT_EQ(recording.opens, 0);
    EXPECT_EQ(recording.Waiting(0), 20u);

    recording[1].connected = false;
    recording.recorder.ReopenTrack(0);
    recording.EndAll();
    EXPECT_EQ(recording.Written(), 20u) << "a pin that is not connected does not count";
}

TEST(PlainRecorder, EndedTrackHoldsNobodyBack) {
    for (const REFERENCE_TIME tail : {50 * kMs, 200 * kMs}) {
        Recording recording = TwoTracks();
        Feed(recording, 0, 0, tail);
        recording.recorder.EndOfStream(0);
        EXPECT_EQ(recording[0].drained, 1);
        Feed(recording, 1, 0, 10000 * kMs);
        EXPECT_GE(recording.Written(), 190u) << tail;
        EXPECT_LE(recording.Waiting(1), 6u) << tail;
        EXPECT_EQ(recording[0].drained, 2) << "its queue has run empty";
        EXPECT_EQ(recording.ends, 0);
    }
}

TEST(PlainRecorder, EndOfLastTrackWritesTheRest) {
    Recording recording = TwoTracks();
    Feed(recording, 0, 0, 50 * kMs);
    Feed(recording, 1, 0, 50 * kMs);
    EXPECT_EQ(recording.Result().state, RecordingState::Waiting);
    for (int times = 0; times < 2; ++times) recording.EndAll();
    EXPECT_THAT(recording.Order(), ElementsAre(0, 1));
    EXPECT_EQ(recording.ends, 1) << "however often the tracks end";
    EXPECT_TRUE(recording.recorder.HasEnded(1));

    recording.recorder.ReopenTrack(1);
    EXPECT_FALSE(recording.recorder.HasEnded(1));
    Feed(recording, 1, 50 * kMs, 100 * kMs);
    recording.recorder.EndOfStream(1);
    EXPECT_EQ(recording.ends, 2) << "a seek came in between";
    EXPECT_EQ(recording.Written(), 3u);
}

TEST(PlainRecorder, MarksFollowSteps) {
    Recording exact = TwoTracks();
    // Each sample is one whole step after the one before it, which is where the limit of a chunk stands.
    for (int i = 0; i < 8; ++i) {
        exact.Receive(0, i * kStep, kStep, {1});
        exact.Receive(1, i * kStep, kStep, {2});
    }
    EXPECT_THAT(exact.Order(), ElementsAre(0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0));

    Recording gap = TwoTracks();
    for (const std::size_t input : {0u, 1u}) Feed(gap, input, 0, 300 * kMs);
    for (const std::size_t input : {0u, 1u}) Feed(gap, input, 60000 * kMs, 61000 * kMs);
    // All from before the gap and, of the 20 after it, those that fill whole steps.
    EXPECT_GE(gap.Written(), 2u * (6 + 14));
    for (const std::size_t input : {0u, 1u}) EXPECT_LT(gap.Waiting(input), 10u) << "two steps";
}

TEST(PlainRecorder, PassWithoutProgressEnds) {
    for (const REFERENCE_TIME duration : {REFERENCE_TIME{0}, -kStep}) {
        Recording recording = TwoTracks();
        recording.settings.interleaveDuration = duration;
        for (const std::size_t input : {0u, 1u}) Feed(recording, input, 0, 500 * kMs);
        recording.EndAll();
        EXPECT_EQ(recording.Written(), 20u);
    }
    Recording extremes = TwoTracks();
    for (const REFERENCE_TIME start : {MinTime + 1, REFERENCE_TIME{0}, MaxTime - 1})
        for (const std::size_t input : {0u, 1u}) extremes.Receive(input, *heap_sample::create({1}, 0, 1), start);
    extremes.EndAll();
    EXPECT_EQ(extremes.Written(), 6u);
}

TEST(PlainRecorder, StartIsTriedAgain) {
    Recording recording = OneTrack();
    {
        const mediakit_test::log_capture log(1);
        recording.stopped = true;
        Feed(recording, 0, 0, 100 * kMs);
        EXPECT_THAT(log.messages(), IsEmpty()) << "not the time for it";
        recording.stopped = false;
        recording.openResult = E_NOINTERFACE;
        Feed(recording, 0, 100 * kMs, 150 * kMs);
        recording.file->failing_write = recording.file->writes;
        recording.openResult = S_OK;
        Feed(recording, 0, 150 * kMs, 200 * kMs);
        EXPECT_EQ(log.count(1, L"QZLogHRESULT"), 2u);
        EXPECT_EQ(recording.Result().failure.result, E_NOINTERFACE);
        EXPECT_EQ(recording.Result().state, RecordingState::Waiting);
    }
    recording.file->failing_write = mediakit_test::failing_stream::never;
    Feed(recording, 0, 200 * kMs, 250 * kMs);
    EXPECT_EQ(recording.Written(), 5u);
    EXPECT_EQ(recording.Result().state, RecordingState::Recording);
}

/// However samples arrive: none is lost or written twice, each track stays in order, and no sample stands more
/// than two steps after a later one of another track.
TEST(PlainRecorder, OrderHoldsForAnyArrival) {
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        const auto pick = [&](int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); };
        Recording recording({VideoType(), AudioType(), AudioType()});
        std::vector<REFERENCE_TIME> next(3, 0);
        std::vector<int> fed(3, 0);
        for (int i = 0; i < 600; ++i) {
            const auto input = static_cast<std::size_t>(pick(0, 2));
            recording.Receive(input, next[input], kMs, {static_cast<BYTE>(input)});
            next[input] += pick(1, 120) * kMs;
            ++fed[input];
        }
        recording.EndAll();

        std::vector<int> written(3, 0);
        std::vector<REFERENCE_TIME> latest(3, MinTime);
        const auto samples = recording.InFile();
        for (const auto& sample : samples) {
            ASSERT_GT(sample.info.start, latest[sample.track]) << seed;
            latest[sample.track] = sample.info.start;
            ++written[sample.track];
        }
        ASSERT_EQ(written, fed) << seed;

        // Up to where the slowest track could still be measured against the others.
        const REFERENCE_TIME end = std::ranges::min(next) - 2 * kStep;
        REFERENCE_TIME greatest = 0;
        for (const auto& sample : samples) {
            if (sample.info.start < end) {
                ASSERT_GE(sample.info.start, greatest - 2 * kStep) << seed;
            }
            greatest = std::max(greatest, sample.info.start);
        }
    }
}

TEST(PlainRecorder, IndexesWhatIsInTheFile) {
    Recording recording = OneTrack();
    const auto sample = heap_sample::create({1, 2, 3}, 500, 900, true);
    sample->media_time = {7, 8};
    recording.Receive(0, *sample, 500);
    recording.Receive(0, 900, 100, {4}, false);
    recording.Receive(0, 1000, 100, {}, false);
    const auto samples = recording.Samples(0);
    ASSERT_EQ(samples.size(), 2u) << "an empty sample is in the tables alone";
    EXPECT_EQ(samples[0].offset, 24u + 8);
    EXPECT_EQ(samples[0].size, 3u);
    EXPECT_EQ(samples[0].start, 500);
    EXPECT_EQ(samples[0].stop, 900);
    EXPECT_EQ(samples[0].mediaStart, 7);
    EXPECT_EQ(samples[0].mediaStop, 8);
    EXPECT_EQ(samples[0].sync, 1u);
    EXPECT_EQ(samples[1].offset, samples[0].offset + 3);
    EXPECT_EQ(samples[1].mediaStart, 0) << "no media time";
    EXPECT_EQ(samples[1].sync, 0u);
    ASSERT_EQ(recording[0].Track().samples.size(), 3u);
    EXPECT_EQ(recording[0].Track().samples[2].size, 0u);
}

TEST(PlainRecorder, ReportsTheFirstSecondOnce) {
    Recording recording = TwoTracks();
    for (int run = 0; run < 2; ++run) {
        Feed(recording, 0, 0, 950 * kMs);
        Feed(recording, 1, 0, 3000 * kMs);
        EXPECT_THAT(recording.events, testing::SizeIs(static_cast<std::size_t>(run)));
        Feed(recording, 0, 950 * kMs, 1100 * kMs);
        recording.Finish();
        EXPECT_THAT(recording.events, ElementsAre(Pair(QZ_EC_ENOUGH_RECORDED, 0)));
        recording.BeginRun();
    }
}

TEST(PlainRecorder, SecondRunStartsAnew) {
    Recording recording = OneTrack();
    recording.SetTimescale(0, 25);
    recording.settings.maxStcoOffset = 200;
    // The first run is longer, reordered, and needs 64-bit offsets.
    for (const int at : {20, 22, 21, 30}) recording.Receive(0, at * 400000, 400000, std::vector<BYTE>(100, 1));
    recording.Finish();
    EXPECT_TRUE(recording[0].Track().needsCo64);
    EXPECT_EQ(recording[0].Track().tkhd, nullptr) << "the boxes of a finished file are released";
    EXPECT_EQ(recording.Result().samplesWritten, 4u);

    std::vector<std::uint8_t> second;
    for (const bool fresh : {false, true}) {
        Recording other = OneTrack();
        other.SetTimescale(0, 25);
        other.settings.maxStcoOffset = 200;
        Recording& current = fresh ? other : recording;
        current.file->content.clear();
        if (!fresh) current.BeginRun();
        for (const int at : {3, 5, 4}) current.Receive(0, at * 400000, 400000, {1}, true);
        const auto& content = current.Finish();
        if (!fresh)
            second = content;
        else
            EXPECT_EQ(second, content) << "as if there had been no first run";
    }
    EXPECT_EQ(recording.Result().samplesWritten, 3u);
    EXPECT_TRUE(recording.Result().fileComplete);
}

TEST(PlainRecorder, ResultCountsWhatFailed) {
    const mediakit_test::log_capture log(1);
    Recording recording = OneTrack();
    for (int i = 0; i < 3; ++i) recording.Receive(0, i * kMs, kMs, {1, 2});
    recording.failingWrite = recording.writes;
    recording.Receive(0, 3 * kMs, kMs, {9, 9, 9});
    recording.Receive(0, 4 * kMs, kMs, {3, 4});
    recording.recorder.FlushToSystem();
    const RecordingResult during = recording.Result();
    EXPECT_EQ(during.state, RecordingState::Recording);
    EXPECT_EQ(during.samplesWritten, 4u);
    EXPECT_EQ(during.bytesWritten, 8u);
    EXPECT_EQ(during.samplesLost, 1u);
    EXPECT_EQ(during.bytesLost, 3u);
    EXPECT_EQ(during.failure.result, STG_E_MEDIUMFULL);
    EXPECT_EQ(during.failure.text, L"cannot write a sample of Input_0");
    EXPECT_EQ(during.failure.position, 32u + 6);
    EXPECT_FALSE(during.fileComplete);
    EXPECT_THAT(recording.events, ElementsAre(Pair(QZ_EC_RECORDING_FAILED, STG_E_MEDIUMFULL)));
    EXPECT_EQ(recording.Samples(0)[3].offset, 32u + 6) << "the next sample takes the place of the lost one";

    recording.failingWrite = recording.writes;
    recording.Receive(0, 5 * kMs, kMs, {1});
    EXPECT_EQ(recording.events.size(), 1u) << "the first failure of a run";
    recording.Finish();
    EXPECT_EQ(recording.Result().state, RecordingState::Ended);
    EXPECT_TRUE(recording.Result().fileComplete) << "what its index tells of is there";
    recording.BeginRun();
    EXPECT_EQ(recording.Result().failure.result, S_OK);
}

TEST(PlainRecorder, FailedWriteReleasesTheQueue) {
    const mediakit_test::log_capture log(1);
    Recording recording = TwoTracks();
    Feed(recording, 0, 0, 600 * kMs);
    const int alive = heap_sample::alive();
    recording.failingWrite = 2;
    Feed(recording, 1, 0, 50 * kMs);
    recording.EndAll();
    EXPECT_LE(heap_sample::alive(), alive - 12) << "those at and after the limit too";
    EXPECT_EQ(recording.Result().samplesLost, 10u);
    EXPECT_EQ(recording[0].Track().samples.size(), 2u);
    EXPECT_EQ(recording[0].Track().chunks[0].sampleCount, 2u);
    EXPECT_EQ(recording.Written(), 3u);
}

TEST(PlainRecorder, DamageLeavesTheFileIncomplete) {
    Recording stopped = OneTrack();
    for (int i = 0; i < 3; ++i) stopped.Receive(0, i * kMs, kMs, {1});
    stopped.swallows = true;
    stopped.Receive(0, 3 * kMs, kMs, {1});
    EXPECT_EQ(stopped.Result().failure.result, VFW_E_NOT_COMMITTED);
    stopped.Finish();
    EXPECT_EQ(stopped.Result().samplesLost, 1u);
    EXPECT_FALSE(stopped.Result().fileComplete) << "its index tells of a sample that is not there";

    const mediakit_test::log_capture log(1);
    Recording noIndex = OneTrack();
    for (int i = 0; i < 3; ++i) noIndex.Receive(0, i * kMs, kMs, {7});
    const std::uint64_t heads = noIndex.file->writes;
    noIndex.recorder.FlushToSystem();
    noIndex.file->failing_write = heads + 10;
    noIndex.Finish();
    EXPECT_EQ(log.count(1, L"Exception when finalizing the file "), 1u);
    EXPECT_FALSE(noIndex.Result().fileComplete);
    EXPECT_EQ(noIndex.Result().failure.text, L"cannot write the index");
    EXPECT_TRUE(FAILED(noIndex.Result().failure.result));
    EXPECT_EQ(noIndex.file->content[32], 7) << "the data stay";
}

TEST(PlainRecorder, CountsDiscardedSamples) {
    Recording recording = TwoTracks();
    Feed(recording, 0, 0, 500 * kMs);
    recording.recorder.DiscardQueue(0);
    EXPECT_EQ(recording.Result().samplesDiscarded, 10u);
    recording.recorder.DiscardQueue(0);
    recording.recorder.Finish();
    EXPECT_EQ(recording.Result().samplesDiscarded, 10u);
    EXPECT_EQ(recording.Result().state, RecordingState::Ended);
    EXPECT_FALSE(recording.Result().fileComplete) << "there is none";
}

/// Writes the first byte of each sample and then throws at the second sample.
class ThrowingHandler final : public details::byte_stream_handler {
public:
    using byte_stream_handler::byte_stream_handler;
    HRESULT write(IMediaSample& sample, vio::byte_stream& stream, details::WrittenSample& written) override {
        if (++m_calls != 2) return byte_stream_handler::write(sample, stream, written);
        stream.write("x", 1);
        throw std::bad_alloc();
    }

private:
    int m_calls = 0;
};

TEST(PlainRecorder, ThrowingHandlerLeavesTablesConsistent) {
    Recording recording = OneTrack();
    recording[0].Track().handler = std::make_unique<ThrowingHandler>(VideoType());
    recording.Receive(0, 0, 1, {0, 7});
    EXPECT_THROW(recording.Receive(0, 1, 1, {1, 7}), std::bad_alloc);
    EXPECT_EQ(recording.Result().samplesLost, 1u);
    recording.Receive(0, 2, 1, {2, 7});
    recording.Receive(0, 3, 1, {3, 7});
    const MovieTrack& track = recording[0].Track();
    ASSERT_EQ(track.samples.size(), 3u);
    EXPECT_EQ(track.samples[1].offset, track.samples[0].offset + 2) << "no hole is left";
    std::size_t inChunks = 0;
    for (std::size_t i = 0; i < track.chunks.size(); ++i) inChunks += track.chunks[i].sampleCount;
    EXPECT_EQ(inChunks, 3u);
}

/// Of one chunk writer over a movie in memory.
struct ChunkWriterTest : testing::Test {
    Recording recording = OneTrack();
    RecorderInput input{recording[0]};
    RecordingMonitor monitor{recording, recording.index};
    Movie movie{TestClock};
    REFERENCE_TIME mark = 0;

    void Start(std::uint64_t maxMdatSize, std::shared_ptr<vio::byte_stream> file) {
        MovieSettings settings;
        settings.maxMdatSize = maxMdatSize;
        input.Track().handler = std::make_unique<details::byte_stream_handler>(VideoType());
        movie.Start(std::move(file), settings, {{&input.Track(), &recording[0].TrackMediaType(), 4}});
        recording.SetWritePosition(movie.DataPosition());
    }
    void Queue(REFERENCE_TIME key, std::size_t size) {
        input.queue.Push(key, heap_sample::create(std::vector<BYTE>(size), key, key + 1).get());
    }
    std::size_t Write(REFERENCE_TIME limit) {
        return ChunkWriter(movie, recording, monitor, input).Write(limit, false, mark);
    }
};

TEST_F(ChunkWriterTest, FirstKeyAtTheLimitEndsTheChunk) {
    Start(0x80000000, recording.file);
    for (const REFERENCE_TIME key : {0, 10, 30, 20, 5}) Queue(key, 2);
    EXPECT_EQ(Write(30), 2u);
    ASSERT_EQ(input.queue.size(), 3u) << "20 and 5 stay behind 30";
    EXPECT_EQ(input.queue[0].key, 30);
    EXPECT_EQ(input.queue[2].key, 5);
    EXPECT_EQ(input.queue.bytes(), 6u);
    EXPECT_EQ(mark, 10);
    EXPECT_EQ(Write(30), 0u);
    EXPECT_EQ(input.Track().chunks.size(), 1u) << "no chunk without samples";
    EXPECT_EQ(Write(31), 3u);
    EXPECT_EQ(mark, 30) << "the greatest key";
    EXPECT_EQ(input.Track().chunks[1].offset, input.Track().samples[2].offset);
}

TEST_F(ChunkWriterTest, EstimatesWithTheFirstSamplesLength) {
    Start(100, recording.file);
    Queue(0, 60);
    Write(1);
    // 60 + 3 x 10 fits by the estimate; with its true length of 80 the third exceeds the limit by far.
    for (const auto& [key, size] : {std::pair{10, 10}, {11, 10}, {12, 80}, {99, 10}})
        Queue(key, static_cast<std::size_t>(size));
    Write(13);
    EXPECT_EQ(movie.OpenPayload(), 160u);
    const std::uint64_t first = movie.DataPosition();
    Write(100);
    EXPECT_EQ(movie.DataPosition(), first + 160 + 8) << "a further mdat, right after the first";
    EXPECT_EQ(input.Track().samples.back().offset, movie.DataPosition());
    EXPECT_EQ(movie.OpenPayload(), 10u);
}

TEST_F(ChunkWriterTest, EveryMdatStaysBelow4GiB) {
    Start(~std::uint64_t{0}, std::make_shared<vio::size_byte_stream>());
    const std::uint64_t first = movie.DataPosition();
    movie.AddPayload(0x80000000);
    recording.failingWrite = recording.writes;  // not into a file of 2 GiB in memory
    Queue(0, 1);
    Write(1);
    EXPECT_EQ(movie.DataPosition(), first + 0x80000000 + 8);
}

TEST(SampleQueue, KeepsOrderAndReferences) {
    const int alive = heap_sample::alive();
    SampleQueue queue;
    REFERENCE_TIME in = 0;
    REFERENCE_TIME out = 0;
    for (int round = 0; round < 40; ++round) {
        for (int i = 0; i < 17; ++i, ++in) queue.Push(in, heap_sample::create({1, 2}, in, in).get());
        for (int i = 0; i < 9; ++i, ++out) ASSERT_EQ(queue.Pop().key, out);
        ASSERT_EQ(queue.front().key, out);
        ASSERT_EQ(queue.back().key, in - 1);
    }
    EXPECT_EQ(queue.size(), 320u);
    EXPECT_EQ(queue.bytes(), 640u);
    EXPECT_EQ(heap_sample::alive(), alive + 320);
    queue.Clear();
    EXPECT_EQ(queue.bytes(), 0u);
    EXPECT_EQ(heap_sample::alive(), alive);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
