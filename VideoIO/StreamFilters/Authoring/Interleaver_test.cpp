#include "VideoIO/StreamFilters/Authoring/Interleaver.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/StreamFilters/Authoring/Recording_test.h"

#include <gmock/gmock.h>

#include <map>
#include <random>

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr REFERENCE_TIME Ms = 10000;
constexpr REFERENCE_TIME Step = 250 * Ms;

Recording TwoTracks() {
    Recording recording({VideoType(), AudioType()});
    recording[0].Track().timescale = 90000;
    recording[1].Track().timescale = 48000;
    return recording;
}

/// The pin receives samples of 50 ms from `from` to `to`.
void Feed(Recording& recording, std::size_t input, REFERENCE_TIME from, REFERENCE_TIME to) {
    for (REFERENCE_TIME start = from; start < to; start += 50 * Ms)
        recording.Receive(input, start, 50 * Ms, {static_cast<BYTE>(input)});
}

TEST(Interleaver, OneTrackIsWrittenAtOnceFromTheSecondSampleOn) {
    Recording recording({VideoType()});
    recording.Receive(0, 70 * Ms, Ms, {1});
    EXPECT_EQ(recording.starts, 0);
    for (std::size_t n = 2; n < 6; ++n) {
        recording.Receive(0, 70 * Ms + static_cast<REFERENCE_TIME>(n) * 40 * Ms, Ms, {1});
        EXPECT_EQ(recording.written.size(), n);
    }
    EXPECT_EQ(recording.starts, 1);
}

TEST(Interleaver, WaitsUntilEveryTrackHasAStepToOffer) {
    Recording recording = TwoTracks();
    Feed(recording, 0, 0, 2000 * Ms);
    EXPECT_EQ(recording.starts, 0) << "the other pin has nothing";
    Feed(recording, 1, 0, 250 * Ms);
    EXPECT_EQ(recording.starts, 1) << "both have a span";
    EXPECT_THAT(recording.Order(), ElementsAre(0, 0, 0, 0, 0)) << "200 ms are no step";
    Feed(recording, 1, 250 * Ms, 300 * Ms);
    // 5 samples cover the first step; the sixth begins the next one.
    EXPECT_THAT(recording.Order(), ElementsAre(0, 0, 0, 0, 0, 1, 1, 1, 1, 1));
}

TEST(Interleaver, APinWithoutAHandlerBlocksTheFile) {
    Recording recording = TwoTracks();
    recording[1].getsHandler = false;
    Feed(recording, 1, 0, 1000 * Ms);
    Feed(recording, 0, 0, 1000 * Ms);
    recording.EndAll();
    EXPECT_EQ(recording.starts, 0);
    EXPECT_EQ(recording[0].State().queue.size(), 20u);

    recording[1].connected = false;
    EXPECT_TRUE(recording.Pass(true));
    EXPECT_EQ(recording.written.size(), 20u) << "a pin that is not connected does not count";
}

TEST(Interleaver, TracksAreAlignedByTheirFirstSamples) {
    Recording recording = TwoTracks();
    Feed(recording, 0, 0, 600 * Ms);
    Feed(recording, 1, 50000 * Ms, 50600 * Ms);
    EXPECT_THAT(recording.Order(), ElementsAre(0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 0, 0, 0, 0));
}

TEST(Interleaver, TheLastSamplesOfAnEndedTrackDoNotHoldTheOthersUp) {
    for (const REFERENCE_TIME tail : {50 * Ms, 200 * Ms}) {
        Recording recording = TwoTracks();
        Feed(recording, 0, 0, tail);
        recording[0].State().endOfStream = true;
        Feed(recording, 1, 0, 10000 * Ms);
        EXPECT_GE(recording.written.size(), 190u) << tail;
        EXPECT_LE(recording[1].State().queue.size(), 6u) << tail;
        EXPECT_THAT(recording.drained, ElementsAre(0)) << tail;
    }
}

TEST(Interleaver, TheFinalPassWritesEverythingThatWaits) {
    Recording recording = TwoTracks();
    Feed(recording, 0, 0, 50 * Ms);
    Feed(recording, 1, 0, 50 * Ms);
    EXPECT_EQ(recording.starts, 0);
    recording.EndAll();
    EXPECT_THAT(recording.Order(), ElementsAre(0, 1));
    EXPECT_THAT(recording.drained, ElementsAre(0, 1));
    EXPECT_FALSE(recording.Pass(true)) << "nothing is left";
}

TEST(Interleaver, ASampleExactlyOneStepBehindTheMarkIsTaken) {
    Recording recording = TwoTracks();
    // Each sample lies one whole step behind the one before it, which is where the limit of a chunk stands.
    for (int i = 0; i < 8; ++i) {
        recording.Receive(0, i * Step, Step, {1});
        recording.Receive(1, i * Step, Step, {2});
    }
    EXPECT_THAT(recording.Order(), ElementsAre(0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0));
}

TEST(Interleaver, AGapMovesTheMark) {
    Recording recording = TwoTracks();
    Feed(recording, 0, 0, 300 * Ms);
    Feed(recording, 1, 0, 300 * Ms);
    for (const std::size_t input : {0u, 1u}) Feed(recording, input, 60000 * Ms, 61000 * Ms);
    // All from before the gap and, of the 20 behind it, those that fill whole steps.
    EXPECT_GE(recording.written.size(), 2u * (6 + 14));
    for (const auto& input : recording.inputs) EXPECT_LT(input->State().queue.size(), 10u) << "two steps";
}

TEST(Interleaver, StepsWithoutProgressEnd) {
    for (const REFERENCE_TIME duration : {REFERENCE_TIME{0}, -Step}) {
        Recording recording = TwoTracks();
        recording.settings.interleaveDuration = duration;
        Feed(recording, 0, 0, 500 * Ms);
        Feed(recording, 1, 0, 500 * Ms);
        recording.EndAll();
        EXPECT_EQ(recording.written.size(), 20u);
    }
    Recording extremes = TwoTracks();
    for (const REFERENCE_TIME start : {MinTime, REFERENCE_TIME{0}, MaxTime - 1})
        for (const std::size_t input : {0u, 1u}) {
            extremes[input].Track().handler = std::make_unique<details::byte_stream_handler>(VideoType());
            extremes[input].State().queue.Push(start, mediakit_test::heap_sample::create({1}, 0, 1).get());
            ++extremes[input].State().received;
            extremes.Pass();
        }
    extremes.EndAll();
    EXPECT_EQ(extremes.written.size(), 6u);
}

TEST(Interleaver, AStartThatFailsEndsThePassAndIsTriedAgain) {
    Recording recording({VideoType()});
    {
        mediakit_test::log_capture log(1);
        recording.startResult = VFW_E_WRONG_STATE;
        Feed(recording, 0, 0, 100 * Ms);
        EXPECT_EQ(recording.starts, 1);
        EXPECT_THAT(log.messages(), IsEmpty()) << "not the time for it";
        recording.startResult = E_NOINTERFACE;
        EXPECT_FALSE(recording.Pass());
        EXPECT_EQ(log.count(1, L"QZLogHRESULT"), 1u);
    }
    recording.startResult = S_OK;
    EXPECT_TRUE(recording.Pass());
    EXPECT_EQ(recording.written.size(), 2u);
}

/// However samples arrive: none is lost or written twice, each track stays in order, and no sample stands more
/// than two steps behind a later one of another track.
TEST(Interleaver, OrderHoldsForAnyArrival) {
    for (unsigned seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        const auto pick = [&](int from, int to) { return std::uniform_int_distribution<int>(from, to)(random); };
        Recording recording({VideoType(), AudioType(), AudioType()});
        std::vector<REFERENCE_TIME> next(3, 0);
        std::vector<int> fed(3, 0);
        for (int i = 0; i < 600; ++i) {
            const auto input = static_cast<std::size_t>(pick(0, 2));
            recording.Receive(input, next[input], Ms, {static_cast<BYTE>(input)});
            next[input] += pick(1, 120) * Ms;
            ++fed[input];
        }
        recording.EndAll();

        std::vector<int> written(3, 0);
        std::vector<REFERENCE_TIME> latest(3, MinTime);
        for (const auto& sample : recording.written) {
            ASSERT_GT(sample.info.start, latest[sample.track]) << seed;
            latest[sample.track] = sample.info.start;
            ++written[sample.track];
        }
        ASSERT_EQ(written, fed) << seed;

        // Up to where the slowest track could still be measured against the others.
        const REFERENCE_TIME end = std::ranges::min(next) - 2 * Step;
        REFERENCE_TIME greatest = 0;
        for (const auto& sample : recording.written) {
            if (sample.info.start < end) {
                ASSERT_GE(sample.info.start, greatest - 2 * Step) << seed;
            }
            greatest = std::max(greatest, sample.info.start);
        }
    }
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
