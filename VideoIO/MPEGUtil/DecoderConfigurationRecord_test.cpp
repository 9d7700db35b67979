#include "MediaKit/Results.h"
#include "Testing/Kit/bit_writer.h"
#include "Testing/Kit/log_capture.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"
#include "VideoIO/MPEGUtil/AVCDecoderConfigurationRecord.h"
#include "VideoIO/MPEGUtil/HEVCDecoderConfigurationRecord.h"
#include "VideoIO/MPEGUtil/Hex_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace qz_MPEGUtil {
namespace {

using namespace test;
using mediakit_test::bit_writer;
using mediakit_test::log_capture;
using testing::SizeIs;
using Bytes = std::vector<BYTE>;

// Records as another multiplexer wrote them for streams of libx264 and libx265.
constexpr std::string_view avc_1080 =
    "01640028ffe1001b67640028acd940780227e5c044000003000400000300c83c60c65801000668ebe3cb22c0fdf8f800";
constexpr std::string_view avc_422_10bit =
    "017a000affe10018677a000ab6cd94626c0440000003004000000c83c489658001000668ebe3cb22c0fefafa00";
constexpr std::string_view hevc_422_10bit =
    "0104080000009d08000000001ef000fcfefafa00001303a00001001b40010c02ffff0408000003009d0800000300001e0000"
    "9598acc048a10001002b4201020408000003009d0800000300001e0000b0308104d965662b349265780b404000000300400000"
    "0642a2000100074401c172b42240";

MPEG2VIDEOINFO InfoOf(const CMediaType& type) {
    MPEG2VIDEOINFO info{};
    EXPECT_GE(type.cbFormat, sizeof(info));
    std::memcpy(&info, type.pbFormat, std::min<std::size_t>(type.cbFormat, sizeof(info)));
    return info;
}

Bytes SequenceHeader(const CMediaType& type) {
    return Bytes(type.pbFormat + 132, type.pbFormat + 132 + InfoOf(type).cbSequenceHeader);
}

Bytes Prefixed(const std::vector<Bytes>& units) {
    Bytes all;
    for (const Bytes& unit : units) {
        all.push_back(static_cast<BYTE>(unit.size() >> 8));
        all.push_back(static_cast<BYTE>(unit.size()));
        all.insert(all.end(), unit.begin(), unit.end());
    }
    return all;
}

HRESULT ParseAVC(AVCDecoderConfigurationRecord& record, const Bytes& bytes) {
    return record.Parse(bytes.data(), bytes.size());
}

TEST(AVCDecoderConfigurationRecord, ReadsWhatAnotherMultiplexerWrote) {
    AVCDecoderConfigurationRecord record;
    ASSERT_EQ(ParseAVC(record, FromHex(avc_1080)), S_OK);
    EXPECT_EQ(record.AVCProfileIndication, 100);
    EXPECT_EQ(record.AVCLevelIndication, 40);
    EXPECT_EQ(record.lengthSizeMinusOne, 3);
    EXPECT_EQ(record.m_sps, std::vector<Bytes>{FromHex("67640028acd940780227e5c044000003000400000300c83c60c658")});
    EXPECT_EQ(record.m_pps, std::vector<Bytes>{FromHex("68ebe3cb22c0")});
    EXPECT_EQ(record.chroma_format, 1);

    CMediaType type;
    record.m_streamRate = {24, 1};  // the set's own timing is not fixed, so it does not count
    ASSERT_EQ(record.CreateMediaType(type), S_OK);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_AVC1);
    EXPECT_EQ(InfoOf(type).hdr.AvgTimePerFrame, 416667);
    EXPECT_EQ(InfoOf(type).dwProfile, 100u);
    EXPECT_EQ(InfoOf(type).dwLevel, 40u);
    EXPECT_EQ(InfoOf(type).dwFlags, 4u);
    EXPECT_EQ(InfoOf(type).hdr.dwPictAspectRatioX, 16u);
    EXPECT_EQ(SequenceHeader(type), Prefixed({record.m_sps[0], record.m_pps[0]}));

    // The same record object for another stream.
    ASSERT_EQ(ParseAVC(record, FromHex(avc_422_10bit)), S_OK);
    EXPECT_THAT(record.m_sps, SizeIs(1));
    EXPECT_EQ(record.chroma_format, 2);
    EXPECT_EQ(record.bit_depth_luma_minus8, 2);
    EXPECT_EQ(record.bit_depth_chroma_minus8, 2);
    ASSERT_EQ(record.CreateMediaType(type), S_OK);
    SIZE size{};
    ASSERT_EQ(qz_DSFilters::GetVideoSize(type, size), S_OK);
    EXPECT_EQ(size, (SIZE{96, 64}));
}

/// A record of profile 66 around a set without timing, 16 x 16.
struct RecordParts {
    int version = 1, length_size_minus1 = 3, profile = 66;
    std::vector<Bytes> sps{MinimalSet()};
    std::vector<Bytes> pps{{0x68, 0xCE, 0x3C, 0x80}};
    Bytes tail;

    static Bytes MinimalSet() {
        bit_writer w;
        w.u(8, 0x67).u(8, 66).u(8, 0).u(8, 10).ue(0).ue(0).ue(2).ue(1).u(1, 0).ue(0).ue(0).u(1, 1).u(1, 1);
        return w.u(1, 0).u(1, 0).trailing().nal();  // neither cropping nor VUI
    }
    Bytes Write() const {
        Bytes out = {static_cast<BYTE>(version),
                     static_cast<BYTE>(profile),
                     0,
                     10,
                     static_cast<BYTE>(0xFC | length_size_minus1),
                     static_cast<BYTE>(0xE0 | sps.size())};
        const Bytes sets = Prefixed(sps), pictures = Prefixed(pps);
        out.insert(out.end(), sets.begin(), sets.end());
        out.push_back(static_cast<BYTE>(pps.size()));
        out.insert(out.end(), pictures.begin(), pictures.end());
        out.insert(out.end(), tail.begin(), tail.end());
        return out;
    }
};

template <typename Change>
HRESULT ParseWith(AVCDecoderConfigurationRecord& record, Change change) {
    RecordParts parts;
    change(parts);
    return ParseAVC(record, parts.Write());
}

TEST(AVCDecoderConfigurationRecord, UsesTheGivenRateWhenTheSetHasNone) {
    AVCDecoderConfigurationRecord record;
    ASSERT_EQ(ParseWith(record, [](auto& p) { p.length_size_minus1 = 1; }), S_OK);
    CMediaType type;
    ASSERT_EQ(record.CreateMediaType(type), S_OK);
    EXPECT_EQ(InfoOf(type).hdr.AvgTimePerFrame, 0);
    EXPECT_EQ(InfoOf(type).dwFlags, 2u);
    record.m_streamRate = {30000, 1001};
    ASSERT_EQ(record.CreateMediaType(type), S_OK);
    EXPECT_EQ(InfoOf(type).hdr.AvgTimePerFrame, 333667);
    record.m_streamRate = {30, 0};
    EXPECT_EQ(record.CreateMediaType(type), E_UNEXPECTED);
}

TEST(AVCDecoderConfigurationRecord, RefusesBrokenRecords) {
    AVCDecoderConfigurationRecord record;
    CMediaType type;
    EXPECT_EQ(record.CreateMediaType(type), E_UNEXPECTED);
    log_capture log(5);
    const auto fails = [&](auto change, std::wstring_view condition) {
        const HRESULT hr = ParseWith(record, change);
        EXPECT_EQ(log.count(1, condition) + log.count(5, condition), 1u);
        return hr;
    };
    EXPECT_EQ(ParseAVC(record, {1, 66, 0, 10}), QZ_E_BAD_DATA);
    EXPECT_EQ(log.count(1, L"bufferSize >= 5"), 1u);
    EXPECT_EQ(fails([](auto& p) { p.version = 2; }, L"Unknown configurationVersion when parsing AVCConfig (=2)"),
              E_FAIL);
    EXPECT_EQ(fails([](auto& p) { p.sps.clear(); }, L"numOfSequenceParameterSets > 0"), E_FAIL);
    EXPECT_EQ(fails([](auto& p) { p.sps.push_back({}); }, L"sequenceParameterSetLength > 0"), E_FAIL);
    EXPECT_THAT(record.m_sps, SizeIs(1));  // as far as it was read
    EXPECT_EQ(fails([](auto& p) { p.pps = {{}}; }, L"pictureParameterSetLength > 0"), E_FAIL);
    EXPECT_EQ(fails([](auto& p) { p.pps.clear(); }, L"!m_pps.empty()"), E_FAIL);
    EXPECT_EQ(fails([](auto& p) { p.sps[0][0] = 0x68; }, L"nal_unit_type == 7"), E_UNEXPECTED);
    EXPECT_EQ(fails([](auto& p) { p.profile = 100, p.tail = {0xFD, 0xF8, 0xF8, 1, 0, 0}; },
                    L"sequenceParameterSetExtLength > 0"),
              E_FAIL);
}

TEST(AVCDecoderConfigurationRecord, HasNoMediaTypeBehindAFailure) {
    AVCDecoderConfigurationRecord record;
    CMediaType type;
    log_capture quiet(0);
    const auto fails = [&](auto change) {
        ASSERT_EQ(ParseAVC(record, FromHex(avc_1080)), S_OK);
        ASSERT_EQ(record.CreateMediaType(type), S_OK);
        EXPECT_NE(ParseWith(record, change), S_OK);
        EXPECT_EQ(record.CreateMediaType(type), E_UNEXPECTED);
    };
    fails([](auto& p) { p.version = 2; });
    fails([](auto& p) { p.sps.clear(); });
    fails([](auto& p) { p.pps.clear(); });
    fails([](auto& p) { p.sps[0][0] = 0x68; });
}

TEST(AVCDecoderConfigurationRecord, ReadsExtensionsOfTheHighProfilesAlone) {
    const Bytes tail = {0xFE, 0xF9, 0xFA, 1, 0, 2, 0x6D, 0x80};
    AVCDecoderConfigurationRecord high, low, cut;
    ASSERT_EQ(ParseWith(high, [&](auto& p) { p.profile = 122, p.tail = tail; }), S_OK);
    EXPECT_EQ(high.chroma_format, 2);
    EXPECT_EQ(high.bit_depth_luma_minus8, 1);
    EXPECT_EQ(high.bit_depth_chroma_minus8, 2);
    EXPECT_EQ(high.m_spsExt, std::vector<Bytes>{(Bytes{0x6D, 0x80})});
    ASSERT_EQ(ParseWith(low, [&](auto& p) { p.profile = 77, p.tail = tail; }), S_OK);
    EXPECT_TRUE(low.m_spsExt.empty());
    ASSERT_EQ(ParseWith(cut, [&](auto& p) { p.profile = 100, p.tail = {0xFE, 0xF9, 0xFA}; }), S_OK);
    EXPECT_EQ(cut.chroma_format, 0);
}

TEST(AVCDecoderConfigurationRecord, StaysInsideACutRecord) {
    log_capture quiet(0);
    const Bytes whole = FromHex(avc_1080);
    const std::size_t behind_sets = whole.size() - 4;
    AVCDecoderConfigurationRecord record;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(ParseAVC(record, cut) == S_OK, size >= behind_sets) << size;
    }
}

TEST(HEVCDecoderConfigurationRecord, ReadsAndWritesWhatAnotherMultiplexerWrote) {
    const Bytes whole = FromHex(hevc_422_10bit);
    HEVCDecoderConfigurationRecord read;
    read.Parse(whole.data(), whole.size());
    EXPECT_EQ(read.general_profile_idc, 4);
    EXPECT_EQ(read.general_constraint_indicator_flags_high, 0x9D080000u);
    EXPECT_EQ(read.general_level_idc, 30);
    EXPECT_EQ(read.chromaFormat, 2);
    EXPECT_EQ(read.bitDepthLumaMinus8, 2);
    EXPECT_EQ(read.numTemporalLayers, 2);
    EXPECT_EQ(read.lengthSizeMinusOne, 3);
    ASSERT_THAT(read.m_nalUnits, SizeIs(3));

    // From the bare parameter sets, in any order, comes the same record.
    HEVCDecoderConfigurationRecord written;
    EXPECT_TRUE(written.AddParameterSet(read.m_nalUnits[2]));
    EXPECT_TRUE(written.AddParameterSet(read.m_nalUnits[1]));
    EXPECT_TRUE(written.AddParameterSet(read.m_nalUnits[0]));
    EXPECT_EQ(written.Serialize(), whole);

    CMediaType type;
    ASSERT_EQ(read.CreateMediaType({96, 64}, {3, 2}, 1, 400000, 5000, 4, 30, type), S_OK);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_HVC1);
    EXPECT_EQ(type.formattype, FORMAT_MPEG2Video);
    EXPECT_NE(type.bTemporalCompression, FALSE);
    EXPECT_EQ(SequenceHeader(type), Prefixed(read.m_nalUnits));
    EXPECT_EQ(type.cbFormat, 136 + Prefixed(read.m_nalUnits).size());
    EXPECT_EQ(InfoOf(type).hdr.rcSource, (RECT{0, 0, 96, 64}));
    EXPECT_EQ(InfoOf(type).hdr.dwInterlaceFlags, 1u);
    EXPECT_EQ(InfoOf(type).dwFlags, 4u);
}

TEST(HEVCDecoderConfigurationRecord, WritesOnlyTheKindsItHas) {
    HEVCDecoderConfigurationRecord record;
    const auto serialized = [&record] { return record.Serialize(); };
    EXPECT_EQ(serialized().size(), 23u);
    EXPECT_EQ(serialized()[0], 1);
    EXPECT_EQ(serialized()[21], 3);  // lengths of four bytes
    EXPECT_EQ(serialized()[22], 0);
    EXPECT_FALSE(record.AddParameterSet(Bytes{0x4E, 1, 5}));  // SEI
    EXPECT_FALSE(record.AddParameterSet({}));
    EXPECT_FALSE(record.AddParameterSet(Bytes(0x10000, 0x44)));
    EXPECT_TRUE(record.AddParameterSet(Bytes{0x44, 1, 7}));
    EXPECT_TRUE(record.AddParameterSet(Bytes{0x42, 1, 9}));  // no readable set: stored, and tells nothing
    EXPECT_TRUE(record.AddParameterSet(Bytes{0x44, 1, 8, 8}));
    const Bytes written = serialized();
    EXPECT_EQ(Bytes(written.begin() + 22, written.end()), FromHex("02"
                                                                  "a10001"
                                                                  "0003420109"
                                                                  "a20002"
                                                                  "0003440107"
                                                                  "000444010808"));
    EXPECT_EQ(Bytes(written.begin(), written.begin() + 13), FromHex("01000000000000000000000000"));
    EXPECT_EQ(Bytes(written.begin() + 13, written.begin() + 19), FromHex("f000fcfcf8f8"));
}

TEST(HEVCDecoderConfigurationRecord, WritesTheLargestBitDepthThatItsFieldHolds) {
    const auto depths = [](unsigned luma, unsigned chroma) {
        bit_writer sps;
        sps.u(16, 0x4201).u(7, 0).u(1, 1).u(8, 4).u(32, 0).u(48, 0).u(8, 30).ue(0).ue(1).ue(64).ue(64).u(1, 0);
        sps.ue(luma).ue(chroma).ue(0).u(1, 1).ue(4).ue(2).ue(0).ue(0).ue(1).ue(0).ue(1).ue(0).ue(0).u(1, 0).u(2, 0);
        sps.u(1, 0).ue(0).u(1, 0).u(2, 0).u(1, 0).u(1, 0).trailing();
        HEVCDecoderConfigurationRecord record;
        EXPECT_TRUE(record.AddParameterSet(sps.nal()));
        const Bytes written = record.Serialize();
        return std::pair<int, int>(written[17], written[18]);
    };
    EXPECT_EQ(depths(0, 7), std::pair(0xF8, 0xFF));
    EXPECT_EQ(depths(8, 2), std::pair(0xFF, 0xFA));
    EXPECT_EQ(depths(1, 8), std::pair(0xF9, 0xFF));
}

TEST(HEVCDecoderConfigurationRecord, CountsUnitsByTheLowEightBits) {
    Bytes whole = FromHex(hevc_422_10bit);
    HEVCDecoderConfigurationRecord record;
    record.Parse(whole.data(), whole.size());
    record.Parse(whole.data(), 4);
    EXPECT_THAT(record.m_nalUnits, SizeIs(3));  // too short to be looked at

    whole[24] = 1, whole[25] = 0;  // 256 units in the first array
    record.Parse(whole.data(), whole.size());
    EXPECT_TRUE(std::none_of(record.m_nalUnits.begin(), record.m_nalUnits.end(),
                             [](const Bytes& unit) { return !unit.empty() && unit[0] == 0x40; }));
    whole[22] = 0;
    record.Parse(whole.data(), whole.size());
    EXPECT_TRUE(record.m_nalUnits.empty());
}

TEST(HEVCDecoderConfigurationRecord, StaysInsideACutOrDamagedRecord) {
    log_capture quiet(0);
    const Bytes whole = FromHex(hevc_422_10bit);
    std::size_t last = 0;
    for (std::size_t size = 5; size <= whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        HEVCDecoderConfigurationRecord record;
        record.Parse(cut.data(), cut.size());
        EXPECT_GE(record.m_nalUnits.size(), last);
        last = record.m_nalUnits.size();
    }
    EXPECT_EQ(last, 3u);
    std::mt19937 random(5);
    for (int round = 0; round < 500; ++round) {
        Bytes damaged = whole;
        damaged[random() % damaged.size()] = static_cast<BYTE>(random());
        damaged.resize(damaged.size() - random() % 40);
        HEVCDecoderConfigurationRecord record;
        record.Parse(damaged.data(), damaged.size());
        std::size_t bytes = 0;
        for (const Bytes& unit : record.m_nalUnits) {
            bytes += unit.size() + 2;
        }
        EXPECT_LE(bytes, damaged.size());
    }
}

}  // namespace
}  // namespace qz_MPEGUtil
