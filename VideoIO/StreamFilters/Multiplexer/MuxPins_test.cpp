#include "MediaKit/Results.h"
#include "Platform/DirectShow/CMemAllocator.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxPerformanceCounters.h"
#include "VideoIO/StreamFilters/Multiplexer/MuxRig_test.h"

#include <gmock/gmock.h>

namespace Norvane::MediaKit::Filters {
namespace {

using namespace testdata;

struct MuxPins : testing::Test, MuxRig {};

std::wstring NameOf(IPin& pin) {
    PIN_INFO info{};
    pin.QueryPinInfo(&info);
    if (info.pFilter != nullptr) info.pFilter->Release();
    return info.achName;
}

TEST_F(MuxPins, OneFreeInputIsAlwaysOnOffer) {
    EXPECT_EQ(mux->GetPinCount(), 2);
    EXPECT_EQ(NameOf(*mux->GetPin(0)), L"Input_0");
    EXPECT_EQ(NameOf(*mux->GetPin(1)), L"Output");
    EXPECT_EQ(mux->GetPin(2), nullptr);
    EXPECT_EQ(mux->GetPin(-1), nullptr);
    const LONG version = mux->GetPinVersion();
    ConnectVideoAndAudio();
    EXPECT_EQ(mux->GetPinCount(), 4);
    EXPECT_EQ(NameOf(*mux->GetPin(2)), L"Input_2");
    EXPECT_EQ(NameOf(*mux->GetPin(3)), L"Output");
    EXPECT_GT(mux->GetPinVersion(), version);

    (*this)[0].Disconnect();
    Input(0).Disconnect();
    const CMediaType type = mediakit_test::aac_type();
    EXPECT_EQ((*this)[0].Connect(&Input(0), &type), S_OK);
    EXPECT_EQ(mux->GetPinCount(), 4) << "not the last one";
}

TEST_F(MuxPins, TakesH264H265AndAac) {
    MP4MediaMuxInputPin& pin = Input(0);
    const auto check = [&](const GUID& major, const GUID& subtype) {
        const CMediaType type = mediakit_test::make_type(major, subtype);
        return pin.CheckMediaType(&type);
    };
    for (const GUID& subtype : {MEDIASUBTYPE_H264, MEDIASUBTYPE_AVC1, MEDIASUBTYPE_H265, MEDIASUBTYPE_HVC1}) {
        EXPECT_EQ(check(MEDIATYPE_Video, subtype), S_OK);
        EXPECT_EQ(check(MEDIATYPE_Audio, subtype), VFW_E_TYPE_NOT_ACCEPTED);
    }
    for (const DWORD code : {0xFFu, 0x1600u, 0x180u, 0xA106u, 0x1610u, 0x4134504Du, 0x6134706Du, 0x278u}) {
        GUID subtype = MEDIASUBTYPE_PCM;
        subtype.Data1 = code;
        EXPECT_EQ(check(MEDIATYPE_Audio, subtype), S_OK) << code;
        EXPECT_EQ(check(MEDIATYPE_Video, subtype), VFW_E_TYPE_NOT_ACCEPTED) << code;
    }
    for (const GUID& subtype : {MEDIASUBTYPE_PCM, MEDIASUBTYPE_MPEG_RAW_AAC, MEDIASUBTYPE_MP3})
        EXPECT_EQ(check(MEDIATYPE_Audio, subtype), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(check(MEDIATYPE_Video, MEDIASUBTYPE_MJPG), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(pin.CheckMediaType(nullptr), E_INVALIDARG);
    EXPECT_EQ(log.count(1, L"pmt != 0"), 1u);
}

TEST_F(MuxPins, AsksForManyBuffers) {
    ALLOCATOR_PROPERTIES properties{1, 2, 3, 4};
    EXPECT_EQ(Input(0).GetAllocatorRequirements(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers, 100);
    EXPECT_EQ(properties.cbBuffer, 0);
    EXPECT_EQ(properties.cbAlign, 0);
    EXPECT_EQ(properties.cbPrefix, 0);

    for (const LONG buffers : {19, 20}) {
        ComPtr<IMemAllocator> allocator;
        ASSERT_EQ(CreateMemoryAllocator(allocator.put()), S_OK);
        ALLOCATOR_PROPERTIES request{buffers, 100, 1, 0};
        ALLOCATOR_PROPERTIES actual{};
        ASSERT_EQ(allocator->SetProperties(&request, &actual), S_OK);
        EXPECT_EQ(Input(0).NotifyAllocator(allocator.get(), FALSE), buffers < 20 ? E_INVALIDARG : S_OK);
    }
    EXPECT_EQ(log.count(1, L"propAlloc.cBuffers >= 20"), 1u);
    EXPECT_EQ(Input(0).NotifyAllocator(nullptr, FALSE), E_POINTER);
}

TEST_F(MuxPins, OutputProposesAByteStream) {
    CMediaType type;
    EXPECT_EQ(Output().GetMediaType(0, &type), S_OK);
    EXPECT_EQ(type.majortype, MEDIATYPE_Stream);
    EXPECT_EQ(type.subtype, GUID_NULL);
    EXPECT_EQ(Output().GetMediaType(1, &type), VFW_S_NO_MORE_ITEMS);
    ConnectVideo();
    ALLOCATOR_PROPERTIES properties{};
    ASSERT_EQ(sink->allocator()->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers, 200);
    EXPECT_EQ(properties.cbBuffer, 4096);
    EXPECT_EQ(properties.cbAlign, 1);
}

TEST_F(MuxPins, OutputTellsWhereTheRecordingIs) {
    const auto seeking = ComPtr<IPin>(&Output()).query<IMediaSeeking>();
    ASSERT_TRUE(seeking);
    DWORD capabilities = 0;
    EXPECT_EQ(seeking->GetCapabilities(&capabilities), S_OK);
    EXPECT_EQ(capabilities, 0x38u);
    GUID format{};
    EXPECT_EQ(seeking->GetTimeFormat(&format), S_OK);
    EXPECT_EQ(format, TIME_FORMAT_MEDIA_TIME);
    EXPECT_EQ(seeking->IsFormatSupported(&TIME_FORMAT_MEDIA_TIME), S_OK);
    EXPECT_EQ(seeking->IsFormatSupported(&TIME_FORMAT_BYTE), S_FALSE);
    LONGLONG value = 1;
    EXPECT_EQ(seeking->GetCurrentPosition(&value), S_OK);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(seeking->GetStopPosition(&value), S_OK);
    EXPECT_EQ(value, MaxTime);
    double rate = 0;
    EXPECT_EQ(seeking->GetRate(&rate), S_OK);
    EXPECT_EQ(rate, 1.0);

    const HRESULT missing[] = {seeking->CheckCapabilities(&capabilities),
                               seeking->SetTimeFormat(&format),
                               seeking->GetDuration(&value),
                               seeking->ConvertTimeFormat(&value, nullptr, 0, nullptr),
                               seeking->GetPositions(&value, &value),
                               seeking->GetAvailable(&value, &value),
                               seeking->SetRate(1.0),
                               seeking->GetPreroll(&value)};
    EXPECT_THAT(missing, testing::Each(E_NOTIMPL));
    EXPECT_EQ(log.count(1, L"0x80004001"), std::size(missing));

    const auto scaling = ComPtr<IPin>(&Output()).query<IAMAsyncReaderTimestampScaling>();
    ASSERT_TRUE(scaling);
    BOOL raw = TRUE;
    EXPECT_EQ(scaling->GetTimestampMode(&raw), S_OK);
    EXPECT_EQ(raw, FALSE);
    EXPECT_TRUE(FAILED(scaling->SetTimestampMode(TRUE)));
}

TEST_F(MuxPins, OverridesReachTheTrack) {
    ConnectVideoAndAudio();
    const auto video = ComPtr<IPin>(&Input(0)).query<qz_DSFilters::IOverrideMediaType>();
    ASSERT_TRUE(video);
    EXPECT_EQ(video->SetAspectRatio(nullptr), S_FALSE);
    EXPECT_EQ(video->SetInterlaceFlags(0), S_FALSE);
    EXPECT_EQ(video->SetRate(nullptr), S_FALSE);
    EXPECT_EQ(video->SetOrientation(qz_DSFilters::VideoOrientation_180), S_OK);
    EXPECT_EQ(Input(0).Track().orientation, 2u);
    EXPECT_EQ(Input(1).SetOrientation(2), S_OK);
    EXPECT_EQ(Input(1).Track().orientation, 4u) << "sound has none";
}

TEST_F(MuxPins, PoliciesAreForTheTimeBeforeTheFirstSample) {
    ConnectVideo();
    const auto policy = ComPtr<IPin>(&Input(0)).query<IRecordingPolicy>();
    ASSERT_TRUE(policy);
    RecordingOptions options{.keepEveryH265Unit = true, .timescale = 12800};
    EXPECT_EQ(policy->SetOptions(&options), S_OK);
    Play();
    ASSERT_EQ(Send(0, 0), S_OK);
    EXPECT_EQ(Input(0).Track().timescale, 12800u);
    options.timescale = 0;
    EXPECT_EQ(policy->SetOptions(&options), VFW_E_WRONG_STATE);
    EXPECT_EQ(policy->GetOptions(&options), S_OK);
    EXPECT_TRUE(options.keepEveryH265Unit);
    EXPECT_EQ(options.timescale, 12800u);
}

TEST(MuxPerformanceCountersTest, KeepsTheLastThreeHundredInOneRun) {
    MuxPerformanceCounters counters;
    EXPECT_EQ(counters.Minimum(), 1e100);
    EXPECT_EQ(counters.Maximum(), -1.0);
    for (int n = 1; n <= 750; ++n) {
        counters.Add(n);
        const auto last = counters.Last();
        ASSERT_EQ(last.size(), static_cast<std::size_t>(std::min(n, 300)));
        ASSERT_EQ(last.back().seconds, n);
        ASSERT_EQ(last.front().seconds, std::max(1, n - 299));
    }
    EXPECT_EQ(counters.Count(), 750u);
    EXPECT_EQ(counters.Sum(), 750 * 751 / 2);
    EXPECT_EQ(counters.Minimum(), 1);
    EXPECT_EQ(counters.Maximum(), 750);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters
