#include "VideoIO/FilterUtil/MediaTypes/MediaTypeParameterSets.h"

#include "Testing/Kit/log_capture.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeTestData_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qz_DSFilters {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A block that ends with its sequence header, so that a sanitizer sees a read behind it.
CMediaType TypeWith(const GUID& subtype, DWORD prefixLength, const std::vector<BYTE>& header, DWORD claimed) {
    MPEG2VIDEOINFO info{};
    info.cbSequenceHeader = claimed;
    info.dwFlags = prefixLength;
    constexpr std::size_t start = offsetof(MPEG2VIDEOINFO, dwSequenceHeader);
    std::vector<BYTE> block(start + header.size());
    std::memcpy(block.data(), &info, start);
    std::copy(header.begin(), header.end(), block.begin() + start);
    CMediaType type(&MEDIATYPE_Video);
    type.subtype = subtype;
    type.formattype = FORMAT_MPEG2Video;
    type.SetFormat(block.data(), static_cast<ULONG>(block.size()));
    return type;
}

CMediaType TypeWith(const GUID& subtype, DWORD prefixLength, const std::vector<BYTE>& header) {
    return TypeWith(subtype, prefixLength, header, static_cast<DWORD>(header.size()));
}

ParameterSets SetsOf(const CMediaType& type) {
    ParameterSets sets = {{1}};
    EXPECT_EQ(GetAVCParameterSets(type, sets), S_OK);
    return sets;
}

using Set = std::vector<BYTE>;

TEST(GetAVCParameterSets, KeepsTheKindsOfTheCodec) {
    // SPS, SEI, PPS and an SPS extension
    const std::vector<BYTE> avc = {0, 3, 0x67, 1, 2, 0, 1, 0x06, 0, 2, 0x28, 3, 0, 1, 0x6D, 0, 0};
    EXPECT_THAT(SetsOf(TypeWith(MEDIASUBTYPE_AVC1, 4, avc)), ElementsAre(Set{0x67, 1, 2}, Set{0x28, 3}));
    // VPS, SPS, PPS, prefix SEI, and a VPS whose layer id reaches into the first byte
    const std::vector<BYTE> hevc = {0, 2, 0x40, 1, 0, 2, 0x42, 1, 0, 2, 0x44, 1, 0, 2, 0x4E, 1, 0, 2, 0x41, 9};
    EXPECT_THAT(SetsOf(TypeWith(MEDIASUBTYPE_HVC1, 4, hevc)),
                ElementsAre(Set{0x40, 1}, Set{0x42, 1}, Set{0x44, 1}, Set{0x41, 9}));
    EXPECT_THAT(SetsOf(TypeWith(MEDIASUBTYPE_AVC1, 1, {})), IsEmpty());
}

TEST(GetAVCParameterSets, ReadsBackWhatTheBuildersWrite) {
    const ParameterSets avc = {{0x67, 1}, {0x68, 2}, {0x68, 3, 4}};
    CMediaType type;
    ASSERT_EQ(BuildAVC1MediaType({16, 16}, {1, 1}, 0, 400000, 0, 66, 30, avc, 2, type), S_OK);
    EXPECT_EQ(SetsOf(type), avc);
    const ParameterSets hevc = {{0x40, 1}, {0x42, 2}, {0x44, 3}};
    ASSERT_EQ(BuildHVC1MediaType({16, 16}, {1, 1}, 0, 400000, 0, 1, 93, hevc, 4, type), S_OK);
    EXPECT_EQ(SetsOf(type), hevc);
}

TEST(GetAVCParameterSets, StopsWhereTheBlockEnds) {
    const std::vector<BYTE> header = {0, 1, 0x67, 0, 5, 0x68, 1};
    EXPECT_THAT(SetsOf(TypeWith(MEDIASUBTYPE_AVC1, 4, header)), ElementsAre(Set{0x67}));
    EXPECT_THAT(SetsOf(TypeWith(MEDIASUBTYPE_AVC1, 4, header, 0xFFFFFFFF)), ElementsAre(Set{0x67}));
    EXPECT_THAT(SetsOf(TypeWith(MEDIASUBTYPE_AVC1, 4, {0, 1, 0x67, 0})), ElementsAre(Set{0x67}));
    EXPECT_THAT(SetsOf(TypeWith(MEDIASUBTYPE_AVC1, 4, {0, 1, 0x67, 0, 1, 0x68}, 3)), ElementsAre(Set{0x67}));
}

TEST(GetAVCConfig, JoinsTheSetsBehindStartCodes) {
    const std::vector<BYTE> header = {0, 2, 0x67, 1, 0, 1, 0x06, 0, 1, 0x68};
    for (const DWORD prefixLength : {1u, 2u, 4u}) {
        std::vector<BYTE> config = {9};
        DWORD length = 0;
        EXPECT_EQ(GetAVCConfig(TypeWith(MEDIASUBTYPE_AVC1, prefixLength, header), config, length), S_OK);
        EXPECT_EQ(length, prefixLength);
        EXPECT_THAT(config, ElementsAre(0, 0, 0, 1, 0x67, 1, 0, 0, 0, 1, 0x68));
    }
}

TEST(GetAVCConfig, RefusesOtherTypes) {
    const std::vector<BYTE> header = {0, 1, 0x67};
    std::vector<CMediaType> types;
    types.push_back(TypeWith(MEDIASUBTYPE_H264, 4, header));
    types.push_back(TypeWith(MEDIASUBTYPE_AVC1, 4, header));
    types.back().majortype = MEDIATYPE_Stream;
    types.push_back(TypeWith(MEDIASUBTYPE_AVC1, 4, header));
    types.back().formattype = FORMAT_VideoInfo2;
    types.push_back(test::Shortened(TypeWith(MEDIASUBTYPE_AVC1, 4, {})));
    types.push_back(test::WithoutBlock(TypeWith(MEDIASUBTYPE_AVC1, 4, header)));
    for (const CMediaType& type : types) {
        std::vector<BYTE> config = {9};
        ParameterSets sets = {{9}};
        DWORD length = 9;
        EXPECT_EQ(GetAVCConfig(type, config, length), E_INVALIDARG);
        EXPECT_EQ(GetAVCParameterSets(type, sets), E_INVALIDARG);
        EXPECT_THAT(config, IsEmpty());
        EXPECT_THAT(sets, IsEmpty());
        EXPECT_EQ(length, 0u);
    }
    for (const DWORD prefixLength : {0u, 3u, 5u, 0xFFFFFFFFu}) {
        const mediakit_test::log_capture log;
        ParameterSets sets = {{9}};
        EXPECT_EQ(GetAVCParameterSets(TypeWith(MEDIASUBTYPE_AVC1, prefixLength, header), sets), E_INVALIDARG);
        EXPECT_THAT(sets, IsEmpty());
        EXPECT_EQ(log.count(1, L"naluPrefixLength == 1 || naluPrefixLength == 2 || naluPrefixLength == 4"), 1u);
    }
}

}  // namespace
}  // namespace qz_DSFilters
