#include "VideoIO/StreamFilters/Authoring/LiveIndex.h"

#include "Testing/Kit/log_capture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace Norvane::MediaKit::Filters {
namespace {

constexpr std::uint64_t kKey = 77;
constexpr REFERENCE_TIME kSecond = 10000000;

LiveSampleInfo Sample(std::uint64_t n, REFERENCE_TIME duration = 400000) {
    LiveSampleInfo info;
    info.offset = 32 + 100 * n;
    info.size = static_cast<std::uint32_t>(100 + n % 7);
    info.start = static_cast<REFERENCE_TIME>(n) * duration;
    info.stop = info.start + duration;
    info.mediaStart = static_cast<std::int64_t>(n);
    info.mediaStop = static_cast<std::int64_t>(n) + 1;
    info.sync = n % 5 == 0 ? 1 : 0;
    return info;
}

bool Same(const LiveSampleInfo& a, const LiveSampleInfo& b) {
    return a.offset == b.offset && a.size == b.size && a.reserved == b.reserved && a.start == b.start &&
           a.stop == b.stop && a.mediaStart == b.mediaStart && a.mediaStop == b.mediaStop && a.sync == b.sync;
}

struct LiveIndex : testing::Test {
    Filters::LiveIndex index;
    wil::unique_event abort{wil::EventOptions::ManualReset};
    std::vector<LiveSampleInfo> got;

    HRESULT Get(std::uint32_t timeoutMs = 0, std::uint64_t key = kKey) {
        return index.GetSamples(key, got, timeoutMs, abort.get());
    }
    void Append(std::uint64_t from, std::uint64_t to, std::uint32_t track = 0) {
        for (; from < to; ++from) index.Append(track, Sample(from));
    }
    void ExpectGot(std::uint64_t from, std::uint64_t to) {
        ASSERT_EQ(got.size(), to - from);
        for (const LiveSampleInfo& sample : got) ASSERT_TRUE(Same(sample, Sample(from++))) << from;
    }
};

TEST_F(LiveIndex, LateConsumerGetsHistory) {
    Append(0, 10000);
    const auto history = index.AddConsumer(0, kKey, L"reader");
    EXPECT_EQ(history.samples, 10000u);
    EXPECT_EQ(history.firstStart, 0);
    EXPECT_EQ(history.firstSize, 100u);
    EXPECT_EQ(history.lastStart, Sample(9999).start);

    EXPECT_EQ(Get(), S_OK);
    ExpectGot(0, 10000);
    EXPECT_EQ(Get(), VFW_E_TIMEOUT);
    Append(10000, 10003);
    EXPECT_EQ(Get(), S_OK);
    ExpectGot(10000, 10003);
    EXPECT_EQ(Get(1), VFW_E_TIMEOUT) << "a time-out leaves the consumer usable";
    Append(10003, 10004);
    EXPECT_EQ(Get(), S_OK);
    ExpectGot(10003, 10004);
}

TEST_F(LiveIndex, TracksAreIndependent) {
    index.AddConsumer(0, 1, L"a");
    index.AddConsumer(1, 2, L"b");
    Append(0, 3, 1);
    EXPECT_EQ(Get(0, 1), VFW_E_TIMEOUT);
    EXPECT_EQ(Get(0, 2), S_OK);
    ExpectGot(0, 3);
    EXPECT_EQ(index.TrackPosition(1), 800000);
    EXPECT_EQ(index.TrackPosition(0), 0);
    EXPECT_EQ(index.Position(), 800000) << "of the tracks that have samples";
    Append(0, 2, 0);
    EXPECT_EQ(index.Position(), 400000);
    EXPECT_EQ(index.AddConsumer(7, 3, nullptr).samples, 0u);
}

TEST_F(LiveIndex, ExistingKeyStays) {
    index.AddConsumer(0, kKey, L"first");
    Append(0, 2);
    EXPECT_EQ(Get(), S_OK);
    index.AddConsumer(0, kKey, L"second");
    EXPECT_EQ(Get(), VFW_E_TIMEOUT) << "the history is not given twice";
    EXPECT_EQ(index.RemoveConsumer(kKey), L"first");
    EXPECT_EQ(index.RemoveConsumer(kKey), std::nullopt);
}

TEST_F(LiveIndex, UnknownKeyIsLogged) {
    mediakit_test::log_capture log(1);
    EXPECT_EQ(Get(), E_INVALIDARG);
    EXPECT_EQ(log.count(1, L"it != m_liveSource.m_consumers.end()"), 1u);
}

TEST_F(LiveIndex, AppendWakesConsumer) {
    index.AddConsumer(0, kKey, L"reader");
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        Append(0, 1);
    });
    EXPECT_EQ(Get(60000), S_OK);
    writer.join();
    ExpectGot(0, 1);
}

TEST_F(LiveIndex, AbortEndsWait) {
    index.AddConsumer(0, kKey, L"reader");
    abort.SetEvent();
    EXPECT_EQ(Get(60000), E_ABORT);
    Append(0, 1);
    EXPECT_EQ(Get(60000), S_OK);
    EXPECT_EQ(index.GetSamples(kKey, got, 0, nullptr), E_UNEXPECTED) << "no event to wait for";
}

TEST_F(LiveIndex, ConsumerOutlivesRemoval) {
    index.AddConsumer(0, kKey, L"reader");
    std::thread remover([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        EXPECT_TRUE(index.RemoveConsumer(kKey));
        Append(0, 1);
    });
    EXPECT_EQ(Get(100), VFW_E_TIMEOUT);
    remover.join();
}

TEST_F(LiveIndex, EndFollowsLastSamples) {
    index.AddConsumer(0, kKey, L"reader");
    Append(0, 2);
    index.EndRecording();
    EXPECT_EQ(Get(), S_OK);
    ExpectGot(0, 2);
    EXPECT_EQ(Get(60000), S_FALSE);
    EXPECT_EQ(Get(60000), S_FALSE);

    index.AddConsumer(0, 2, L"late");
    EXPECT_EQ(Get(0, 2), S_OK);
    ExpectGot(0, 2);
    EXPECT_EQ(Get(60000, 2), S_FALSE);
}

TEST_F(LiveIndex, EndWakesConsumer) {
    index.AddConsumer(0, kKey, L"reader");
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        index.EndRecording();
    });
    EXPECT_EQ(Get(60000), S_FALSE);
    writer.join();
}

TEST_F(LiveIndex, SecondRecordingContinues) {
    index.AddConsumer(0, kKey, L"told the end of the first");
    index.AddConsumer(0, 2, L"slow");
    Append(0, 2);
    index.EndRecording();
    Get();
    EXPECT_EQ(Get(), S_FALSE);
    index.AddConsumer(0, 3, L"between the two");
    index.BeginRecording();
    index.AddConsumer(0, 4, L"new");
    Append(2, 4);
    EXPECT_EQ(Get(), S_OK);
    ExpectGot(2, 4);
    EXPECT_EQ(Get(), S_FALSE);
    for (const std::uint64_t key : {2, 3, 4}) {
        EXPECT_EQ(Get(0, key), S_OK);
        ExpectGot(0, 4);
        EXPECT_EQ(Get(0, key), VFW_E_TIMEOUT) << key << " waits for more";
    }
    index.EndRecording();
    EXPECT_EQ(Get(0, 2), S_FALSE);
}

TEST_F(LiveIndex, ShiftsThisRecording) {
    Append(0, 2, 0);
    index.BeginRecording();
    index.AddConsumer(0, kKey, L"reader");
    Append(2, 4, 0);
    Append(0, 1, 1);
    index.ShiftRecording(1000);
    EXPECT_EQ(Get(), S_OK);
    const auto offsets = [&] {
        std::vector<std::uint64_t> all;
        for (const LiveSampleInfo& sample : got) all.push_back(sample.offset);
        return all;
    };
    EXPECT_THAT(offsets(), testing::ElementsAre(32, 132, 1232, 1332));
    index.AddConsumer(1, 2, L"other track");
    EXPECT_EQ(Get(0, 2), S_OK);
    EXPECT_THAT(offsets(), testing::ElementsAre(1032));
}

/// Both wait; one of them is given the sample, and the other learns that it came too late or hears nothing.
TEST_F(LiveIndex, ThreadsOfOneConsumerShare) {
    index.AddConsumer(0, kKey, L"reader");
    for (std::uint64_t round = 0; round < 20; ++round) {
        std::atomic<std::size_t> given{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 2; ++i)
            threads.emplace_back([&] {
                std::vector<LiveSampleInfo> samples(7);
                const HRESULT hr = index.GetSamples(kKey, samples, 30, abort.get());
                if (hr == S_OK)
                    given += samples.size();
                else
                    EXPECT_EQ(hr, VFW_E_TIMEOUT);
            });
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        Append(round, round + 1);
        for (std::thread& thread : threads) thread.join();
        Get();  // what came after both time-outs
        EXPECT_LE(given, 1u);
    }
}

TEST_F(LiveIndex, ReachesTimeOnEveryTrack) {
    const std::uint32_t tracks[] = {0, 1};
    Append(0, 25, 0);
    EXPECT_FALSE(index.HaveReached(tracks, kSecond));
    Append(0, 24, 1);
    EXPECT_FALSE(index.HaveReached(tracks, kSecond));
    Append(24, 25, 1);
    EXPECT_TRUE(index.HaveReached(tracks, kSecond)) << "a stop time of one second is enough";
}

TEST_F(LiveIndex, LogsStatusEveryThirtySeconds) {
    mediakit_test::log_capture log(5);
    for (std::uint64_t n = 0; n <= 91; ++n) index.Append(0, Sample(n, kSecond));
    // Past 30 s of the first sample, then past 30 s of the one that was reported.
    EXPECT_EQ(log.count(5, L"MP4 writer status: "), 2u);
    EXPECT_EQ(log.count(5, L"MP4 writer status: 00:00:31.000_0000, duration 00:00:32.000_0000, 32 samples"), 1u);
    EXPECT_EQ(log.count(5, L"MP4 writer status: 00:01:02.000_0000, duration 00:01:03.000_0000, 63 samples"), 1u);
}

TEST_F(LiveIndex, ReadersAndWriterRunAtOnce) {
    constexpr std::uint64_t count = 20000;
    constexpr std::uint64_t readers = 3;
    std::vector<std::thread> threads;
    std::vector<std::uint64_t> seen(readers, 0);
    for (std::uint64_t key = 0; key < readers; ++key)
        threads.emplace_back([&, key] {
            index.AddConsumer(0, key, L"reader");
            std::vector<LiveSampleInfo> samples;
            HRESULT hr = S_OK;
            while ((hr = index.GetSamples(key, samples, 60000, abort.get())) == S_OK)
                for (const LiveSampleInfo& sample : samples) {
                    if (!Same(sample, Sample(seen[key]))) return;
                    ++seen[key];
                }
            EXPECT_EQ(hr, S_FALSE);
        });
    Append(0, count);
    index.EndRecording();
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(seen, testing::Each(count));
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
