#include "VideoIO/StreamFilters/Multiplexer/MuxFilter.h"

#include "Platform/Kernel/Text.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxRig_test.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkFilter.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <thread>

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;

struct MuxFilterTest : testing::Test, MuxRig {};

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

TEST_F(MuxFilterTest, OtherSeeksGoUpstream) {
    LONGLONG position = 5;
    EXPECT_EQ(Output().SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK) << "nobody is there";

    mediakit_test::fake<SeekablePin> first(L"first");
    mediakit_test::fake<SeekablePin> second(L"second");
    const CMediaType type = mediakit_test::aac_type();
    ASSERT_EQ(first->Connect(&Input(0), &type), S_OK);
    ASSERT_EQ(second->Connect(&Input(1), &type), S_OK);
    Input(0).EndOfStream();
    EXPECT_TRUE(Input(0).State().endOfStream);

    first->answer = E_NOTIMPL;
    EXPECT_EQ(Output().SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    EXPECT_EQ(second->seeks, 1);
    EXPECT_FALSE(Input(0).State().endOfStream) << "samples come again";
    first->answer = E_FAIL;
    EXPECT_EQ(Output().SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), E_FAIL);
    EXPECT_EQ(second->seeks, 1) << "the first failure ends it";
    // A stop position together with another flag is a seek like any other.
    EXPECT_EQ(Output().SetPositions(nullptr, 0, &position, AM_SEEKING_AbsolutePositioning | AM_SEEKING_NoFlush),
              E_FAIL);
    EXPECT_EQ(first->seeks, 3);
    for (int n : {0, 1}) Input(n).Disconnect();
}

TEST_F(MuxFilterTest, ASeekBehindTheEndOpensTheRecordingAgain) {
    mediakit_test::fake<SeekablePin> source(L"seekable");
    const CMediaType type = mediakit_test::avc1_type(mediakit_test::h264_units(), Frame);
    ASSERT_EQ(source->Connect(&Input(0), &type), S_OK);
    ASSERT_EQ(ConnectSink(), S_OK);
    Play();
    ASSERT_EQ(source.filter->Pause(), S_OK);
    EXPECT_EQ(source->send({{1}, 0, Frame}), S_OK);
    source->end();
    EXPECT_EQ(sink->ends(), 1);
    EXPECT_EQ(source->send({{2}, Frame, 2 * Frame}), S_FALSE);

    LONGLONG position = 0;
    EXPECT_EQ(Output().SetPositions(&position, AM_SEEKING_AbsolutePositioning, nullptr, 0), S_OK);
    const wil::unique_event abort{wil::EventOptions::ManualReset};
    std::vector<LiveSampleInfo> samples;
    mux->AddConsumer(0, 7, L"reader", 0, 0, nullptr);
    EXPECT_EQ(mux->GetSamples(0, 7, &samples, 0, abort.get()), S_OK) << "the history";
    EXPECT_EQ(mux->GetSamples(0, 7, &samples, 0, abort.get()), VFW_E_TIMEOUT) << "more may come";
    EXPECT_EQ(source->send({{2}, Frame, 2 * Frame}), S_OK);
    source->end();
    EXPECT_EQ(sink->ends(), 2);
    EXPECT_EQ(mux->GetSamples(0, 7, &samples, 0, abort.get()), S_OK);
    EXPECT_EQ(samples.size(), 1u);
    EXPECT_EQ(mux->GetSamples(0, 7, &samples, 0, abort.get()), S_FALSE);
    source.filter->Stop();
    Stop();
    Input(0).Disconnect();
}

TEST_F(MuxFilterTest, NoTrackHasANegativeNumber) {
    CMediaType type;
    EXPECT_EQ(mux->GetTrackMediaType(-1, &type), E_INVALIDARG);
    ConnectVideo();
    Play();
    EXPECT_EQ(mux->GetTrackMediaType(std::numeric_limits<int>::min(), &type), E_INVALIDARG);
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

TEST_F(MuxFilterTest, IsOneObjectWhicheverInterfaceIsHeld) {
    ExpectIdentity(static_cast<IBaseFilter*>(mux.get()),
                   {IID_IUnknown, IID_IPersist, IID_IMediaFilter, IID_IBaseFilter, IID_ILiveSourceProvider,
                    qz_ChannelIO::IID_IPerformanceInfoProvider, qz_MPEGSystemFilters::IID_IMPEG4Mux});
    ExpectIdentity(static_cast<IPin*>(&Input(0)), {IID_IUnknown, IID_IPin, IID_IQualityControl, IID_IMemInputPin,
                                                   qz_DSFilters::IID_IOverrideMediaType, IID_IRecordingPolicy});
    ExpectIdentity(static_cast<IPin*>(&Output()), {IID_IUnknown, IID_IPin, IID_IQualityControl, IID_IMediaSeeking,
                                                   IID_IAMAsyncReaderTimestampScaling});
}

/// The host stops at any moment: one source in the middle of a Receive, the other at its end.
TEST_F(MuxFilterTest, StopsWhileSourcesReceiveAndEnd) {
    ConnectVideoAndAudio();
    for (const std::size_t source : {0u, 1u})
        for (int n = 0; n < (source == 0 ? 200 : 30); ++n)
            (*this)[source].script.push_back({std::vector<BYTE>(20, 1), n * Frame, (n + 1) * Frame, true});
    sink->on_receive = [](IMediaSample*) {
        std::this_thread::sleep_for(std::chrono::microseconds(100));
        return S_OK;
    };
    for (int round = 0; round < 12; ++round) {
        sink->file().set_bytes({});
        Play();
        std::this_thread::sleep_for(std::chrono::milliseconds(round * 2));
        EXPECT_EQ(mux->Stop(), S_OK);
        const std::string layout = Layout();
        EXPECT_TRUE(layout.empty() || layout == "ftyp mdat moov") << layout;
        EXPECT_EQ(Stop(), S_OK);
        EXPECT_EQ(Layout(), layout) << "nothing is written behind the end";
    }
}

/// A recording to a file, and who looks at it from outside of this process's streams.
struct OverTheRealSink : MuxFilterTest {
    OverTheRealSink()
        : path(std::filesystem::path(testing::TempDir()) /
               (std::string("mux_") + testing::UnitTest::GetInstance()->current_test_info()->name())) {
        file->SetFileName(win32::ConvertFromUtf8(path.string()).c_str(), nullptr);
    }
    ~OverTheRealSink() override {
        Stop();
        file->Stop();
        Output().Disconnect();
        file->GetPin(0)->Disconnect();
        file.reset();
        std::filesystem::remove(path);
    }

    void Start(int tracks) {
        ASSERT_EQ(AddSource(mediakit_test::avc1_type(mediakit_test::h264_units(), Frame)), S_OK);
        if (tracks == 2) {
            ASSERT_EQ(AddSource(mediakit_test::aac_type()), S_OK);
        }
        ASSERT_EQ(Output().Connect(file->GetPin(0), nullptr), S_OK);
        ASSERT_EQ(file->Pause(), S_OK);
        Play();
    }
    std::string OnDisk() const {
        std::ifstream observer(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(observer), {});
    }
    /// The number of samples that readers are told of, all of which the observer must see.
    std::size_t ExpectAllOnDisk(std::uint32_t track) {
        const std::string bytes = OnDisk();
        const auto samples = Index(track);
        for (std::size_t n = 0; n < samples.size(); ++n) {
            const auto& sample = samples[n];
            const std::string expected(sample.size, static_cast<char>(track * 100 + n));
            EXPECT_TRUE(bytes.size() >= sample.offset + sample.size &&
                        bytes.substr(sample.offset, sample.size) == expected)
                << "track " << track << " sample " << n << " of " << samples.size();
        }
        return samples.size();
    }

    std::filesystem::path path;
    ComPtr<SharedFileSinkFilter> file{new SharedFileSinkFilter(nullptr, nullptr)};
};

TEST_F(OverTheRealSink, WhatIsReceivedIsWithTheSystemWhenReceiveReturns) {
    Start(2);
    for (int n = 0; n < 40; ++n) {
        for (const std::size_t source : {0u, 1u}) {
            ASSERT_EQ(Send(source, n, source == 0 ? 3000 : 50), S_OK);
            for (const std::uint32_t track : {0u, 1u}) ExpectAllOnDisk(track);
        }
    }
    EXPECT_LT(ExpectAllOnDisk(0), 40u);
    for (const std::size_t source : {0u, 1u}) (*this)[source].end();
    for (const std::uint32_t track : {0u, 1u}) EXPECT_EQ(ExpectAllOnDisk(track), 40u) << "the tail";
    Stop();
    const std::string bytes = OnDisk();
    EXPECT_EQ(bytes.substr(24 + 8 + 40 * 3050 + 4, 4), "moov");
    for (const std::uint32_t track : {0u, 1u}) EXPECT_EQ(ExpectAllOnDisk(track), 40u);
}

TEST_F(OverTheRealSink, ATrackAloneIsWithTheSystemSampleBySample) {
    Start(1);
    for (int n = 0; n < 10; ++n) {
        ASSERT_EQ(Send(0, n, 10), S_OK);
        EXPECT_GE(ExpectAllOnDisk(0) + 1, static_cast<std::size_t>(n));
    }
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
