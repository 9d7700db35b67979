#include "VideoIO/StreamFilters/Multiplexer/MuxInputPin.h"

#include "Testing/Kit/heap_sample.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxRig_test.h"

#include <array>
#include <atomic>
#include <thread>

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;
using mediakit_test::heap_sample;
using mediakit_test::stream_call;

/// Samples of 10 bytes, numbered on from `first`.
struct SampleRun {
    SampleRun(int first, int count) {
        for (int n = first; n < first + count; ++n) {
            samples.push_back(
                heap_sample::create(std::vector<BYTE>(10, static_cast<BYTE>(n)), n * Frame, (n + 1) * Frame));
            pointers.push_back(samples.back().get());
        }
    }
    /// The result, and in `taken` the count that the pin stored.
    HRESULT SendTo(MP4MediaMuxInputPin& pin) {
        return pin.ReceiveMultiple(pointers.data(), static_cast<LONG>(pointers.size()), &taken);
    }

    std::vector<ComPtr<heap_sample>> samples;
    std::vector<IMediaSample*> pointers;
    LONG taken = -1;
};

struct MuxInputPinTest : testing::Test, MuxRig {
    void StartVideo() {
        ConnectVideo();
        Play();
        ASSERT_EQ(Send(0, 0), S_OK);
        ASSERT_EQ(Send(0, 1), S_OK);
    }
    int Commits() { return sink->file().calls(stream_call::commit); }
};

TEST_F(MuxInputPinTest, ABatchIsHandedToTheSystemOnce) {
    StartVideo();
    const int before = Commits();
    SampleRun run(2, 10);
    EXPECT_EQ(run.SendTo(Input(0)), S_OK);
    EXPECT_EQ(run.taken, 10);
    EXPECT_EQ(Commits(), before + 1);
    ASSERT_EQ(Send(0, 12), S_OK);
    EXPECT_EQ(Commits(), before + 2) << "a sample by itself, as ever";
    (*this)[0].end();
    const auto samples = Index(0);
    ASSERT_EQ(samples.size(), 13u);
    for (std::size_t n = 0; n < 13; ++n) EXPECT_EQ(Read(samples[n]), std::vector<BYTE>(10, static_cast<BYTE>(n)));

    SampleRun late(13, 2);
    EXPECT_EQ(late.SendTo(Input(0)), S_FALSE) << "behind the end";
    EXPECT_EQ(late.taken, 0);
    EXPECT_EQ(Input(0).ReceiveMultiple(nullptr, 1, &late.taken), E_POINTER);
}

/// Keeps how often the file was committed when an event came.
struct CommitsAtEvent final : mediakit_test::event_graph {
    explicit CommitsAtEvent(mediakit_test::memory_file& observed) : file(observed) {}
    HRESULT Notify(LONG code, LONG_PTR first, LONG_PTR second) override {
        commits = file.calls(stream_call::commit);
        return event_graph::Notify(code, first, second);
    }
    mediakit_test::memory_file& file;
    int commits = -1;
};

TEST_F(MuxInputPinTest, ARefusalInABatchEndsItAndLeavesNothingBehind) {
    StartVideo();
    const ComPtr<CommitsAtEvent> observer{new CommitsAtEvent(sink->file())};
    mux->JoinFilterGraph(observer.get(), L"mux");
    const int before = Commits();
    SampleRun run(2, 10);
    run.samples[3]->type = mediakit_test::make_type(MEDIATYPE_Video, MEDIASUBTYPE_MJPG);
    EXPECT_EQ(run.SendTo(Input(0)), VFW_E_INVALIDMEDIATYPE);
    EXPECT_EQ(run.taken, 3);
    EXPECT_EQ(sink->ends(), 1) << "nothing behind it can be decoded";
    EXPECT_EQ(observer->commits, before + 1) << "readers were told of the end when all was with the system";
    EXPECT_EQ(Commits(), before + 1);
    EXPECT_EQ(Index(0).size(), 5u);
    mux->JoinFilterGraph(graph.get(), L"mux");
}

TEST_F(MuxInputPinTest, BatchesOfTwoPinsAndAStopTakeTurns) {
    ConnectVideoAndAudio();
    for (int round = 0; round < 5; ++round) {
        sink->file().set_bytes({});
        Play();
        std::array<std::atomic<int>, 2> batches{};
        std::vector<std::thread> senders;
        for (const std::size_t pin : {0u, 1u})
            senders.emplace_back([this, pin, &batches] {
                HRESULT hr = S_OK;
                for (int n = 0; hr == S_OK; n += 8, ++batches[pin]) {
                    SampleRun run(n, 8);
                    hr = run.SendTo(Input(static_cast<int>(pin)));
                    EXPECT_EQ(run.taken == 8, hr == S_OK) << "a stop does not divide a batch";
                    std::this_thread::yield();
                }
                EXPECT_EQ(hr, VFW_E_WRONG_STATE);
            });
        while (batches[0] < 10 || batches[1] < 10) std::this_thread::yield();
        EXPECT_EQ(mux->Stop(), S_OK);
        for (std::thread& sender : senders) sender.join();
        EXPECT_EQ(Layout(), "ftyp mdat moov");
        EXPECT_EQ(Stop(), S_OK);
    }
    EXPECT_EQ(heap_sample::alive(), 0);
}

TEST_F(MuxInputPinTest, ANewConnectionStartsAnew) {
    StartVideo();
    Stop();
    EXPECT_NE(Input(0).Track().handler, nullptr) << "kept from one recording to the next";
    EXPECT_EQ(Input(0).Track().timescale, 25u);
    Input(0).Disconnect();
    EXPECT_EQ(Input(0).Track().handler, nullptr);
    EXPECT_EQ(Input(0).Track().timescale, DefaultTimescale);
    EXPECT_EQ(Input(0).Track().rate.m_numerator, DefaultTimescale);
    (*this)[0].Disconnect();

    const CMediaType type = mediakit_test::aac_type();
    ASSERT_EQ((*this)[0].Connect(&Input(0), &type), S_OK);
    EXPECT_EQ(log.count(3, L"Media type has changed"), 0u);
    sink->file().set_bytes({});
    Play();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    CMediaType written;
    ASSERT_EQ(mux->GetTrackMediaType(0, &written), S_OK);
    EXPECT_EQ(written.majortype, MEDIATYPE_Audio);
    EXPECT_EQ(Input(0).Track().timescale, 48000u);
    (*this)[0].end();
    Stop();
    const auto bytes = sink->file().bytes();
    const std::string content(bytes.begin(), bytes.end());
    EXPECT_NE(content.find("mp4a"), std::string::npos);
    EXPECT_NE(content.find("smhd"), std::string::npos);
    EXPECT_EQ(content.find("avc1"), std::string::npos);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
