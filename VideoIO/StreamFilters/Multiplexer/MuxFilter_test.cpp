// The plain multiplexer between pins: what its recorder does is tested with the recorder.
#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

#include "MediaKit/Results.h"
#include "Platform/DirectShow/CMemAllocator.h"
#include "Testing/Kit/heap_sample.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxRig_test.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <limits>
#include <mutex>
#include <thread>

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;
using mediakit_test::heap_sample;
using mediakit_test::stream_call;
using testing::ElementsAre;
using testing::SizeIs;

/// An upstream pin that can seek, and answers what the test says.
class SeekablePin final : public mediakit_test::scripted_output, public IMediaSeeking {
public:
    using scripted_output::scripted_output;

    HRESULT answer = S_OK;
    int seeks = 0;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IMediaSeeking) return GetInterface(static_cast<IMediaSeeking*>(this), ppv);
        return scripted_output::NonDelegatingQueryInterface(riid, ppv);
    }
    HRESULT SetPositions(LONGLONG*, DWORD, LONGLONG*, DWORD) override {
        ++seeks;
        return answer;
    }
    HRESULT GetCapabilities(DWORD*) override { return E_NOTIMPL; }
    HRESULT CheckCapabilities(DWORD*) override { return E_NOTIMPL; }
    HRESULT IsFormatSupported(const GUID*) override { return E_NOTIMPL; }
    HRESULT QueryPreferredFormat(GUID*) override { return E_NOTIMPL; }
    HRESULT GetTimeFormat(GUID*) override { return E_NOTIMPL; }
    HRESULT IsUsingTimeFormat(const GUID*) override { return E_NOTIMPL; }
    HRESULT SetTimeFormat(const GUID*) override { return E_NOTIMPL; }
    HRESULT GetDuration(LONGLONG*) override { return E_NOTIMPL; }
    HRESULT GetStopPosition(LONGLONG*) override { return E_NOTIMPL; }
    HRESULT GetCurrentPosition(LONGLONG*) override { return E_NOTIMPL; }
    HRESULT ConvertTimeFormat(LONGLONG*, const GUID*, LONGLONG, const GUID*) override { return E_NOTIMPL; }
    HRESULT GetPositions(LONGLONG*, LONGLONG*) override { return E_NOTIMPL; }
    HRESULT GetAvailable(LONGLONG*, LONGLONG*) override { return E_NOTIMPL; }
    HRESULT SetRate(double) override { return E_NOTIMPL; }
    HRESULT GetRate(double*) override { return E_NOTIMPL; }
    HRESULT GetPreroll(LONGLONG*) override { return E_NOTIMPL; }
};

struct MP4MediaMuxFilter : testing::Test, MuxRig {
    void StartVideo() {
        ConnectVideo();
        Play();
    }
    void StartVideoAndAudio() {
        ConnectVideoAndAudio();
        Play();
    }
    /// Video whose samples do not fit one delivery buffer.
    void StartLargeVideo() {
        ASSERT_EQ(AddSource(mediakit_test::avc1_type(mediakit_test::h264_units()), 500000), S_OK);
        ASSERT_EQ(ConnectSink(), S_OK);
        Play();
    }
    void EndAll() {
        for (const auto& source : sources) source->pin->end();
    }
    std::string Content() {
        const auto bytes = sink->file().bytes();
        return {bytes.begin(), bytes.end()};
    }
    int Commits() { return sink->file().calls(stream_call::commit); }
};

/// Samples of 10 bytes, numbered on from `first`.
struct SampleRun {
    SampleRun(int first, int count) {
        for (int n = first; n < first + count; ++n) {
            samples.push_back(
                heap_sample::create(std::vector<BYTE>(10, static_cast<BYTE>(n)), n * kFrame, (n + 1) * kFrame));
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

TEST_F(MP4MediaMuxFilter, RecordsAndIsReadAtTheSameTime) {
    constexpr int kCount = 500;
    ConnectVideoAndAudio();
    const auto bytesOf = [](int n) {
        return std::vector<BYTE>(static_cast<std::size_t>(1 + n % 200), static_cast<BYTE>(n));
    };
    for (const std::size_t source : {0u, 1u})
        for (int n = 0; n < kCount; ++n)
            (*this)[source].script.push_back({bytesOf(n), n * kFrame, (n + 1) * kFrame, true});
    std::vector<std::thread> readers;
    std::atomic<int> verified{0};
    for (const std::uint32_t track : {0u, 1u})
        readers.emplace_back([&, track] {
            const wil::unique_event abort{wil::EventOptions::ManualReset};
            mux->AddConsumer(track, track, L"reader", 0, 0, nullptr);
            std::vector<LiveSampleInfo> samples;
            int n = 0;
            while (mux->GetSamples(track, track, &samples, 60000, abort.get()) == S_OK)
                for (const LiveSampleInfo& sample : samples) verified += Read(sample) == bytesOf(n++) ? 1 : 0;
            mux->RemoveConsumer(track, track);
        });
    Play();
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(verified, 2 * kCount);
    for (const std::size_t source : {0u, 1u}) EXPECT_TRUE((*this)[source].wait_until_done());
    EXPECT_EQ(Boxes()[1].size, 8u) << "while recording";
    EXPECT_FALSE(Result().fileComplete);
    EXPECT_EQ(Stop(), S_OK);
    EXPECT_EQ(Layout(), "ftyp mdat moov");
    EXPECT_EQ(Result().state, RecordingState::Ended);
    EXPECT_TRUE(Result().fileComplete);
    EXPECT_EQ(Result().samplesWritten, 2u * kCount);
}

TEST_F(MP4MediaMuxFilter, LargeSamplesArriveInParts) {
    StartLargeVideo();
    ASSERT_EQ(Send(0, 0, 9000), S_OK);
    ASSERT_EQ(Send(0, 1, 4096), S_OK);
    using placed = mediakit_test::file_sink_input::placed;
    EXPECT_THAT(sink->placements(), ElementsAre(placed{32, 4096}, placed{32 + 4096, 4096}, placed{32 + 8192, 808},
                                                placed{32 + 9000, 4096}));
    EXPECT_EQ(sink->samples()[1].start, REFERENCE_TIME{10000000} * (32 + 4096));
    EXPECT_EQ(sink->samples()[1].stop, REFERENCE_TIME{10000000} * (32 + 8192));
}

TEST_F(MP4MediaMuxFilter, EndOfStreamIsDeliveredOnce) {
    StartVideoAndAudio();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    ASSERT_EQ(Send(1, 0), S_OK);
    mux->AddConsumer(0, 5, L"reader", 0, 0, nullptr);
    const wil::unique_event abort{wil::EventOptions::ManualReset};
    std::vector<LiveSampleInfo> samples;
    HRESULT atEnd = E_UNEXPECTED;
    sink->on_end = [&] {
        mux->GetSamples(0, 5, &samples, 0, abort.get());
        atEnd = mux->GetSamples(0, 5, &samples, 0, abort.get());
    };
    for (int times = 0; times < 2; ++times) {
        (*this)[0].end();
        EXPECT_EQ(WaitForSingleObject(Input(0).EndOfTrackEvent(), 0), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(Input(0).DrainedEvent(), 0), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(Input(1).EndOfTrackEvent(), 0), WAIT_OBJECT_0) << "of each pin";
        EXPECT_EQ(WaitForSingleObject(Input(1).DrainedEvent(), 0), times == 0 ? WAIT_TIMEOUT : WAIT_OBJECT_0);
        (*this)[1].end();
    }
    EXPECT_EQ(sink->ends(), 1);
    EXPECT_EQ(atEnd, S_FALSE) << "readers are told before downstream";
    EXPECT_EQ(log.count(3, L"-----> Track Input_0("), 2u);
    EXPECT_EQ(log.count(3, L") is EOS."), 4u);
    EXPECT_EQ(log.count(3, L"-----> All tracks are EOS, delivering EOS."), 1u);
    EXPECT_THAT(Index(0), SizeIs(3)) << "the tail is written";
    EXPECT_EQ(Send(0, 4), S_FALSE);
    SampleRun late(5, 2);
    EXPECT_EQ(late.SendTo(Input(0)), S_FALSE);
    EXPECT_EQ(late.taken, 0);

    Stop();
    const auto bytes = sink->file().bytes();
    Input(0).EndOfStream();
    EXPECT_EQ(sink->ends(), 1) << "a late end at a stopped filter ends nothing";
    EXPECT_EQ(sink->file().bytes(), bytes);
}

TEST_F(MP4MediaMuxFilter, EarlyEndOfOneTrackDoesNotStopTheOther) {
    StartVideoAndAudio();
    for (int n = 0; n < 2; ++n) ASSERT_EQ(Send(1, n), S_OK);
    (*this)[1].end();
    // More than the allocator has buffers: a file that stood still would block the source.
    for (int n = 0; n < 300; ++n) ASSERT_EQ(Send(0, n), S_OK);
    (*this)[0].end();
    EXPECT_THAT(Index(0), SizeIs(300));
    EXPECT_EQ(sink->ends(), 1);
}

TEST_F(MP4MediaMuxFilter, SecondRunHasItsOwnFile) {
    const auto run = [&](int samples, BYTE units) {
        sink->file().set_bytes({});
        Play();
        for (int n = 0; n < samples; ++n) ASSERT_EQ(Send(1, n), S_OK);
        EXPECT_EQ(Content().size(), 0u) << "waits for the first sample of every pin";
        for (int n = 0; n < samples; ++n) {
            const auto unit = mediakit_test::h264_units(units, 3).units(30, 10)[static_cast<std::size_t>(n)];
            ASSERT_EQ((*this)[0].send({unit, n * kFrame, (n + 1) * kFrame, n == 0}), S_OK);
        }
        EndAll();
        EXPECT_EQ(Stop(), S_OK);
    };
    mux->Settings().maxMdatSize = 2000;
    ASSERT_EQ(AddSource(mediakit_test::h264_type(mediakit_test::h264_units(4, 3)), 100000), S_OK);
    ASSERT_EQ(AddSource(mediakit_test::aac_type()), S_OK);
    ASSERT_EQ(ConnectSink(), S_OK);
    run(30, 4);
    EXPECT_THAT(Layout(), testing::StartsWith("ftyp mdat mdat")) << "a further mdat";
    const std::string first = Content();
    run(10, 8);
    const auto sets = [](const std::string& content) { return content.substr(content.find("avcC"), 40); };
    EXPECT_NE(sets(Content()), sets(first)) << "the parameter sets are those of the second run";
    EXPECT_EQ(Result().samplesWritten, 20u);
    EXPECT_TRUE(Result().fileComplete);
    EXPECT_EQ(mux->Counters().Count(), 2u);
}

TEST_F(MP4MediaMuxFilter, SettingsAreForTheTimeBeforeConnecting) {
    const auto settings = ComPtr<IBaseFilter>(mux.get()).query<qz_MPEGSystemFilters::IMPEG4Mux>();
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->SetMoveMoovToFront(TRUE), S_OK);
    EXPECT_EQ(settings->SetSoftware(L"tool"), S_OK);
    EXPECT_EQ(settings->SetSecondSoftware(L"\u00FC"), S_OK);
    EXPECT_EQ(settings->SetDescription(L"text"), S_OK);
    EXPECT_EQ(settings->SetDescription(nullptr), E_POINTER);
    EXPECT_EQ(settings->Reserved1(), S_OK);
    EXPECT_EQ(settings->Reserved6(), E_NOTIMPL);
    EXPECT_EQ(settings->SetFlag(TRUE), S_OK);

    StartVideo();
    for (const HRESULT hr : {settings->SetMoveMoovToFront(FALSE), settings->SetSoftware(L"x"),
                             settings->SetSecondSoftware(L"x"), settings->SetDescription(L"x")})
        EXPECT_EQ(hr, E_UNEXPECTED);
    EXPECT_EQ(log.count(1,
                        L"m_inputPins.empty() || (m_inputPins.front() == nullptr) || "
                        L"!m_inputPins.front()->IsConnected()"),
              4u);
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    mux->Settings().moveMoovToFront = false;
    Stop();
    EXPECT_EQ(Layout(), "ftyp moov mdat") << "of the start of the run";
    EXPECT_NE(Content().find("\xA9swr\x00\x07\x15\xC7tool/\xC3\xBC", 0, 15), std::string::npos);
    EXPECT_NE(Content().find("\xA9"
                             "des"),
              std::string::npos);
}

TEST_F(MP4MediaMuxFilter, SeekKeepsTheRecordingWhole) {
    mux->Settings().moveMoovToFront = true;
    mediakit_test::fake<SeekablePin> source(L"seekable");
    const CMediaType type = mediakit_test::avc1_type(mediakit_test::h264_units(), kFrame);
    ASSERT_EQ(source->Connect(&Input(0), &type), S_OK);
    ASSERT_EQ(ConnectSink(), S_OK);
    Play();
    ASSERT_EQ(source.filter->Pause(), S_OK);
    EXPECT_EQ(source->send({{1}, 0, kFrame}), S_OK);
    source->end();
    EXPECT_EQ(sink->ends(), 1);
    EXPECT_EQ(source->send({{2}, kFrame, 2 * kFrame}), S_FALSE);

    LONGLONG position = 0;
    EXPECT_EQ(Output().SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    EXPECT_EQ(source->send({{2}, kFrame, 2 * kFrame}), S_OK);
    source->end();
    EXPECT_EQ(sink->ends(), 2);
    source.filter->Stop();
    Stop();
    EXPECT_EQ(Layout(), "ftyp moov mdat");
    const auto samples = Index(0);
    ASSERT_THAT(samples, SizeIs(2));
    EXPECT_EQ(Read(samples[0]), std::vector<BYTE>{1}) << "moved like the one after the seek";
    EXPECT_EQ(Read(samples[1]), std::vector<BYTE>{2});
    Input(0).Disconnect();
}

TEST_F(MP4MediaMuxFilter, OtherSeeksGoUpstream) {
    LONGLONG position = 5;
    EXPECT_EQ(Output().SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK) << "nobody is there";
    mediakit_test::fake<SeekablePin> first(L"first");
    mediakit_test::fake<SeekablePin> second(L"second");
    const CMediaType type = mediakit_test::aac_type();
    ASSERT_EQ(first->Connect(&Input(0), &type), S_OK);
    ASSERT_EQ(second->Connect(&Input(1), &type), S_OK);
    first->answer = E_NOTIMPL;
    EXPECT_EQ(Output().SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    EXPECT_EQ(second->seeks, 1);
    first->answer = E_FAIL;
    EXPECT_EQ(Output().SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), E_FAIL);
    EXPECT_EQ(second->seeks, 1) << "the first failure ends it";
    // A stop position together with another flag is a seek like any other.
    EXPECT_EQ(Output().SetPositions(nullptr, 0, &position, AM_SEEKING_AbsolutePositioning | AM_SEEKING_NoFlush),
              E_FAIL);
    EXPECT_EQ(first->seeks, 3);
    for (int n : {0, 1}) Input(n).Disconnect();
}

TEST_F(MP4MediaMuxFilter, StopPositionEndsTheStream) {
    StartVideo();
    LONGLONG stop = 5 * kFrame;
    EXPECT_EQ(Output().SetPositions(nullptr, 0, &stop, AM_SEEKING_AbsolutePositioning), S_OK);
    EXPECT_EQ(log.count(3, L"Muxer: Stop position requested: 00:00:00.200_0000, current position: 00:00:00.000_0000"),
              1u);
    LONGLONG stored = 0;
    EXPECT_EQ(Output().GetStopPosition(&stored), S_OK);
    EXPECT_EQ(stored, stop);
    for (int n = 0; n <= 5; ++n) EXPECT_EQ(Send(0, n), S_OK);
    EXPECT_EQ(Send(0, 6), S_FALSE);
    EXPECT_EQ(log.count(3, L"Done receiving sample -> Input_0("), 1u);
    EXPECT_THAT(Index(0), SizeIs(6));
    Input(0).NewSegment(1, MaxTime, 1.0);
    EXPECT_EQ(Send(0, 5), S_FALSE) << "the segment's start counts";
}

// Failures of the peer

TEST_F(MP4MediaMuxFilter, EachAnswerOfThePeerHasItsOwnMeaning) {
    StartLargeVideo();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    std::uint64_t lost = 0;
    int n = 3;
    for (const HRESULT answer : {S_OK, S_FALSE, E_FAIL, VFW_E_WRONG_STATE, VFW_E_NOT_COMMITTED, STG_E_MEDIUMFULL}) {
        sink->on_receive = [answer, part = 0](IMediaSample*) mutable { return ++part == 2 ? answer : S_OK; };
        EXPECT_EQ(Send(0, n++, 9000), S_OK) << "of its three parts the second is refused";
        sink->on_receive = [](IMediaSample*) { return S_OK; };
        lost += FAILED(answer) ? 1 : 0;
        EXPECT_EQ(Result().samplesLost, lost) << answer;
        ASSERT_EQ(Send(0, n++), S_OK);
        const auto samples = Index(0);
        ASSERT_THAT(samples, SizeIs(static_cast<std::size_t>(n) - lost));
        EXPECT_EQ(Read(samples.back()), std::vector<BYTE>(10, static_cast<BYTE>(n - 1))) << "no hole is left";
    }
    EXPECT_EQ(Result().failure.result, E_FAIL);
    EXPECT_EQ(Result().bytesLost, 4u * 9000);
    const auto events = graph->events();
    ASSERT_THAT(events, SizeIs(1));
    EXPECT_EQ(events[0].code, QZ_EC_RECORDING_FAILED);
    EXPECT_EQ(static_cast<HRESULT>(events[0].first), E_FAIL);
    EndAll();
    Stop();
    EXPECT_EQ(Layout(), "ftyp mdat moov") << "what remained of lost samples is cut off";
    EXPECT_TRUE(Result().fileComplete);
}

TEST_F(MP4MediaMuxFilter, PeerWithoutStreamIsAFailure) {
    sink->offer_stream = false;
    StartVideo();
    for (int n = 0; n < 3; ++n) EXPECT_EQ(Send(0, n), S_OK);
    EXPECT_EQ(log.count(1, L"QZLogHRESULT"), 2u) << "at each sample from the second on";
    EXPECT_THAT(Index(0), SizeIs(0));
    EXPECT_EQ(Result().failure.result, E_NOINTERFACE);
    EXPECT_EQ(Stop(), S_OK);
    EXPECT_EQ(Result().samplesDiscarded, 3u);
}

TEST_F(MP4MediaMuxFilter, FailedCommitLosesWhatWasGathered) {
    StartVideo();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    sink->file().fail(stream_call::commit, 1, STG_E_MEDIUMFULL);
    ASSERT_EQ(Send(0, 3), S_OK);
    EXPECT_EQ(Result().samplesWritten, 3u);
    EXPECT_EQ(Result().samplesLost, 1u);
    EXPECT_EQ(Result().failure.result, STG_E_MEDIUMFULL);
    EXPECT_EQ(Result().failure.text, L"cannot write what was gathered");
    Stop();
    EXPECT_FALSE(Result().fileComplete);
}

/// Has an allocator whose Decommit fails, and with it the input pin's Inactive.
class FailingToStop final : public mediakit_test::scripted_output {
public:
    using scripted_output::scripted_output;
    HRESULT InitAllocator(IMemAllocator** allocator) override {
        struct Allocator final : CMemAllocator {
            Allocator() : CMemAllocator("failing", nullptr, nullptr) {}
            HRESULT Decommit() override {
                CMemAllocator::Decommit();
                return E_FAIL;
            }
        };
        *allocator = ComPtr<IMemAllocator>(new Allocator).detach();
        return S_OK;
    }
};

TEST_F(MP4MediaMuxFilter, StopFinishesTheFileWhenAPinFails) {
    mediakit_test::fake<FailingToStop> source(L"failing");
    source->own_allocator = true;
    const CMediaType type = mediakit_test::avc1_type(mediakit_test::h264_units(), kFrame);
    ASSERT_EQ(source->Connect(&Input(0), &type), S_OK);
    ASSERT_EQ(ConnectSink(), S_OK);
    Play();
    ASSERT_EQ(source.filter->Pause(), S_OK);
    for (int n = 0; n < 3; ++n) EXPECT_EQ(source->send({{1}, n * kFrame, (n + 1) * kFrame}), S_OK);
    EXPECT_EQ(mux->Stop(), E_FAIL);
    EXPECT_EQ(Layout(), "ftyp mdat moov");
    EXPECT_TRUE(Result().fileComplete);
    source.filter->Stop();
    Input(0).Disconnect();
}

/// Keeps each delivered buffer until another thread frees it, in order.
class BufferHolder {
public:
    explicit BufferHolder(std::chrono::microseconds delay)
        : m_thread([this, delay] {
              for (std::unique_lock hold(m_lock);;) {
                  m_changed.wait(hold, [&] { return m_ends || !m_kept.empty(); });
                  if (m_kept.empty()) return;
                  hold.unlock();
                  std::this_thread::sleep_for(delay);
                  hold.lock();
                  m_kept.pop_front();
              }
          }) {}
    ~BufferHolder() {
        {
            const std::lock_guard hold(m_lock);
            m_ends = true;
        }
        m_changed.notify_one();
        m_thread.join();
    }
    HRESULT Keep(IMediaSample* sample) {
        const std::lock_guard hold(m_lock);
        m_kept.emplace_back(sample);
        m_changed.notify_one();
        return S_OK;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<ComPtr<IMediaSample>> m_kept;
    bool m_ends = false;
    std::thread m_thread;
};

TEST_F(MP4MediaMuxFilter, SlowPeerLosesNothing) {
    StartLargeVideo();
    BufferHolder holder(std::chrono::microseconds(200));
    sink->on_receive = [&](IMediaSample* sample) { return holder.Keep(sample); };
    for (int n = 0; n < 20; ++n) ASSERT_EQ(Send(0, n, 400000), S_OK);
    EndAll();
    Stop();
    EXPECT_EQ(Result().samplesWritten, 20u);
    EXPECT_EQ(Result().bytesWritten, 20u * 400000);
    const auto samples = Index(0);
    ASSERT_THAT(samples, SizeIs(20));
    for (std::size_t n = 0; n < 20; ++n) EXPECT_EQ(Read(samples[n]), std::vector<BYTE>(400000, static_cast<BYTE>(n)));
}

TEST_F(MP4MediaMuxFilter, WaitForAPeerEndsWithStopAndFlush) {
    StartLargeVideo();
    std::vector<ComPtr<IMediaSample>> kept;
    sink->on_receive = [&](IMediaSample* sample) {
        kept.emplace_back(sample);
        return S_OK;
    };
    const auto interrupt = [&](const std::function<void()>& how) {
        std::atomic<bool> returned{false};
        std::thread sender([&] {
            EXPECT_EQ(Send(0, 1, 400000), S_OK);
            EXPECT_EQ(Send(0, 2, 400000), S_OK);
            EXPECT_EQ(Send(0, 3, 400000), S_OK) << "waits: 98 parts each are more than 200 buffers";
            returned = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        EXPECT_FALSE(returned);
        const auto begin = std::chrono::steady_clock::now();
        how();
        sender.join();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
        EXPECT_EQ(Result().samplesLost, 1u);
        EXPECT_EQ(Result().failure.result, VFW_E_TIMEOUT);
    };
    ASSERT_EQ(Send(0, 0, 1000), S_OK);
    interrupt([&] { Input(0).BeginFlush(); });
    Input(0).EndFlush();
    kept.clear();
    ASSERT_EQ(Send(0, 4, 1000), S_OK);
    EXPECT_EQ(Result().samplesLost, 1u) << "after the flush it goes on";
    Stop();
    kept.clear();
    Play();
    ASSERT_EQ(Send(0, 0, 1000), S_OK);
    interrupt([&] { mux->Stop(); });
    EXPECT_EQ(Layout(), "ftyp mdat moov");
    EXPECT_TRUE(Result().fileComplete);
    kept.clear();
}

// Input pins

TEST_F(MP4MediaMuxFilter, FlushEmptiesTheQueue) {
    StartVideoAndAudio();
    for (int n = 0; n < 5; ++n) ASSERT_EQ(Send(0, n), S_OK);
    EXPECT_EQ(Input(0).BeginFlush(), S_OK);
    EXPECT_EQ(Result().samplesDiscarded, 5u);
    EXPECT_EQ(Send(0, 5), S_OK) << "between the flush's begin and its end";
    EXPECT_EQ(Input(0).EndFlush(), S_OK);
    Stop();
    EXPECT_EQ(Result().samplesDiscarded, 6u);
}

TEST_F(MP4MediaMuxFilter, RefusesSamplesWithoutTimes) {
    EXPECT_EQ(Input(0).Receive(nullptr), E_POINTER);
    EXPECT_EQ(log.count(1, L"pSample != 0"), 1u);
    StartVideo();
    ComPtr<IMediaSample> sample;
    (*this)[0].GetDeliveryBuffer(sample.put(), nullptr, nullptr, 0);
    EXPECT_EQ(Input(0).Receive(sample.get()), VFW_E_SAMPLE_TIME_NOT_SET);
}

TEST_F(MP4MediaMuxFilter, LateTypeChangeIsLogged) {
    StartVideo();
    ASSERT_EQ(Send(0, 0), S_OK);
    const CMediaType other = mediakit_test::avc1_type(mediakit_test::h264_units(4, 3), kFrame);
    EXPECT_EQ((*this)[0].send({{1}, kFrame, 2 * kFrame, true, false, other}), S_OK);
    EXPECT_EQ(log.count(3,
                        L"Media type has changed after receiving samples. The new type has been discarded and this "
                        L"may result in an invalid file."),
              1u);
    EXPECT_EQ(Input(0).TrackMediaType(), other);
}

TEST_F(MP4MediaMuxFilter, NewConnectionStartsAnew) {
    StartVideo();
    for (int n = 0; n < 2; ++n) ASSERT_EQ(Send(0, n), S_OK);
    Stop();
    EXPECT_EQ(Input(0).Track().timescale, 25u);
    Input(0).Disconnect();
    EXPECT_EQ(Input(0).Track().timescale, kDefaultTimescale);
    (*this)[0].Disconnect();
    const CMediaType type = mediakit_test::aac_type();
    ASSERT_EQ((*this)[0].Connect(&Input(0), &type), S_OK);
    EXPECT_EQ(log.count(3, L"Media type has changed"), 0u);
    sink->file().set_bytes({});
    Play();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(Send(0, n), S_OK);
    EndAll();
    Stop();
    EXPECT_NE(Content().find("mp4a"), std::string::npos);
    EXPECT_EQ(Content().find("avc1"), std::string::npos);
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

TEST_F(MP4MediaMuxFilter, CommitsOnceForABatch) {
    StartVideo();
    for (int n = 0; n < 2; ++n) ASSERT_EQ(Send(0, n), S_OK);
    int before = Commits();
    SampleRun run(2, 10);
    EXPECT_EQ(run.SendTo(Input(0)), S_OK);
    EXPECT_EQ(run.taken, 10);
    EXPECT_EQ(Commits(), before + 1);
    ASSERT_EQ(Send(0, 12), S_OK);
    EXPECT_EQ(Commits(), before + 2) << "once for a sample by itself";
    EXPECT_EQ(Input(0).ReceiveMultiple(nullptr, 1, &run.taken), E_POINTER);

    const ComPtr<CommitsAtEvent> observer{new CommitsAtEvent(sink->file())};
    mux->JoinFilterGraph(observer.get(), L"mux");
    before = Commits();
    SampleRun refused(13, 10);
    refused.samples[3]->type = mediakit_test::make_type(MEDIATYPE_Video, MEDIASUBTYPE_MJPG);
    EXPECT_EQ(refused.SendTo(Input(0)), VFW_E_INVALIDMEDIATYPE);
    EXPECT_EQ(refused.taken, 3);
    EXPECT_EQ(sink->ends(), 1) << "nothing after it can be decoded";
    EXPECT_EQ(observer->commits, before + 1) << "the end comes when all is with the system";
    EXPECT_EQ(Commits(), before + 1);
    EXPECT_EQ(Index(0).size(), 16u);
    mux->JoinFilterGraph(graph.get(), L"mux");
}

TEST_F(MP4MediaMuxFilter, BatchesAndStopTakeTurns) {
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
        const std::string layout = Layout();
        EXPECT_EQ(layout, "ftyp mdat moov");
        for (std::thread& sender : senders) sender.join();
        EXPECT_EQ(Stop(), S_OK);
        EXPECT_EQ(Layout(), layout) << "nothing is written after the end";
    }
    EXPECT_EQ(heap_sample::alive(), 0);
}

// Readers and observers

TEST_F(MP4MediaMuxFilter, AnswersReaders) {
    CMediaType type;
    ConnectVideoAndAudio();
    EXPECT_EQ(mux->GetTrackCount(), 2);
    EXPECT_EQ(mux->GetTrackMediaType(0, &type), VFW_E_WRONG_STATE) << "stopped";
    Play();
    EXPECT_EQ(mux->GetTrackMediaType(0, &type), VFW_E_WRONG_STATE) << "no sample yet";
    for (int n = 0; n < 3; ++n)
        for (const std::size_t source : {0u, 1u}) ASSERT_EQ(Send(source, n), S_OK);
    ASSERT_EQ(mux->GetTrackMediaType(0, &type), S_OK);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_AVC1);
    for (const int track : {2, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(mux->GetTrackMediaType(track, &type), E_INVALIDARG);
    EXPECT_FALSE(mux->GetBeginTime(0, nullptr));
    EXPECT_FALSE(mux->GetEndTime(0, nullptr));
    EXPECT_EQ(mux->GetSample(0, 0, 0, nullptr, nullptr), E_NOTIMPL);

    EndAll();
    mux->AddConsumer(0, 9, L"reader", 0, 0, nullptr);
    EXPECT_EQ(log.count(5,
                        L"AddConsumer 'reader' Input_0, 3 samples\n               firstSampleTime: "
                        L"00:00:00.000_0000 (10 bytes)\n                lastSampleTime: 00:00:00.080_0000"),
              1u);
    mux->RemoveConsumer(0, 9);
    mux->RemoveConsumer(0, 9);
    EXPECT_EQ(log.count(3, L"Removed consumer 'reader'"), 1u);
    EXPECT_EQ(mux->GetTrackPosition(0), 2 * kFrame);
    LONGLONG position = 0;
    EXPECT_EQ(Output().GetCurrentPosition(&position), S_OK);
    EXPECT_EQ(position, 2 * kFrame);
}

TEST_F(MP4MediaMuxFilter, KeepsStatisticsOnceAsked) {
    const auto info = ComPtr<IBaseFilter>(mux.get()).query<qz_ChannelIO::IPerformanceInfoProvider>();
    ASSERT_TRUE(info);
    const wchar_t* name = nullptr;
    EXPECT_EQ(info->GetWriterName(&name), S_OK);
    EXPECT_STREQ(name, L"MP4-Mux");
    StartVideoAndAudio();
    ASSERT_EQ(Send(0, 0, 7), S_OK);
    EXPECT_EQ(info->EnableStatistics(), S_OK);
    ASSERT_EQ(Send(0, 1, 20), S_OK);
    ASSERT_EQ(Send(0, 2, 30), S_OK);

    qz_ChannelIO::StreamStatistic statistic;
    EXPECT_EQ(info->UpdateTotals(MEDIATYPE_Video), S_OK);
    EXPECT_EQ(info->GetStatistic(MEDIATYPE_Video, &statistic), S_OK);
    EXPECT_EQ(statistic.samples, 2u);
    EXPECT_EQ(statistic.bytes, 50u);
    EXPECT_EQ(statistic.smallestSample, 20u);
    EXPECT_EQ(statistic.largestSample, 30u);
    EXPECT_EQ(statistic.firstStart, kFrame);
    EXPECT_EQ(statistic.lastStop, 3 * kFrame);
    EXPECT_DOUBLE_EQ(statistic.bitsPerSecond, 400 / 0.08);
    EXPECT_DOUBLE_EQ(statistic.samplesPerSecond, 25);
    std::vector<qz_ChannelIO::StreamSummary> summaries;
    EXPECT_EQ(info->GetSummaries(&summaries), S_OK);
    ASSERT_THAT(summaries, SizeIs(2));
    EXPECT_EQ(summaries[0].statistic.samples, 2u);
    EXPECT_EQ(summaries[1].majorType, MEDIATYPE_Audio);
    Input(0).NewSegment(0, MaxTime, 1.0);
    EXPECT_EQ(info->GetStatistic(MEDIATYPE_Video, &statistic), S_OK);
    EXPECT_EQ(statistic.samples, 0u);
    EXPECT_EQ(info->GetStatistic(MEDIATYPE_Stream, &statistic), S_OK);
}

/// Every interface leads to every other one and to one IUnknown, and no further.
template <class Object>
void ExpectIdentity(Object* object, std::initializer_list<IID> iids) {
    for (const IID& from : iids) {
        ComPtr<IUnknown> first;
        ASSERT_EQ(object->QueryInterface(from, first.put_void()), S_OK) << StringFromGUID(from);
        ComPtr<IUnknown> identity;
        first->QueryInterface(IID_IUnknown, identity.put_void());
        ComPtr<IUnknown> same;
        object->QueryInterface(IID_IUnknown, same.put_void());
        EXPECT_EQ(identity.get(), same.get()) << StringFromGUID(from);
        for (const IID& to : iids) {
            ComPtr<IUnknown> second;
            EXPECT_EQ(first->QueryInterface(to, second.put_void()), S_OK) << StringFromGUID(from) << StringFromGUID(to);
        }
        void* none = &none;
        EXPECT_EQ(first->QueryInterface(IID_IMemAllocator, &none), E_NOINTERFACE);
        EXPECT_EQ(none, nullptr);
    }
}

TEST_F(MP4MediaMuxFilter, IsOneObject) {
    ExpectIdentity(
        static_cast<IBaseFilter*>(mux.get()),
        {IID_IUnknown, IID_IPersist, IID_IMediaFilter, IID_IBaseFilter, IID_ILiveSourceProvider,
         qz_ChannelIO::IID_IPerformanceInfoProvider, qz_MPEGSystemFilters::IID_IMPEG4Mux, IID_IRecordingResult});
    ExpectIdentity(static_cast<IPin*>(&Input(0)), {IID_IUnknown, IID_IPin, IID_IQualityControl, IID_IMemInputPin,
                                                   qz_DSFilters::IID_IOverrideMediaType, IID_IRecordingPolicy});
    ExpectIdentity(static_cast<IPin*>(&Output()), {IID_IUnknown, IID_IPin, IID_IQualityControl, IID_IMediaSeeking,
                                                   IID_IAMAsyncReaderTimestampScaling});
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
