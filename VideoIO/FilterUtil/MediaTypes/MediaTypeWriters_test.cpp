#include "VideoIO/FilterUtil/MediaTypes/MediaTypeWriters.h"

#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeTestData_test.h"

#include <gtest/gtest.h>

#include <functional>

namespace qz_DSFilters {
namespace {

using namespace test;

/// Writes and tells which bytes of the block changed, as {first, behind last}.
std::pair<ULONG, ULONG> Changed(CMediaType& type, const std::function<HRESULT(CMediaType&)>& write) {
    const CMediaType before = type;
    EXPECT_EQ(write(type), S_OK);
    ULONG first = type.cbFormat, end = 0;
    for (ULONG i = 0; i < type.cbFormat; ++i)
        if (type.pbFormat[i] != before.pbFormat[i]) {
            first = std::min(first, i);
            end = i + 1;
        }
    return {first, end};
}

DWORD DVControl(const CMediaType& type) {
    DVINFO info{};
    std::memcpy(&info, type.pbFormat, sizeof info);
    return info.dwDVVAuxCtl;
}

TEST(MediaTypeWriters, WriteTheirFieldAndNoOther) {
    const auto within = [](std::pair<ULONG, ULONG> range, ULONG begin, ULONG length) {
        return range.first < range.second && range.first >= begin && range.second <= begin + length;
    };
    for (CMediaType type : {VideoInfoType(), VideoInfo2Type(), MPEG1Type(), MPEG2Type()}) {
        REFERENCE_TIME time = 0;
        EXPECT_TRUE(within(Changed(type, [](CMediaType& t) { return SetAvgTimePerFrame(t, 200000); }), 40, 8));
        EXPECT_EQ(GetAvgTimePerFrame(type, time), S_OK);
        EXPECT_EQ(time, 200000);
        DWORD bitRate = 0;
        EXPECT_TRUE(within(Changed(type, [](CMediaType& t) { return SetBitRate(t, 123456789); }), 32, 4));
        EXPECT_EQ(GetBitRate(type, bitRate), S_OK);
        EXPECT_EQ(bitRate, 123456789u);
    }
    for (CMediaType type : {VideoInfo2Type(), MPEG2Type()}) {
        SIZE aspectRatio{};
        EXPECT_TRUE(within(Changed(type, [](CMediaType& t) { return SetAspectRatio(t, {4, 3}); }), 56, 8));
        EXPECT_EQ(GetAspectRatio(type, aspectRatio), S_OK);
        EXPECT_EQ(aspectRatio, (SIZE{4, 3}));
        DWORD flags = 0;
        EXPECT_TRUE(within(Changed(type, [](CMediaType& t) { return SetInterlaceFlags(t, 1); }), 48, 4));
        EXPECT_EQ(GetInterlaceFlags(type, flags), S_OK);
        EXPECT_EQ(flags, 1u);
    }
    CMediaType wave = WaveType(1);
    DWORD bitRate = 0;
    EXPECT_TRUE(within(Changed(wave, [](CMediaType& t) { return SetBitRate(t, 128007); }), 8, 4));
    EXPECT_EQ(GetBitRate(wave, bitRate), S_OK);
    EXPECT_EQ(bitRate, 128000u);  // whole bytes
    CMediaType analog = AnalogType();
    EXPECT_TRUE(within(Changed(analog, [](CMediaType& t) { return SetAvgTimePerFrame(t, 200000); }), 40, 8));
}

TEST(MediaTypeWriters, SayWhenThereIsNoPlace) {
    const auto setAspectRatio = [](CMediaType type) {
        const CMediaType before = type;
        const HRESULT hr = SetAspectRatio(type, {4, 3});
        EXPECT_TRUE(type == before);
        return hr;
    };
    EXPECT_EQ(setAspectRatio(VideoInfoType()), S_FALSE);
    EXPECT_EQ(setAspectRatio(MPEG1Type()), E_NOTIMPL);
    for (const GUID& subtype : {MEDIASUBTYPE_MPEG1Payload, MEDIASUBTYPE_MPEG1Video}) {
        CMediaType type = MPEG1Type();
        type.subtype = subtype;
        EXPECT_EQ(setAspectRatio(type), S_FALSE);
    }
    CMediaType wave = WaveType(1);
    CMediaType dv = DVType(0, 0);
    CMediaType plain = VideoInfoType();
    EXPECT_EQ(SetAspectRatio(wave, {4, 3}), E_NOTIMPL);
    EXPECT_EQ(SetAvgTimePerFrame(wave, 1), E_NOTIMPL);
    EXPECT_EQ(SetAvgTimePerFrame(dv, 1), E_NOTIMPL);
    EXPECT_EQ(SetBitRate(dv, 1), E_NOTIMPL);
    EXPECT_EQ(SetInterlaceFlags(plain, 1), E_NOTIMPL);
}

TEST(MediaTypeWriters, RefuseAbsentAndShortBlocks) {
    for (const CMediaType& whole : {VideoInfo2Type(), MPEG2Type(), DVType(0, 0)}) {
        for (CMediaType type : {Shortened(whole), WithoutBlock(whole)}) {
            EXPECT_EQ(SetAspectRatio(type, {4, 3}), E_INVALIDARG);
            EXPECT_EQ(SetInterlaceFlags(type, 1), E_INVALIDARG);
        }
    }
    for (const CMediaType& whole : {VideoInfoType(), MPEG1Type(), WaveType(1)}) {
        CMediaType type = Shortened(whole);
        EXPECT_EQ(SetBitRate(type, 1), E_INVALIDARG);
    }
    CMediaType analog = Shortened(AnalogType());
    EXPECT_EQ(SetAvgTimePerFrame(analog, 1), E_INVALIDARG);
}

TEST(MediaTypeWriters, SetDVDisplayMode) {
    const struct {
        DWORD before;
        SIZE aspectRatio;
        DWORD after;
    } rows[] = {{0x00000000, {16, 9}, 0x00000200},      {0xFFFFFFFF, {16, 9}, 0xFFFFFAFF},
                {0xFFFFFFFF, {4, 3}, 0xFFFFF8FF},       {0x00000200, {14, 9}, 0x00000000},
                {0x00000100, {1920, 1080}, 0x00000200}, {0x00000100, {0, 0}, 0}};
    for (const auto& row : rows) {
        CMediaType type = DVType(0, row.before);
        EXPECT_EQ(SetAspectRatio(type, row.aspectRatio), S_OK);
        EXPECT_EQ(DVControl(type), row.after);
    }
}

TEST(MediaTypeWriters, SetDVFieldOrder) {
    const struct {
        DWORD before, flags, after;
    } rows[] = {{0x00000000, 0, 0x00E00000},
                {0x00000000, 4, 0x00E00000},
                {0x00400000, 1, 0x00F00000},
                {0x00C00000, 5, 0x00B00000},
                {0xFF0FFFFF, 5, 0xFFBFFFFF}};
    for (const auto& row : rows) {
        CMediaType type = DVType(0, row.before);
        EXPECT_EQ(SetInterlaceFlags(type, row.flags), S_OK);
        EXPECT_EQ(DVControl(type), row.after) << row.flags;
    }
}

}  // namespace
}  // namespace qz_DSFilters
