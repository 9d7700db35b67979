#include "VideoIO/StreamFilters/Authoring/ChunkWriter.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Authoring/Recording_test.h"
#include "VideoIO/StreamFilters/Container/size_byte_stream.h"

#include <gmock/gmock.h>

#include <new>

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;
using testing::ElementsAre;

/// A started recording of one track with empty queues.
struct Started : testing::Test {
    Recording recording{{VideoType()}};
    FakeInput& input = recording[0];
    MovieTrack& track = input.Track();
    SampleQueue& queue = input.State().queue;

    void SetUp() override {
        track.handler = std::make_unique<details::byte_stream_handler>(VideoType());
        ASSERT_EQ(recording.StartMovie(), S_OK);
    }
    std::size_t Write(REFERENCE_TIME limit, bool forced = false) { return recording.WriteChunk(input, limit, forced); }
};

using ChunkWriterTest = Started;

TEST_F(ChunkWriterTest, StopsAtTheFirstKeyAtTheLimitAndLeavesTheRestInOrder) {
    for (const REFERENCE_TIME start : {0, 10, 30, 20, 5}) input.Add(start, 1, {1, 2});
    EXPECT_EQ(Write(30), 2u);
    ASSERT_EQ(queue.size(), 3u) << "20 and 5 stay behind 30";
    EXPECT_EQ(queue[0].key, 30);
    EXPECT_EQ(queue[2].key, 5);
    EXPECT_EQ(queue.bytes(), 6u);
    EXPECT_EQ(input.State().chunkStart, 10);
    ASSERT_EQ(track.chunks.size(), 1u);
    EXPECT_EQ(track.chunks[0].sampleCount, 2u);
    EXPECT_EQ(Write(30), 0u);
    EXPECT_EQ(track.chunks.size(), 1u) << "no chunk without samples";

    EXPECT_EQ(Write(0, true), 3u);
    EXPECT_EQ(input.State().chunkStart, 30) << "the greatest key";
    EXPECT_EQ(track.chunks[1].offset, track.samples[2].offset);
    EXPECT_EQ(recording.movie.OpenPayload(), 10u);
}

TEST_F(ChunkWriterTest, TellsWhereAndWhenEachSampleIs) {
    const auto sample = mediakit_test::heap_sample::create({1, 2, 3}, 500, 900, true);
    sample->media_time = {7, 8};
    queue.Push(0, sample.get());
    queue.Push(1, mediakit_test::heap_sample::create({4}, 900, 1000, false).get());
    Write(10);
    ASSERT_EQ(recording.written.size(), 2u);
    const LiveSampleInfo& first = recording.written[0].info;
    EXPECT_EQ(first.offset, recording.movie.DataPosition());
    EXPECT_EQ(first.size, 3u);
    EXPECT_EQ(first.start, 500);
    EXPECT_EQ(first.stop, 900);
    EXPECT_EQ(first.mediaStart, 7);
    EXPECT_EQ(first.mediaStop, 8);
    EXPECT_EQ(first.sync, 1u);
    const LiveSampleInfo& second = recording.written[1].info;
    EXPECT_EQ(second.offset, first.offset + 3);
    EXPECT_EQ(second.mediaStart, 0) << "no media time";
    EXPECT_EQ(second.sync, 0u);
    EXPECT_EQ(track.endTime, 1000);
}

TEST_F(ChunkWriterTest, AFailedWriteGivesUpTheRestOfTheQueue) {
    mediakit_test::log_capture log(1);
    for (int i = 0; i < 5; ++i) input.Add(i, 1, {1});
    const int alive = mediakit_test::heap_sample::alive();
    recording.data.failingWrite = 2;
    EXPECT_EQ(Write(4), 5u) << "the one beyond the limit goes as well";
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(queue.bytes(), 0u);
    EXPECT_EQ(mediakit_test::heap_sample::alive(), alive - 5);
    EXPECT_EQ(log.count(1, L"QZLogHRESULT"), 1u);
    EXPECT_EQ(track.samples.size(), 2u);
    EXPECT_EQ(track.chunks[0].sampleCount, 2u) << "what was written is kept";
    EXPECT_EQ(recording.movie.OpenPayload(), 2u);

    input.Add(10, 1, {9});
    EXPECT_EQ(Write(100), 1u);
    EXPECT_EQ(recording.file->content.back(), 9) << "the recording goes on";
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

TEST_F(ChunkWriterTest, AThrowingHandlerLeavesTheTablesInAgreement) {
    track.handler = std::make_unique<ThrowingHandler>(VideoType());
    for (int i = 0; i < 3; ++i) input.Add(i, 1, {static_cast<BYTE>(i), 7});
    EXPECT_THROW(Write(3), std::bad_alloc);
    ASSERT_EQ(track.samples.size(), 1u);
    ASSERT_EQ(track.chunks.size(), 1u);
    EXPECT_EQ(track.chunks[0].sampleCount, 1u);

    EXPECT_EQ(Write(3), 1u) << "the third";
    EXPECT_EQ(track.chunks[1].firstSample, 1u);
    EXPECT_EQ(track.samples[1].offset, track.samples[0].offset + 2) << "no hole is left";
    EXPECT_EQ(recording.movie.OpenPayload(), 4u);
}

TEST_F(ChunkWriterTest, KeepsEveryMdatBelow4GiBWhateverTheSettingsSay) {
    recording.movie.Renew();
    recording.settings.maxMdatSize = ~std::uint64_t{0};
    recording.movie.Start(std::make_shared<vio::size_byte_stream>(), recording.settings,
                          {{&track, &input.TrackMediaType(), 4}});
    const std::uint64_t first = recording.movie.DataPosition();
    recording.movie.AddPayload(0x80000000);
    recording.data.failingWrite = recording.data.writes;  // not into a file of 2 GiB in memory
    input.Add(0, 1, {1});
    Write(1);
    EXPECT_EQ(recording.movie.DataPosition(), first + 0x80000000 + 8);
}

TEST_F(ChunkWriterTest, EstimatesWithTheFirstSamplesLength) {
    recording.movie.Renew();
    recording.settings.maxMdatSize = 100;
    ASSERT_EQ(recording.StartMovie(), S_OK);
    input.Add(0, 1, std::vector<BYTE>(60));
    Write(1);
    // 60 + 3 x 10 fits by the estimate; with its true length of 80 the third goes far beyond the limit.
    input.Add(10, 1, std::vector<BYTE>(10));
    input.Add(11, 1, std::vector<BYTE>(10));
    input.Add(12, 1, std::vector<BYTE>(80));
    input.Add(99, 1, std::vector<BYTE>(10));
    Write(13);
    EXPECT_EQ(recording.movie.OpenPayload(), 160u);
    const std::uint64_t first = recording.movie.DataPosition();
    Write(100);
    EXPECT_EQ(recording.movie.DataPosition(), first + 160 + 8) << "a further mdat, right behind the first";
    EXPECT_EQ(track.samples.back().offset, recording.movie.DataPosition());
    EXPECT_EQ(recording.movie.OpenPayload(), 10u);
}

TEST_F(ChunkWriterTest, AnEmptySampleIsKeptInTheTables) {
    input.Add(0, 1, {});
    EXPECT_EQ(Write(1), 1u);
    ASSERT_EQ(track.samples.size(), 1u);
    EXPECT_EQ(track.samples[0].size, 0u);
}

TEST_F(ChunkWriterTest, ReportsAnEndedInputThatRunsDry) {
    input.Add(0, 1, {1});
    input.Add(5, 1, {1});
    input.State().endOfStream = true;
    Write(5);
    EXPECT_TRUE(recording.drained.empty());
    Write(6);
    EXPECT_THAT(recording.drained, ElementsAre(0));
}

TEST(SampleQueueTest, KeepsOrderAndReferencesAsItGrowsAndWraps) {
    const int alive = mediakit_test::heap_sample::alive();
    SampleQueue queue;
    REFERENCE_TIME in = 0;
    REFERENCE_TIME out = 0;
    for (int round = 0; round < 40; ++round) {
        for (int i = 0; i < 17; ++i, ++in) queue.Push(in, mediakit_test::heap_sample::create({1, 2}, in, in).get());
        for (int i = 0; i < 9; ++i, ++out) ASSERT_EQ(queue.Pop().key, out);
        ASSERT_EQ(queue.front().key, out);
        ASSERT_EQ(queue.back().key, in - 1);
    }
    EXPECT_EQ(queue.size(), 320u);
    EXPECT_EQ(queue.bytes(), 640u);
    EXPECT_EQ(mediakit_test::heap_sample::alive(), alive + 320);
    queue.Clear();
    EXPECT_EQ(queue.bytes(), 0u);
    EXPECT_EQ(mediakit_test::heap_sample::alive(), alive);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
