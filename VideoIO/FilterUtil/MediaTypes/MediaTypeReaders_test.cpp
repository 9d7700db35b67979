#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeTestData_test.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

namespace qz_DSFilters {
namespace {

using namespace test;

constexpr DWORD PAL = 1u << 21;

template <class Value, class Reader>
std::optional<Value> Read(Reader reader, const CMediaType& type) {
    Value value{};
    const HRESULT hr = reader(type, value);
    EXPECT_TRUE(hr == S_OK || hr == E_NOTIMPL) << hr;
    return hr == S_OK ? std::optional(value) : std::nullopt;
}

struct Kind {
    const char* name;
    CMediaType type;
    std::optional<SIZE> size;
    std::optional<SIZE> aspectRatio;
    std::optional<REFERENCE_TIME> time;
    std::optional<DWORD> bitRate;
    std::optional<DWORD> frameSize;
    std::optional<DWORD> interlaceFlags;
    std::optional<RECT> source;
};

TEST(MediaTypeReaders, ReadEveryKindOfBlock) {
    constexpr std::nullopt_t no = std::nullopt;
    const RECT source{10, 20, 650, 500};
    CMediaType stream(&MEDIATYPE_Stream);
    CMediaType none(&MEDIATYPE_Video);
    none.formattype = FORMAT_None;
    const Kind kinds[] = {
        {"VideoInfo", VideoInfoType(), SIZE{720, -480}, SIZE{720, 480}, 333667, 8000000u, 518400u, 0u, source},
        {"VideoInfo2", VideoInfo2Type(), SIZE{720, -480}, SIZE{16, 9}, 333667, 8000000u, 518400u, 5u, source},
        {"MPEG1", MPEG1Type(), SIZE{640, 480}, SIZE{720, -480}, 333667, 8000000u, 33366u, 0u, source},
        {"MPEG2", MPEG2Type(), SIZE{640, 480}, SIZE{16, 9}, 333667, 8000000u, 33366u, 5u, source},
        {"DV 60", DVType(0, 0), SIZE{720, 480}, SIZE{4, 3}, 333667, 28771200u, 120000u, 0u, no},
        {"DV 50", DVType(PAL, 0), SIZE{720, 576}, SIZE{4, 3}, 400000, 28800000u, 144000u, 0u, no},
        {"wave", WaveType(1), no, no, 208, 1536000u, 4u, no, no},
        {"analog", AnalogType(), no, no, 400000, no, no, no, RECT{1, 2, 3, 4}},
        {"none", none, no, no, 400000, no, 144000u, no, no},
        {"stream", stream, no, no, no, 0u, no, no, no},
        {"unknown", UnknownFormatType(), no, no, no, no, no, no, no},
    };
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        EXPECT_EQ(Read<SIZE>(GetVideoSize, kind.type), kind.size);
        EXPECT_EQ(Read<SIZE>(GetAspectRatio, kind.type), kind.aspectRatio);
        EXPECT_EQ(Read<REFERENCE_TIME>(GetAvgTimePerFrame, kind.type), kind.time);
        EXPECT_EQ(Read<DWORD>(GetBitRate, kind.type), kind.bitRate);
        EXPECT_EQ(Read<DWORD>(GetFrameSize, kind.type), kind.frameSize);
        EXPECT_EQ(Read<DWORD>(GetInterlaceFlags, kind.type), kind.interlaceFlags);
        EXPECT_EQ(Read<RECT>(GetSource, kind.type), kind.source);
    }
}

TEST(MediaTypeReaders, RefuseAbsentAndShortBlocksWithTheirCondition) {
    const struct {
        CMediaType type;
        const wchar_t* condition;
    } rows[] = {{VideoInfoType(), L"pvih != 0"}, {VideoInfo2Type(), L"pVideoInfo != 0"},
                {MPEG1Type(), L"pHeader != 0"},  {MPEG2Type(), L"pMPEG2Vih != 0"},
                {DVType(0, 0), L"pDVInfo != 0"}, {WaveType(1), L"pWaveFormat != 0"},
                {AnalogType(), L"pVIH != 0"}};
    for (const auto& row : rows) {
        for (const CMediaType& type : {Shortened(row.type), WithoutBlock(row.type)}) {
            const mediakit_test::log_capture log;
            REFERENCE_TIME time = 7;
            EXPECT_EQ(GetAvgTimePerFrame(type, time), E_INVALIDARG);
            EXPECT_EQ(time, 7);
            EXPECT_EQ(log.count(1, row.condition), 1u) << type.cbFormat;
        }
    }
    // the operations beside the one above
    const CMediaType shortDV = Shortened(DVType(0, 0));
    const CMediaType shortHeader = Shortened(VideoInfo2Type());
    for (const CMediaType* type : {&shortDV, &shortHeader}) {
        SIZE size{};
        DWORD number = 0;
        EXPECT_EQ(GetVideoSize(*type, size), E_INVALIDARG);
        EXPECT_EQ(GetAspectRatio(*type, size), E_INVALIDARG);
        EXPECT_EQ(GetBitRate(*type, number), E_INVALIDARG);
        EXPECT_EQ(GetFrameSize(*type, number), E_INVALIDARG);
        EXPECT_EQ(GetInterlaceFlags(*type, number), E_INVALIDARG);
    }
    RECT source{};
    EXPECT_EQ(GetSource(shortHeader, source), E_INVALIDARG);
    EXPECT_EQ(GetSource(Shortened(AnalogType()), source), E_INVALIDARG);
}

TEST(MediaTypeReaders, LogWhatABlockDoesNotTell) {
    const mediakit_test::log_capture log;
    SIZE size{};
    EXPECT_EQ(GetVideoSize(WaveType(1), size), E_NOTIMPL);
    EXPECT_EQ(log.messages().size(), 1u);

    CMediaType none;
    none.formattype = FORMAT_None;
    REFERENCE_TIME time = 0;
    EXPECT_EQ(GetAvgTimePerFrame(none, time), S_OK);
    EXPECT_EQ(log.messages().size(), 2u);
    DWORD frameSize = 0;
    EXPECT_EQ(GetFrameSize(none, frameSize), S_OK);
    EXPECT_EQ(log.messages().size(), 2u);
}

TEST(GetVideoSize, TakesTheBitmapsSizeWhenAnMPEGSourceIsEmptyOrSenseless) {
    constexpr LONG smallest = std::numeric_limits<LONG>::min();
    constexpr LONG largest = std::numeric_limits<LONG>::max();
    for (const RECT source :
         {RECT{0, 0, 0, 0}, RECT{0, 0, 640, 0}, RECT{640, 0, 0, 480}, RECT{smallest, 0, largest, 480}}) {
        auto info = FilledHeader2();
        info.rcSource = source;
        BYTE block[offsetof(MPEG2VIDEOINFO, dwSequenceHeader)] = {};
        std::memcpy(block, &info, sizeof info);
        EXPECT_EQ(Read<SIZE>(GetVideoSize, TypeOf(FORMAT_MPEG2Video, block)), (SIZE{720, -480}));
    }
}

TEST(GetAspectRatio, SurvivesTheSmallestHeight) {
    auto header = FilledHeader<VIDEOINFOHEADER>();
    header.bmiHeader.biHeight = std::numeric_limits<LONG>::min();
    EXPECT_EQ(Read<SIZE>(GetAspectRatio, TypeOf(FORMAT_VideoInfo, header)),
              (SIZE{720, std::numeric_limits<LONG>::max()}));
}

TEST(GetAvgTimePerFrame, RefusesASampleRateOfZero) {
    const CMediaType type = TypeOf(FORMAT_WaveFormatEx, WAVEFORMATEX{1, 2, 0, 0, 4, 16, 0});
    REFERENCE_TIME time = 7;
    EXPECT_EQ(GetAvgTimePerFrame(type, time), E_FAIL);
    EXPECT_EQ(time, 7);
}

TEST(GetFrameSize, CountsWholeBytesOfAudioSamples) {
    const struct {
        WORD tag, channels, bits;
        DWORD size;
    } rows[] = {
        {1, 2, 16, 4}, {1, 2, 12, 2}, {1, 1, 8, 1}, {0xFFFE, 6, 16, 12}, {0xFFFE, 0xFFFF, 0xFFFF, 0xFFFFu * 8191}};
    for (const auto& row : rows)
        EXPECT_EQ(Read<DWORD>(GetFrameSize, WaveType(row.tag, row.channels, row.bits)), row.size);

    const mediakit_test::log_capture log;
    DWORD size = 7;
    EXPECT_EQ(GetFrameSize(WaveType(0xFF), size), E_INVALIDARG);
    EXPECT_EQ(size, 7u);
    EXPECT_EQ(log.count(1, L"(pWaveFormat->wFormatTag == 1) || (pWaveFormat->wFormatTag == 0xFFFE)"), 1u);
}

TEST(GetFrameSize, StaysInRangeForSenselessMPEGHeaders) {
    const struct {
        DWORD bitRate;
        REFERENCE_TIME time;
        DWORD size;
    } rows[] = {
        {0xFFFFFFFF, std::numeric_limits<REFERENCE_TIME>::max(), 0xFFFFFFFF}, {8000000, -400000, 0}, {0, 400000, 0}};
    for (const auto& row : rows) {
        MPEG2VIDEOINFO info{};
        info.hdr.dwBitRate = row.bitRate;
        info.hdr.AvgTimePerFrame = row.time;
        EXPECT_EQ(Read<DWORD>(GetFrameSize, TypeOf(FORMAT_MPEG2Video, info)), row.size);
    }
}

TEST(DV, TellsAspectRatioByBroadcastSystemAndDisplayMode) {
    const SIZE standard{4, 3}, letterbox{14, 9}, wide{16, 9};
    const SIZE expected[4][8] = {
        {standard, wide, wide, standard, standard, standard, standard, standard},
        {standard, letterbox, letterbox, wide, wide, wide, letterbox, wide},
        {standard, standard, standard, standard, standard, standard, standard, standard},
        {standard, standard, standard, standard, standard, standard, standard, standard},
    };
    for (DWORD system = 0; system < 4; ++system) {
        for (DWORD mode = 0; mode < 8; ++mode) {
            const mediakit_test::log_capture log;
            const CMediaType type = DVType(0, ~DWORD{0x30700} | system << 16 | mode << 8);
            EXPECT_EQ(Read<SIZE>(GetAspectRatio, type), expected[system][mode]) << system << " " << mode;
            EXPECT_EQ(log.messages().size(), system == 0 && mode > 2 ? 1u : 0u);
        }
    }
}

TEST(DV, TellsInterlaceFlagsByFieldOrder) {
    const DWORD expected[] = {17, 1, 33, 37};
    for (DWORD order = 0; order < 4; ++order) {
        EXPECT_EQ(Read<DWORD>(GetInterlaceFlags, DVType(0, order << 22 | 1u << 20)), expected[order]);
        EXPECT_EQ(Read<DWORD>(GetInterlaceFlags, DVType(0, order << 22)), 0u);
    }
}

}  // namespace
}  // namespace qz_DSFilters
