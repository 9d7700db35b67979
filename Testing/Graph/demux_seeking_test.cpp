// Seeks in files of every shape: what each pin pushes afterwards is told by an independent walk over the samples that
// the file was made of.
#include "MediaKit/Factories.h"
#include "MediaKit/IMP4MediaDemuxFilter.h"
#include "Platform/DirectShow/CMemAllocator.h"
#include "Platform/Kernel/Thread.h"
#include "Testing/Kit/movie_tracks.h"
#include "Testing/Kit/playback.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

namespace mediakit_test {
namespace {

using Norvane::MediaKit::Filters::IMP4MediaDemuxFilter;

REFERENCE_TIME time_of(const movie_track& track, std::int64_t ticks) {
    return std::llround(static_cast<double>(ticks) * 1e7 / track.timescale);
}

struct timed_sample {
    std::int64_t dts;
    std::int64_t cts;
    const movie_sample* sample;
};

/// Decode times add up; the edit's media time comes off every presentation time.
std::vector<timed_sample> timeline_of(const movie_track& track) {
    std::vector<timed_sample> timeline;
    std::int64_t dts = 0;
    for (const movie_sample& sample : track.samples) {
        const std::int64_t shift = track.edits.empty() ? 0 : track.edits.front().media_time;
        timeline.push_back({dts, dts + sample.cts_offset - shift, &sample});
        dts += sample.duration;
    }
    return timeline;
}

/// Video with sync samples starts at the last one that is not shown after `start`; everything else at the last sample
/// that is shown before it (in whole units of the track), or at it if it is also decoded then. What lies before the
/// first starts with the first.
std::size_t start_of(const movie_track& track, const std::vector<timed_sample>& timeline, REFERENCE_TIME start) {
    const bool by_sync = track.handler == "vide" && track.with_stss;
    const std::int64_t target = std::llround(static_cast<double>(start) * track.timescale / 1e7);
    std::size_t found = 0;
    for (std::size_t i = 0; i < timeline.size(); ++i) {
        const auto& [dts, cts, sample] = timeline[i];
        const bool starts = by_sync ? sample->sync && cts * 10'000'000 / track.timescale <= start
                                    : cts < target || (cts == target && dts == target);
        if (starts) found = i;
    }
    return found;
}

/// Plain files tell sync samples by a table, which a track of nothing else does not have.
bool tells_sync(const movie_file& file, const movie_track& track) {
    const auto is_sync = [](const movie_sample& sample) { return sample.sync; };
    return file.fragments.samples != 0 ||
           (track.with_stss && !std::all_of(track.samples.begin(), track.samples.end(), is_sync));
}

void expect_segment(playback& play, std::size_t pin, const movie_file& file, REFERENCE_TIME start) {
    const movie_track& track = file.tracks[pin];
    SCOPED_TRACE("pin " + std::to_string(pin) + " at " + std::to_string(start));
    sample_recorder& recorder = play.recorder(pin);
    const std::vector<timed_sample> timeline = timeline_of(track);
    const std::size_t first = start_of(track, timeline, start);
    const std::vector<received_sample> got = recorder.segment_samples();
    EXPECT_EQ(recorder.segment().first, start);
    ASSERT_EQ(got.size(), timeline.size() - first);
    for (std::size_t i = 0; i < got.size(); ++i) {
        const timed_sample& want = timeline[first + i];
        const REFERENCE_TIME shown = time_of(track, want.cts) - start;
        const REFERENCE_TIME gone = time_of(track, want.cts + want.sample->duration) - start;
        const bool is_sync = want.sample->sync && tells_sync(file, track);
        ASSERT_TRUE(got[i].start == shown && got[i].stop == gone && got[i].preroll == (gone < 1) &&
                    got[i].media_start == time_of(track, want.dts) &&
                    got[i].media_stop == time_of(track, want.dts + want.sample->duration) && got[i].sync == is_sync &&
                    got[i].discontinuity == (i == 0) && got[i].data == want.sample->bytes)
            << "sample " << first + i << " was " << got[i].start << " to " << got[i].stop;
    }
}

struct seek_case {
    const char* name;
    movie_file file;
    std::size_t master;
    friend std::ostream& operator<<(std::ostream& out, const seek_case& that) { return out << that.name; }
};

/// Pictures shown in the order 0 2 1 4 3 ..., from the first at `delay` frames.
movie_track reordered_track(std::size_t count, std::size_t interval) {
    movie_track track = h264_track(count, interval);
    for (std::size_t i = 0; i < count; ++i) {
        const bool key = i % interval == 0;
        track.samples[i].cts_offset = key ? 3600 : i % 2 != 0 ? 7200 : 0;
    }
    return track;
}

std::vector<seek_case> seek_cases() {
    std::vector<seek_case> cases;
    movie_file plain;
    plain.tracks = {aac_track(90), h264_track(50, 10)};
    cases.push_back({"plain", plain, 1});

    movie_file edited;
    edited.tracks = {reordered_track(45, 9), aac_track(80)};
    edited.tracks[0].edits = {{1800, 3600}};
    edited.tracks[1].edits = {{1800, 2048}};
    edited.tracks[0].samples_per_chunk = 3;
    edited.tracks[1].samples_per_chunk = 5;
    edited.moov_first = false;
    cases.push_back({"edited", edited, 0});

    movie_file fragmented;
    fragmented.tracks = {h264_track(40, 8), aac_track(70)};
    fragmented.fragments.samples = 7;
    cases.push_back({"fragmented", fragmented, 0});

    movie_file no_sync;
    no_sync.tracks = {h264_track(40, 8), h264_track(30, 5)};
    no_sync.tracks[0].with_stss = false;
    cases.push_back({"no_sync", no_sync, 1});

    movie_file sound;
    sound.tracks = {aac_track(60), aac_track(75)};
    cases.push_back({"sound", sound, 0});
    return cases;
}

ComPtr<IBaseFilter> make_demux() {
    ComPtr<IBaseFilter> filter;
    EXPECT_EQ(Norvane::MediaKit::Filters::CreateMP4MediaDemuxFilter(filter.put()), S_OK);
    return filter;
}

/// Before the start, on and beside samples and sync samples, and behind the end (about two seconds).
std::vector<REFERENCE_TIME> positions() {
    std::vector<REFERENCE_TIME> all = {-5'000'000, -1,        0,         1,       400'000, 399'999,    400'001,
                                       4'000'000,  3'999'999, 4'000'001, 213'333, 213'334, 30'000'000, 400'000'000'000};
    for (REFERENCE_TIME at = 0; all.size() < 50; at += 611'111) all.push_back(at);
    return all;
}

class DemuxSeeking : public testing::TestWithParam<seek_case> {
protected:
    void ExpectAllPinsAt(REFERENCE_TIME start) {
        ASSERT_TRUE(m_play.wait_for_end());
        for (std::size_t pin = 0; pin < GetParam().file.tracks.size(); ++pin)
            expect_segment(m_play, pin, GetParam().file, start);
    }
    void Forget() {
        for (const auto& recorder : m_play.recorders) recorder->pin->forget_samples();
    }

    playback m_play{make_demux(), GetParam().file.bytes()};
    const std::size_t m_master = GetParam().master;
};

TEST_P(DemuxSeeking, MovesAllPinsAfterTheEnd) {
    ASSERT_EQ(m_play.recorders.size(), GetParam().file.tracks.size());
    ASSERT_TRUE(m_play.play());
    ExpectAllPinsAt(0);
    for (const REFERENCE_TIME at : positions()) {
        Forget();
        ASSERT_EQ(m_play.seek(m_master, at), S_OK);
        ExpectAllPinsAt(at);
        if (HasFatalFailure()) return;
    }
}

TEST_P(DemuxSeeking, MovesAllPinsWhileStopped) {
    for (const REFERENCE_TIME at : positions()) {
        Forget();
        ASSERT_EQ(m_play.seek(m_master, at), S_OK);
        ASSERT_TRUE(m_play.play());
        ExpectAllPinsAt(at);
        m_play.stop();
        if (HasFatalFailure()) return;
    }
}

TEST_P(DemuxSeeking, MovesAllPinsWhileTheyPlay) {
    for (const auto& recorder : m_play.recorders) {
        recorder->pin->on_receive = [](IMediaSample*) {
            std::this_thread::yield();
            return S_OK;
        };
    }
    ASSERT_EQ(m_play.run(), S_OK);
    REFERENCE_TIME last = 0;
    std::size_t seeks = 0;
    for (const REFERENCE_TIME at : positions()) {
        ASSERT_EQ(m_play.seek(m_master, last = at), S_OK);
        // Now and then the threads get further than to their first sample.
        if (++seeks % 5 == 0)
            m_play.recorder(0).wait_for_samples(m_play.recorder(0).samples().size() + 3, std::chrono::milliseconds(2));
    }
    ExpectAllPinsAt(last);
}

TEST_P(DemuxSeeking, FreesPinsThatAreHeldDownstream) {
    for (const auto& recorder : m_play.recorders) recorder->pin->hold_samples();
    ASSERT_EQ(m_play.run(), S_OK);
    for (const REFERENCE_TIME at : {7'000'000, 0, 16'000'000}) {
        ASSERT_EQ(m_play.seek(m_master, at), S_OK);
        for (std::size_t pin = 0; pin < m_play.recorders.size(); ++pin) {
            const movie_track& track = GetParam().file.tracks[pin];
            ASSERT_TRUE(m_play.recorder(pin).wait_for_segment_samples(1));
            const auto timeline = timeline_of(track);
            const timed_sample& first = timeline[start_of(track, timeline, at)];
            EXPECT_EQ(m_play.recorder(pin).segment_samples()[0].media_start, time_of(track, first.dts));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, DemuxSeeking, testing::ValuesIn(seek_cases()),
                         [](const auto& file) { return std::string(file.param.name); });

class DemuxSeekingThreads : public testing::Test {
protected:
    const seek_case m_case = seek_cases()[0];
    playback m_play{make_demux(), m_case.file.bytes()};
};

TEST_F(DemuxSeekingThreads, EndUpWhereTheLastOneWasSet) {
    ASSERT_EQ(m_play.run(), S_OK);
    const auto demux = m_play.filter.query<IMP4MediaDemuxFilter>();
    for (int round = 0; round < 40; ++round) {
        for (const auto& recorder : m_play.recorders) recorder->pin->forget_samples();
        std::vector<std::thread> seekers;
        for (int n = 0; n < 4; ++n) {
            const LONGLONG first = (round * 7 + n * 5) % 20 * 1'000'000;
            seekers.emplace_back([&, first] {
                for (const LONGLONG at : {first, first / 2}) EXPECT_EQ(m_play.seek(m_case.master, at), S_OK);
            });
        }
        // Others ask meanwhile, and change the stop position.
        LONGLONG stop = round;
        REFERENCE_TIME nearest = 0;
        EXPECT_EQ(demux->GetNearestSyncPoint(round * 400'000, 0, &nearest), S_OK);
        EXPECT_EQ(m_play.seeking(1)->SetPositions(nullptr, 0, &stop, AM_SEEKING_AbsolutePositioning), S_OK);
        for (std::thread& seeker : seekers) seeker.join();
        ASSERT_TRUE(m_play.wait_for_end());
        LONGLONG start = -1;
        ASSERT_EQ(m_play.seeking(1)->GetPositions(&start, nullptr), S_OK);
        for (std::size_t pin = 0; pin < 2; ++pin) expect_segment(m_play, pin, m_case.file, start);
    }
}

TEST_F(DemuxSeekingThreads, GetOnWithStartingAndStopping) {
    std::atomic<bool> over{false};
    std::thread seeker([&] {
        for (int i = 0; !over; ++i) EXPECT_EQ(m_play.seek(m_case.master, i % 20 * 1'000'000), S_OK);
    });
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(m_play.run(), S_OK);
        m_play.recorder(0).wait_for_samples(m_play.recorder(0).samples().size() + 1, std::chrono::milliseconds(2));
        EXPECT_EQ(m_play.stop(), S_OK);
    }
    over = true;
    seeker.join();
    ASSERT_EQ(m_play.seek(m_case.master, 5'000'000), S_OK);
    ASSERT_TRUE(m_play.play());
    for (std::size_t pin = 0; pin < 2; ++pin) expect_segment(m_play, pin, m_case.file, 5'000'000);
}

/// Tells how often it was asked: who asks for more than it has waits.
class asked_allocator final : public CMemAllocator {
public:
    asked_allocator() : CMemAllocator("asked_allocator", nullptr, nullptr) {}
    HRESULT GetBuffer(IMediaSample** sample, REFERENCE_TIME* start, REFERENCE_TIME* stop, DWORD flags) override {
        ++m_asked;
        return CMemAllocator::GetBuffer(sample, start, stop, flags);
    }
    bool wait_until_asked(int times) const {
        for (int i = 0; i < 20'000 && m_asked < times; ++i) Sleep(1);
        return m_asked >= times;
    }

private:
    std::atomic<int> m_asked{0};
};

TEST_F(DemuxSeekingThreads, AreFreedByAStopWhenAReceiverKeepsEverySample) {
    const ComPtr<asked_allocator> allocator(new asked_allocator);
    m_play.disconnect(1);
    ASSERT_EQ(m_play.recorder(1).NotifyAllocator(allocator.get(), FALSE), S_OK);
    ASSERT_EQ(m_play.connect(1), S_OK);
    std::vector<ComPtr<IMediaSample>> kept;
    m_play.recorder(1).on_receive = [&](IMediaSample* sample) {
        kept.emplace_back(sample);
        return S_OK;
    };
    ASSERT_EQ(m_play.run(), S_OK);
    ASSERT_TRUE(allocator->wait_until_asked(11)) << "for one more than it has";
    std::thread seeker([&] { EXPECT_EQ(m_play.seek(m_case.master, 5'000'000), S_OK); });
    EXPECT_TRUE(m_play.recorder(1).wait_for_flush());
    EXPECT_EQ(m_play.stop(), S_OK);
    seeker.join();
    kept.clear();
}

TEST_F(DemuxSeekingThreads, LeavesAloneWhatIsNotConnected) {
    m_play.disconnect(0);
    ASSERT_EQ(m_play.seek(m_case.master, 9'000'000), S_OK);
    ASSERT_EQ(m_play.connect(0), S_OK);
    ASSERT_TRUE(m_play.play());
    expect_segment(m_play, 0, m_case.file, 0);
    expect_segment(m_play, 1, m_case.file, 9'000'000);
}

}  // namespace
}  // namespace mediakit_test
