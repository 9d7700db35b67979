#include "Tools/mediakit/sample_adapter.h"

#include "Platform/DirectShow/MediaFormats.h"
#include "Testing/Kit/codec_types.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"

#include <gmock/gmock.h>

namespace mediakit_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Norvane::MediaKit::Filters::TrackInformation;
using testing::ElementsAre;

Bytes Adapted(SampleAdapter& adapter, Bytes& sample, bool sync, bool damaged = false) {
    static Bytes copy;
    const auto result = adapter.Adapt(sample, sync, copy);
    EXPECT_EQ(result.damaged, damaged);
    return {result.bytes.begin(), result.bytes.end()};
}

TEST(SampleAdapter, GivesH265StartCodesAndItsFirstSampleTheSetsThatItLacks) {
    const CMediaType type = mediakit_test::hvc1_type(mediakit_test::h265_units());
    std::vector<BYTE> sets;
    DWORD length = 0;
    ASSERT_EQ(qz_DSFilters::GetAVCConfig(type, sets, length), S_OK);
    const AdaptedStream stream = AdaptForMultiplexer(type, {});
    EXPECT_EQ(stream.type.subtype, MEDIASUBTYPE_H265);
    REFERENCE_TIME before = 0, after = 0;
    qz_DSFilters::GetAvgTimePerFrame(type, before);
    qz_DSFilters::GetAvgTimePerFrame(stream.type, after);
    EXPECT_EQ(after, before);
    ASSERT_TRUE(stream.adapter);

    const Bytes slice = {0, 0, 0, 3, 0x26, 1, 7};  // IDR_W_RADL
    Bytes first = slice;
    Bytes expected = sets;
    expected.insert(expected.end(), {0, 0, 0, 1, 0x26, 1, 7});
    EXPECT_EQ(Adapted(*stream.adapter, first, true), expected);

    Bytes other = {0, 0, 0, 3, 0x02, 1, 9, 0, 0, 0, 9, 0x02, 1};
    Bytes copy;
    const auto inPlace = stream.adapter->Adapt(other, false, copy);
    EXPECT_EQ(inPlace.bytes.data(), other.data()) << "nothing is copied when nothing is put in";
    EXPECT_THAT(inPlace.bytes, ElementsAre(0, 0, 0, 1, 0x02, 1, 9));
    EXPECT_TRUE(inPlace.damaged);

    Bytes second = slice;
    EXPECT_THAT(Adapted(*stream.adapter, second, true), ElementsAre(0, 0, 0, 1, 0x26, 1, 7));
    Bytes delimiter = {0, 0, 0, 3, 0x46, 1, 0x50, 0, 0, 0, 9, 0x26};
    EXPECT_THAT(Adapted(*stream.adapter, delimiter, true, true), ElementsAre()) << "no picture is left";
}

TEST(SampleAdapter, AllSyncSamplesOfH265GetSetsThatTheConfigurationCannotHold) {
    const mediakit_test::h265_units units;
    Bytes sets = units.vps();
    for (const Bytes& set : {units.sps(), units.pps(), units.pps()}) sets.insert(sets.end(), set.begin(), set.end());
    CMediaType type;
    const SIZE size{64, 64};
    ASSERT_EQ(
        qz_DSFilters::BuildHVC1MediaType(size, size, 0, 400'000, 0, 1, 93, mediakit_test::split_annex_b(sets), 4, type),
        S_OK);
    const AdaptedStream stream = AdaptForMultiplexer(type, {});
    ASSERT_TRUE(stream.adapter);
    Bytes expected = sets;
    expected.insert(expected.end(), {0, 0, 0, 1, 0x26, 1, 7});
    for (const bool sync : {true, true, false}) {
        Bytes sample = {0, 0, 0, 3, 0x26, 1, 7};
        EXPECT_EQ(Adapted(*stream.adapter, sample, sync), sync ? expected : Bytes(expected.end() - 7, expected.end()));
    }
}

TEST(SampleAdapter, RefusesVideoWithoutAConfiguration) {
    for (const GUID& subtype : {MEDIASUBTYPE_HVC1, MEDIASUBTYPE_AVC1}) {
        CMediaType type = mediakit_test::hvc1_type(mediakit_test::h265_units());
        type.SetSubtype(&subtype);
        EXPECT_EQ(AdaptForMultiplexer(type, {}).refusal, "");
        type.ReallocFormatBuffer(8);
        const AdaptedStream stream = AdaptForMultiplexer(type, {});
        EXPECT_FALSE(stream.adapter);
        EXPECT_EQ(stream.refusal, "its decoder configuration cannot be used");
    }
}

TEST(SampleAdapter, GivesH264PrefixesOfFourBytes) {
    CMediaType type = mediakit_test::avc1_type(mediakit_test::h264_units());
    EXPECT_FALSE(AdaptForMultiplexer(type, {}).adapter) << "they are so already";
    qz_DSFilters::FormatBlock<MPEG2VIDEOINFO>(type)->dwFlags = 2;
    const AdaptedStream stream = AdaptForMultiplexer(type, {});
    ASSERT_TRUE(stream.adapter);
    EXPECT_EQ(stream.type.subtype, MEDIASUBTYPE_AVC1);
    EXPECT_EQ(qz_DSFilters::FormatBlock<MPEG2VIDEOINFO>(stream.type)->dwFlags, 4u);
    Bytes whole = {0, 2, 0x65, 1, 0, 0, 0, 1, 0x41};
    EXPECT_THAT(Adapted(*stream.adapter, whole, true), ElementsAre(0, 0, 0, 2, 0x65, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0x41));
    Bytes cut = {0, 1, 0x65, 0, 3, 0x41, 2};
    EXPECT_THAT(Adapted(*stream.adapter, cut, true, true), ElementsAre(0, 0, 0, 1, 0x65));
    Bytes shorter = {9};
    EXPECT_THAT(Adapted(*stream.adapter, shorter, true, true), ElementsAre());
}

TEST(SampleAdapter, FillsInWhatTheMultiplexerNeeds) {
    const TrackInformation track{.sampleCount = 100, .totalBytes = 40'000, .duration = 20'000'000};
    CMediaType sound = mediakit_test::aac_type();
    const auto bytes = [](const CMediaType& type) {
        return qz_DSFilters::FormatBlock<WAVEFORMATEX>(type)->nAvgBytesPerSec;
    };
    qz_DSFilters::FormatBlock<WAVEFORMATEX>(sound)->nAvgBytesPerSec = 0;
    EXPECT_EQ(bytes(AdaptForMultiplexer(sound, track).type), 20'000u);
    EXPECT_EQ(bytes(AdaptForMultiplexer(sound, {}).type), 1u);
    qz_DSFilters::FormatBlock<WAVEFORMATEX>(sound)->nAvgBytesPerSec = 7;
    EXPECT_EQ(bytes(AdaptForMultiplexer(sound, track).type), 7u);

    const struct {
        REFERENCE_TIME told;
        TrackInformation track;
        REFERENCE_TIME given;
    } cases[] = {{333'333, track, 333'333},
                 {0, track, 200'000},
                 {0, {}, 400'000},
                 {REFERENCE_TIME{1} << 62, track, 36'000'000'000}};
    for (const auto& one : cases) {
        CMediaType video = mediakit_test::avc1_type(mediakit_test::h264_units());
        ASSERT_EQ(qz_DSFilters::SetAvgTimePerFrame(video, one.told), S_OK);
        REFERENCE_TIME given = 0;
        qz_DSFilters::GetAvgTimePerFrame(AdaptForMultiplexer(video, one.track).type, given);
        EXPECT_EQ(given, one.given);
    }
}

}  // namespace
}  // namespace mediakit_tool
