#include "VideoIO/FilterUtil/MediaTypes/MediaTypeNames.h"

#include "Platform/DirectShow/IQualityControl.h"
#include "Platform/DirectShow/WaveFormatTags.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypePredicates.h"

#include <gtest/gtest.h>

#include <string_view>

namespace qz_DSFilters {
namespace {

TEST(MediaTypeNames, NameWhatTheTablesHoldAndSpellOutTheRest) {
    EXPECT_EQ(GetInterfaceName(IID_IUnknown), L"IID_IUnknown");
    EXPECT_EQ(GetInterfaceName(IID_IQualityControl), L"IID_IQualityControl");
    EXPECT_EQ(GetInterfaceName(MEDIASUBTYPE_PCM), L"{00000001-0000-0010-8000-00AA00389B71}");
    EXPECT_EQ(GetMajorTypeName(MEDIATYPE_Stream), L"MEDIATYPE_Stream");
    EXPECT_EQ(GetMajorTypeName(MEDIATYPE_Interleaved), L"MEDIATYPE_Interleaved");
    EXPECT_EQ(GetMajorTypeName(MEDIATYPE_Video), L"{73646976-0000-0010-8000-00AA00389B71}");
    EXPECT_EQ(GetSubtypeName(MEDIASUBTYPE_h265), L"MEDIASUBTYPE_h265");
    EXPECT_EQ(GetSubtypeName(MEDIASUBTYPE_H265), L"MEDIASUBTYPE_H265");
    EXPECT_EQ(GetSubtypeName(MEDIASUBTYPE_None), L"MEDIASUBTYPE_None");
    EXPECT_EQ(GetSubtypeName(GUID_NULL), L"{00000000-0000-0000-0000-000000000000}");
    EXPECT_EQ(GetFormatTypeName(FORMAT_MPEG2Video), L"FORMAT_MPEG2_VIDEO");
    EXPECT_EQ(GetFormatTypeName(FORMAT_None), L"FORMAT_None");
}

TEST(MediaTypeNames, NameWaveFormatTags) {
    EXPECT_EQ(GetWaveFormatTagName(0), L"WAVE_FORMAT_UNKNOWN");
    EXPECT_EQ(GetWaveFormatTagName(0xFF), L"WAVE_FORMAT_RAW_AAC1");
    EXPECT_EQ(GetWaveFormatTagName(0x85), L"WAVE_FORMAT_QZ_G726");
    EXPECT_EQ(GetWaveFormatTagName(0xFFFE), L"WAVE_FORMAT_EXTENSIBLE");
    EXPECT_EQ(GetWaveFormatTagName(WAVE_FORMAT_PCM), L"1");
    int named = 0;
    for (unsigned tag = 0; tag <= 0xFFFF; ++tag)
        named += GetWaveFormatTagName(static_cast<WORD>(tag)).starts_with(L"WAVE_FORMAT_");
    EXPECT_EQ(named, 265);
}

TEST(MediaTypeNames, NameChannelsInTheOrderOfTheirBits) {
    EXPECT_EQ(GetChannelNames(0), L"");
    EXPECT_EQ(GetChannelNames(3), L"Front Left, Front Right");
    EXPECT_EQ(GetChannelNames(0x60F), L"Front Left, Front Right, Front Center, Low Frequency, Side Left, Side Right");
    EXPECT_EQ(GetChannelNames(0xFFFE0000), L"Top Back Right");
}

TEST(MediaTypeNames, ShowFourCharacterCodes) {
    EXPECT_EQ(GetFourCCName(0x31435641), L"AVC1");
    EXPECT_EQ(GetFourCCName(0x7A397A30), L"0z9z");
    EXPECT_EQ(GetFourCCName(0), L"0x00000000");
    EXPECT_EQ(GetFourCCName(0x20435641), L"0x20435641");
    EXPECT_EQ(GetFourCCName(0xE9435641), L"0xE9435641");
}

TEST(MediaTypePredicates, TellFamiliesApart) {
    const auto typeOf = [](const GUID& major, const GUID& subtype) {
        AM_MEDIA_TYPE type{};
        type.majortype = major;
        type.subtype = subtype;
        return type;
    };
    for (const std::string_view code : {"NV12", "YUY2", "YVYU", "YUYV", "UYVY", "IYUV", "YV12", "I420", "YVU9", "HDYC",
                                        "BYRG", "BYGB", "BYGR", "BYBG", "Y800"}) {
        DWORD number = 0;
        for (std::size_t i = 4; i-- > 0;) number = number << 8 | static_cast<BYTE>(code[i]);
        EXPECT_TRUE(IsUncompressedVideo(typeOf(MEDIATYPE_Video, subtype_of(number)))) << code;
    }
    for (const GUID& rgb : {MEDIASUBTYPE_RGB32, MEDIASUBTYPE_ARGB32, MEDIASUBTYPE_RGB24, MEDIASUBTYPE_RGB555,
                            MEDIASUBTYPE_RGB565, MEDIASUBTYPE_RGB8})
        EXPECT_TRUE(IsUncompressedVideo(typeOf(MEDIATYPE_Video, rgb)));
    for (const GUID& other : {MEDIASUBTYPE_Y411, MEDIASUBTYPE_H264, MEDIASUBTYPE_MJPG, GUID_NULL})
        EXPECT_FALSE(IsUncompressedVideo(typeOf(MEDIATYPE_Video, other)));
    EXPECT_FALSE(IsUncompressedVideo(typeOf(MEDIATYPE_Stream, MEDIASUBTYPE_NV12)));
    EXPECT_TRUE(IsPCM(typeOf(MEDIATYPE_Audio, MEDIASUBTYPE_PCM)));
    EXPECT_TRUE(IsPCM(typeOf(MEDIATYPE_Audio, MEDIASUBTYPE_IEEE_FLOAT)));
    EXPECT_FALSE(IsPCM(typeOf(MEDIATYPE_Audio, MEDIASUBTYPE_RAW_AAC1)));
    EXPECT_FALSE(IsPCM(typeOf(MEDIATYPE_Video, MEDIASUBTYPE_PCM)));

    for (const DWORD code : {0xFFu, 0x1600u, 0x180u, 0xA106u, 0x1610u, 0x4134504Du, 0x6134706Du, 0x278u})
        EXPECT_TRUE(IsAACSubtype(subtype_of(code))) << std::hex << code;
    EXPECT_FALSE(IsAACSubtype(MEDIASUBTYPE_MPEG_RAW_AAC));
    EXPECT_TRUE(IsH264Subtype(MEDIASUBTYPE_H264) && IsH264Subtype(MEDIASUBTYPE_AVC1));
    EXPECT_FALSE(IsH264Subtype(MEDIASUBTYPE_X264) || IsH264Subtype(MEDIASUBTYPE_HVC1));
    EXPECT_TRUE(IsH265Subtype(MEDIASUBTYPE_H265) && IsH265Subtype(MEDIASUBTYPE_HVC1));
    EXPECT_FALSE(IsH265Subtype(MEDIASUBTYPE_h265) || IsH265Subtype(MEDIASUBTYPE_AVC1));
}

}  // namespace
}  // namespace qz_DSFilters
