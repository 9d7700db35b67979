#include "Tools/mediakit/playback_graph.h"

#include "Testing/Kit/movie_file.h"
#include "Tools/mediakit/test_file_test.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace mediakit_tool {
namespace {

using namespace mediakit_test;
using testing::ElementsAre;
using testing::HasSubstr;
using Outcome = PlaybackGraph::Outcome;

constexpr DWORD kLong = 20'000;  // milliseconds

/// Keeps the first byte of each sample.
class Collector final : public SampleConsumer {
public:
    HRESULT Take(IMediaSample& sample) override {
        BYTE* data = nullptr;
        sample.GetPointer(&data);
        bytes.push_back(*data);
        return bytes.size() == limit ? S_FALSE : S_OK;
    }
    void End() override { ++ends; }

    std::vector<int> bytes;
    std::size_t limit = 0;  ///< 0: none
    int ends = 0;
};

/// One that waits until the test lets it go on.
class Blocker final : public SampleConsumer {
public:
    HRESULT Take(IMediaSample&) override {
        go.Wait();
        return S_OK;
    }
    CAMEvent go{true};
};

/// Six samples of 100 ms, the first and the fourth in sync.
std::vector<std::uint8_t> Movie() {
    movie_track track;
    for (std::uint8_t n = 0; n < 6; ++n)
        track.samples.push_back({.bytes = {n, 1, 2}, .duration = 100, .sync = n % 3 == 0});
    movie_track sound{.handler = "soun", .entry = aac_entry()};
    for (std::uint8_t n = 0; n < 6; ++n) sound.samples.push_back({.bytes = {n}, .duration = 100});
    return movie_file{.tracks = {track, sound}}.bytes();
}

class PlaybackGraphTest : public testing::Test {
protected:
    void Open() { ASSERT_TRUE(m_graph.Open(m_file.Path(), {})) << m_graph.Failure(); }
    void Play(std::vector<Collector*> collectors) {
        m_graph.DisconnectTaps();
        for (std::size_t i = 0; i < collectors.size(); ++i)
            ASSERT_TRUE(m_graph.ConnectTap(m_graph.Streams()[i], *collectors[i])) << m_graph.Failure();
        ASSERT_TRUE(m_graph.Run()) << m_graph.Failure();
        EXPECT_EQ(m_graph.Wait(nullptr, kLong), Outcome::Ended);
        EXPECT_TRUE(m_graph.Stop()) << m_graph.Failure();
    }
    const TestFile m_file{Movie()};
    Messages m_messages;
    LogWatch m_log{m_messages, 0};
    PlaybackGraph m_graph{m_log};
};

TEST_F(PlaybackGraphTest, PlaysAllStreamsTogetherOrOneAfterTheOther) {
    Open();
    ASSERT_EQ(m_graph.Streams().size(), 2u);
    EXPECT_EQ(m_graph.Streams()[0].name, "Output_0");
    EXPECT_TRUE(m_graph.Streams()[0].IsVideo());
    EXPECT_FALSE(m_graph.Streams()[1].IsVideo());
    EXPECT_EQ(m_graph.Duration(), 6'000'000);
    Collector video, sound, again;
    Play({&video, &sound});
    EXPECT_THAT(video.bytes, ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(sound.bytes, ElementsAre(0, 1, 2, 3, 4, 5));
    Play({&again});
    EXPECT_THAT(again.bytes, ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_EQ(video.ends + sound.ends + again.ends, 3);
}

TEST_F(PlaybackGraphTest, ATapCanHaveEnough) {
    Open();
    Collector few, all;
    few.limit = 2;
    Play({&few, &all});
    EXPECT_THAT(few.bytes, ElementsAre(0, 1));
    EXPECT_EQ(few.ends, 0);
    EXPECT_EQ(all.bytes.size(), 6u);
}

TEST_F(PlaybackGraphTest, SeeksBeforeItRunsAndAfterTheEnd) {
    Open();
    Collector video;
    ASSERT_TRUE(m_graph.ConnectTap(m_graph.Streams()[0], video));
    ASSERT_TRUE(m_graph.Seek(4'000'000));
    ASSERT_TRUE(m_graph.Run());
    EXPECT_EQ(m_graph.Wait(nullptr, kLong), Outcome::Ended);
    EXPECT_THAT(video.bytes, ElementsAre(3, 4, 5));
    ASSERT_TRUE(m_graph.Seek(0)) << m_graph.Failure();
    EXPECT_EQ(m_graph.Wait(nullptr, kLong), Outcome::Ended);
    EXPECT_TRUE(m_graph.Stop());
    EXPECT_THAT(video.bytes, ElementsAre(3, 4, 5, 0, 1, 2, 3, 4, 5));
}

// The thread of a stream that is flushed ends it when its sample is refused, before it sees that it is to stop.
TEST(TapFilter, AnEndThatComesInAFlushIsNotTheStreams) {
    Collector collector;
    CAMEvent ended;
    HRESULT hr = S_OK;
    auto* const tap = new TapFilter(collector, ended, &hr);
    const ComPtr<IBaseFilter> hold(tap);
    const ComPtr<IPin> pin = FreePin(*tap, PINDIR_INPUT);
    ASSERT_TRUE(pin);
    EXPECT_EQ(pin->BeginFlush(), S_OK);
    EXPECT_EQ(pin->EndOfStream(), S_OK);
    EXPECT_EQ(pin->EndFlush(), S_OK);
    EXPECT_FALSE(tap->Ended());
    EXPECT_EQ(collector.ends, 0);
    EXPECT_EQ(pin->EndOfStream(), E_NOTIMPL) << "there is no graph to tell";
    EXPECT_TRUE(tap->Ended());
    EXPECT_EQ(collector.ends, 1);
}

TEST_F(PlaybackGraphTest, AWaitEndsWithAnInterruptOrWithItsTime) {
    Open();
    Blocker blocker;
    ASSERT_TRUE(m_graph.ConnectTap(m_graph.Streams()[0], blocker));
    ASSERT_TRUE(m_graph.Run());
    EXPECT_EQ(m_graph.Wait(nullptr, 1), Outcome::TimedOut);
    CAMEvent interrupt(true);
    interrupt.Set();
    EXPECT_EQ(m_graph.Wait(interrupt, kLong), Outcome::Interrupted);
    blocker.go.Set();
    EXPECT_TRUE(m_graph.Stop());
}

TEST_F(PlaybackGraphTest, AReadThatFailsIsTheFailure) {
    Open();
    Collector video;
    ASSERT_TRUE(m_graph.ConnectTap(m_graph.Streams()[0], video));
    std::filesystem::remove(m_file.Path());  // a pin's thread opens the file anew
    ASSERT_TRUE(m_graph.Run());
    m_graph.Wait(nullptr, kLong);
    EXPECT_FALSE(m_graph.Stop());
    EXPECT_THAT(m_graph.Failure(), HasSubstr("reading failed: no such file"));
}

}  // namespace
}  // namespace mediakit_tool
