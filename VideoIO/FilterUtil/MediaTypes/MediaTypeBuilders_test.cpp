#include "VideoIO/FilterUtil/MediaTypes/MediaTypeBuilders.h"

#include "Testing/Kit/log_capture.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>

namespace qz_DSFilters {
namespace {

/// A format block written out by hand, little-endian.
class Bytes {
public:
    Bytes& u16(std::initializer_list<unsigned> values) { return Numbers(values, 2); }
    Bytes& u32(std::initializer_list<unsigned> values) { return Numbers(values, 4); }
    Bytes& raw(std::initializer_list<unsigned> values) { return Numbers(values, 1); }
    Bytes& zeros(std::size_t count) {
        m_bytes.resize(m_bytes.size() + count);
        return *this;
    }
    operator std::vector<BYTE>() const { return m_bytes; }

private:
    Bytes& Numbers(std::initializer_list<unsigned> values, int width) {
        for (const unsigned value : values)
            for (int i = 0; i < width; ++i) m_bytes.push_back(static_cast<BYTE>(value >> 8 * i));
        return *this;
    }

    std::vector<BYTE> m_bytes;
};

std::vector<BYTE> BlockOf(const CMediaType& type) { return {type.pbFormat, type.pbFormat + type.cbFormat}; }

/// What a builder must not leave behind.
CMediaType UsedType() {
    CMediaType type(&MEDIATYPE_Text);
    type.subtype = MEDIASUBTYPE_Avi;
    type.bTemporalCompression = TRUE;
    type.lSampleSize = 99;
    const BYTE block[] = {1, 2, 3};
    type.SetFormat(block, sizeof block);
    return type;
}

constexpr BYTE Extra[] = {0x12, 0x10, 0x56};

TEST(BuildPCMMediaType, WritesAWaveFormat) {
    CMediaType type = UsedType();
    ASSERT_EQ(BuildPCMMediaType(0xFF, 2, 48000, 16, 16000, Extra, sizeof Extra, type), S_OK);
    EXPECT_EQ(type.majortype, MEDIATYPE_Audio);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_RAW_AAC1);
    EXPECT_EQ(type.formattype, FORMAT_WaveFormatEx);
    EXPECT_EQ(type.bFixedSizeSamples, TRUE);
    EXPECT_EQ(type.bTemporalCompression, FALSE);
    EXPECT_EQ(type.lSampleSize, 4u);
    EXPECT_EQ(BlockOf(type),
              std::vector<BYTE>(Bytes().u16({0xFF, 2}).u32({48000, 16000}).u16({4, 16, 3}).raw({0x12, 0x10, 0x56})));
}

TEST(BuildPCMMediaType, LeavesRoomForExtraDataThatAreNotGiven) {
    CMediaType type;
    ASSERT_EQ(BuildPCMMediaType(1, 1, 8000, 8, 8000, nullptr, 2, type), S_OK);
    EXPECT_EQ(BlockOf(type), std::vector<BYTE>(Bytes().u16({1, 1}).u32({8000, 8000}).u16({1, 8, 2}).zeros(2)));
}

TEST(BuildPCMMediaType, RefusesWhatItCannotTell) {
    const struct {
        WORD channels, bits;
        const wchar_t* condition;
    } rows[] = {{2, 12, L"(nbrOfBitsPerSample % 8) == 0"},
                {3, 16, L"nbrOfChannels <= 2"},
                {2, 40, L"nbrOfBitsPerSample <= 32"}};
    for (const auto& row : rows) {
        const mediakit_test::log_capture log;
        CMediaType type = UsedType();
        EXPECT_EQ(BuildPCMMediaType(1, row.channels, 48000, row.bits, 0, nullptr, 0, type), E_INVALIDARG);
        EXPECT_EQ(type.cbFormat, 0u);
        EXPECT_EQ(log.count(1, row.condition), 1u);
    }
    const mediakit_test::log_capture log;
    CMediaType type;
    EXPECT_EQ(BuildPCMMediaType(1, 2, 48000, 16, 0, nullptr, 0xFFFFFFF0, type), E_OUTOFMEMORY);
    EXPECT_EQ(log.count(1, L"pwfex != 0"), 1u);
}

TEST(BuildExtensibleMediaType, WritesAnExtensibleWaveFormat) {
    CMediaType type = UsedType();
    ASSERT_EQ(BuildExtensibleMediaType(0xFF, 6, 44100, 20, 0x3F, Extra, sizeof Extra, type), S_OK);
    EXPECT_EQ(type.majortype, MEDIATYPE_Audio);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_RAW_AAC1);
    EXPECT_EQ(type.formattype, FORMAT_WaveFormatEx);
    EXPECT_EQ(type.bFixedSizeSamples, TRUE);
    EXPECT_EQ(type.lSampleSize, 12u);  // whole bytes of 20 bits
    EXPECT_EQ(BlockOf(type), std::vector<BYTE>(Bytes()
                                                   .u16({0xFFFE, 6})
                                                   .u32({44100, 12 * 44100})
                                                   .u16({12, 20, 25, 20})
                                                   .u32({0x3F, 0x000000FF})
                                                   .u16({0, 0x10})
                                                   .raw({0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71})
                                                   .raw({0x12, 0x10, 0x56})));
}

TEST(BuildVideoInfo2MediaType, WritesTheHeaderAndExtraData) {
    CMediaType type = UsedType();
    ASSERT_EQ(BuildVideoInfo2MediaType({642, -480}, {4, 3}, 1000000, MEDIASUBTYPE_RGB24, 400000, 5, Extra, sizeof Extra,
                                       type),
              S_OK);
    constexpr unsigned rowBytes = 1928;  // 642 x 3 = 1926, padded
    EXPECT_EQ(type.majortype, MEDIATYPE_Video);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_RGB24);
    EXPECT_EQ(type.formattype, FORMAT_VideoInfo2);
    EXPECT_EQ(type.bFixedSizeSamples, TRUE);
    EXPECT_EQ(type.bTemporalCompression, FALSE);
    EXPECT_EQ(type.lSampleSize, rowBytes * 480);
    EXPECT_EQ(BlockOf(type), std::vector<BYTE>(Bytes()
                                                   .u32({0, 0, 642, 480})
                                                   .u32({0, 0, 642, 480})
                                                   .u32({1000000, 0, 400000, 0})
                                                   .u32({5, 0, 4, 3, 0, 0})
                                                   .u32({40, 642, 0u - 480u})
                                                   .u16({1, 24})
                                                   .u32({0, rowBytes * 480, 0, 0, 0, 0})
                                                   .raw({0x12, 0x10, 0x56})));
}

TEST(BuildVideoInfo2MediaType, KnowsDepthAndCompressionOfEachSubtype) {
    const struct {
        GUID subtype;
        WORD bits;
        DWORD compression;
    } rows[] = {
        {MEDIASUBTYPE_UYVY, 16, 0x59565955},
        {MEDIASUBTYPE_YUY2, 16, 0x32595559},
        {QZ_MEDIASUBTYPE_HDYC, 16, 0x43594448},
        {MEDIASUBTYPE_YV12, 12, 0x32315659},
        {MEDIASUBTYPE_NV12, 12, 0x3231564E},
        {MEDIASUBTYPE_Y411, 12, 0x31313459},
        {MEDIASUBTYPE_IYUV, 12, 0x56555949},
        {MEDIASUBTYPE_I420, 12, 0x30323449},
        {MEDIASUBTYPE_YVU9, 9, 0x39555659},
        {MEDIASUBTYPE_BYRG, 8, 0x47525942},
        {MEDIASUBTYPE_BYGB, 8, 0x42475942},
        {MEDIASUBTYPE_BYGR, 8, 0x52475942},
        {MEDIASUBTYPE_BYBG, 8, 0x47425942},
        {MEDIASUBTYPE_Y800, 8, 0x30303859},
        {MEDIASUBTYPE_RGB24, 24, 0},
        {MEDIASUBTYPE_RGB32, 32, 0},
        {MEDIASUBTYPE_ARGB32, 32, 0},
        {MEDIASUBTYPE_RGB8, 8, 0},
        {MEDIASUBTYPE_RGB555, 16, 0},
        {MEDIASUBTYPE_RGB565, 16, 0},
        {MEDIASUBTYPE_dvsd, 0, 0x73766169},
        {MEDIASUBTYPE_MJPG, 0, 0x47504A4D},
        {MEDIASUBTYPE_H264, 0, 0},
        {GUID_NULL, 0, 0},
    };
    for (const auto& row : rows) {
        CMediaType type;
        ASSERT_EQ(BuildVideoInfo2MediaType({64, 32}, {2, 1}, 0, row.subtype, 400000, 0, nullptr, 0, type), S_OK);
        VIDEOINFOHEADER2 header;
        ASSERT_EQ(type.cbFormat, sizeof header);
        std::memcpy(&header, type.pbFormat, sizeof header);
        EXPECT_EQ(type.subtype, row.subtype);
        EXPECT_EQ(header.bmiHeader.biBitCount, row.bits) << std::hex << row.subtype.Data1;
        EXPECT_EQ(header.bmiHeader.biCompression, row.compression) << std::hex << row.subtype.Data1;
        EXPECT_EQ(header.bmiHeader.biSizeImage, 64u * row.bits / 8 * 32);
        EXPECT_EQ(type.bTemporalCompression, row.subtype == MEDIASUBTYPE_H264 ? TRUE : FALSE);
    }
}

TEST(BuildVideoInfo2MediaType, RefusesAFrameWithoutDuration) {
    for (const REFERENCE_TIME time : {0, -1}) {
        const mediakit_test::log_capture log;
        CMediaType type = UsedType();
        EXPECT_EQ(BuildVideoInfo2MediaType({64, 32}, {2, 1}, 0, MEDIASUBTYPE_NV12, time, 0, nullptr, 0, type),
                  E_INVALIDARG);
        EXPECT_EQ(type.cbFormat, 0u);
        EXPECT_EQ(log.count(1, L"avgTimePerFrame > 0"), 1u);
    }
}

TEST(BuildLengthPrefixedMediaTypes, WriteTheSequenceHeader) {
    const ParameterSets sets = {{0x67, 1, 2}, {}, {0x68, 3}};
    const std::vector<BYTE> expected = Bytes()
                                           .u32({0, 0, 1920, 1080})
                                           .u32({0, 0, 1920, 1080})
                                           .u32({5000000, 0, 333667, 0})
                                           .u32({1, 0, 16, 9, 0, 0})
                                           .u32({40, 1920, 1080})
                                           .u16({1, 0})
                                           .u32({0, 0, 0, 0, 0, 0})
                                           .u32({0, 11, 100, 41, 4})
                                           .raw({0, 3, 0x67, 1, 2, 0, 0, 0, 2, 0x68, 3})
                                           .zeros(4);
    const struct {
        decltype(&BuildAVC1MediaType) build;
        GUID subtype;
    } rows[] = {{BuildAVC1MediaType, MEDIASUBTYPE_AVC1}, {BuildHVC1MediaType, MEDIASUBTYPE_HVC1}};
    for (const auto& row : rows) {
        CMediaType type = UsedType();
        ASSERT_EQ(row.build({1920, 1080}, {16, 9}, 1, 333667, 5000000, 100, 41, sets, 4, type), S_OK);
        EXPECT_EQ(type.majortype, MEDIATYPE_Video);
        EXPECT_EQ(type.subtype, row.subtype);
        EXPECT_EQ(type.formattype, FORMAT_MPEG2Video);
        EXPECT_EQ(type.bTemporalCompression, TRUE);
        EXPECT_EQ(type.cbFormat, 136u + 11u);
        EXPECT_EQ(BlockOf(type), expected);
    }
}

TEST(BuildLengthPrefixedMediaTypes, TakeParameterSetsUpToTheLengthsLimit) {
    CMediaType type;
    EXPECT_EQ(BuildAVC1MediaType({16, 16}, {1, 1}, 0, 1, 0, 0, 0, {std::vector<BYTE>(0xFFFF)}, 4, type), S_OK);
    EXPECT_EQ(type.cbFormat, 136u + 2 + 0xFFFF);
    EXPECT_EQ(BuildAVC1MediaType({16, 16}, {1, 1}, 0, 1, 0, 0, 0, {std::vector<BYTE>(0x10000)}, 4, type), E_INVALIDARG);
    EXPECT_EQ(type.cbFormat, 0u);
}

TEST(GetBitmapSize, PadsRowsAndStaysInRange) {
    const struct {
        LONG width, height;
        WORD bits;
        DWORD size;
    } rows[] = {{1, 1, 1, 4},    {33, 2, 1, 16},
                {3, -5, 24, 60}, {1920, 1080, 12, 1920 * 1080 * 3 / 2},
                {0, 5, 24, 0},   {0x7FFFFFFF, std::numeric_limits<LONG>::min(), 32, 0xFFFFFFFF}};
    for (const auto& row : rows) {
        BITMAPINFOHEADER header{};
        header.biWidth = row.width;
        header.biHeight = row.height;
        header.biBitCount = row.bits;
        EXPECT_EQ(GetBitmapSize(header), row.size) << row.width << "x" << row.height;
    }
}

TEST(GetBitMask, CoversOneToEightChannels) {
    const DWORD masks[] = {0, 1, 3, 3, 15, 15, 63, 63, 255, 0};
    for (DWORD count = 0; count < std::size(masks); ++count) EXPECT_EQ(GetBitMask(count), masks[count]) << count;
    EXPECT_EQ(GetBitMask(0xFFFFFFFF), 0u);
}

}  // namespace
}  // namespace qz_DSFilters
