#include "VideoIO/MPEGUtil/H264PayloadParser.h"

#include "MediaKit/Results.h"
#include "Testing/Kit/bit_writer.h"
#include "Testing/Kit/log_capture.h"
#include "VideoIO/MPEGUtil/Hex_test.h"
#include "VideoIO/MPEGUtil/MPEGTestClips_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace qz_MPEGUtil {
namespace {

using namespace test;
using mediakit_test::bit_writer;
using mediakit_test::log_capture;
using Bytes = std::vector<BYTE>;

/// 1920 x 1088 with the fields that the media type is made of.
struct SetFields {
    unsigned profile = 66;
    unsigned width_in_mbs = 120, height_in_mbs = 68;  // of the frame
    unsigned crop_left = 0;
    unsigned crop_bottom = 4;  // in units of two lines
    unsigned frame_mbs_only = 1;
    int aspect_ratio_idc = -1;  // none
    unsigned sar_width = 0, sar_height = 0;
    unsigned units = 0, time_scale = 0, fixed_rate = 1;
    int bit_rate_scale = -1;  // no buffer model
    unsigned bit_rate_minus1 = 0;

    bit_writer Payload() const {
        bit_writer w;
        w.u(8, profile).u(8, 0).u(8, 40).ue(0).ue(0).ue(2).ue(1).u(1, 0);
        w.ue(width_in_mbs - 1).ue(height_in_mbs / (2 - frame_mbs_only) - 1).u(1, frame_mbs_only);
        if (frame_mbs_only == 0) {
            w.u(1, 0);
        }
        w.u(1, 1).u(1, 1).ue(crop_left).ue(0).ue(0).ue(crop_bottom);
        w.u(1, 1).u(1, aspect_ratio_idc >= 0 ? 1 : 0);
        if (aspect_ratio_idc >= 0) {
            w.u(8, static_cast<unsigned>(aspect_ratio_idc));
        }
        if (aspect_ratio_idc == 255) {
            w.u(16, sar_width).u(16, sar_height);
        }
        w.u(3, 0).u(1, time_scale > 0 ? 1 : 0);
        if (time_scale > 0) {
            w.u(32, units).u(32, time_scale).u(1, fixed_rate);
        }
        w.u(1, bit_rate_scale >= 0 ? 1 : 0);
        if (bit_rate_scale >= 0) {
            w.ue(0).u(4, static_cast<unsigned>(bit_rate_scale)).u(4, 0).ue(bit_rate_minus1).ue(1).u(1, 0).u(20, 0);
        }
        w.u(1, 0);
        if (bit_rate_scale >= 0) {
            w.u(1, 0);
        }
        return w.u(2, 0).trailing();
    }
    Bytes Nal() const {
        Bytes nal = Payload().nal();
        nal.insert(nal.begin(), 0x67);
        return nal;
    }
};

struct Parsed {
    HRESULT result;
    MPEG2VIDEOINFO info{};
    CMediaType type;
    Bytes header;
};

Parsed Parse(const Bytes& nal, const GUID& subtype = MEDIASUBTYPE_H264) {
    DataBuffer buffer;
    H264PayloadParser parser(buffer, subtype);
    buffer.Add(nal.data(), nal.size());
    Parsed parsed{parser.ParseSPS(), {}, {}, {}};
    EXPECT_EQ(parser.HasIdentifiedMediaType(), parsed.result == S_OK);
    if (parsed.result == S_OK && parser.GetIdentifiedMediaType(parsed.type) == S_OK) {
        std::memcpy(&parsed.info, parsed.type.pbFormat, sizeof(parsed.info));
        const BYTE* const first = parsed.type.pbFormat + offsetof(MPEG2VIDEOINFO, dwSequenceHeader);
        parsed.header.assign(first, first + parsed.info.cbSequenceHeader);
    }
    return parsed;
}

template <typename Change>
Parsed ParseWith(Change change, const GUID& subtype = MEDIASUBTYPE_H264) {
    SetFields fields;
    change(fields);
    return Parse(fields.Nal(), subtype);
}

TEST(H264PayloadParser, BuildsTheMediaType) {
    const Parsed parsed = ParseWith([](SetFields& f) { f.units = 1, f.time_scale = 50; });
    ASSERT_EQ(parsed.result, S_OK);
    EXPECT_EQ(parsed.type.majortype, MEDIATYPE_Video);
    EXPECT_EQ(parsed.type.subtype, MEDIASUBTYPE_H264);
    EXPECT_EQ(parsed.type.formattype, FORMAT_MPEG2Video);
    EXPECT_EQ(parsed.info.hdr.rcSource, (RECT{0, 0, 1920, 1080}));
    EXPECT_EQ(parsed.info.hdr.rcTarget, (RECT{0, 0, 1920, 1080}));
    EXPECT_EQ(parsed.info.hdr.bmiHeader.biSize, 40u);
    EXPECT_EQ(parsed.info.hdr.bmiHeader.biWidth, 1920);
    EXPECT_EQ(parsed.info.hdr.bmiHeader.biHeight, 1088);
    EXPECT_EQ(parsed.info.hdr.AvgTimePerFrame, 400000);
    EXPECT_EQ(parsed.info.hdr.dwPictAspectRatioX, 16u);
    EXPECT_EQ(parsed.info.hdr.dwPictAspectRatioY, 9u);
    EXPECT_EQ(parsed.info.hdr.dwBitRate, 0u);
    EXPECT_EQ(parsed.info.hdr.dwInterlaceFlags, 0u);
    EXPECT_EQ(parsed.info.dwProfile, 66u);
    EXPECT_EQ(parsed.info.dwLevel, 40u);
    EXPECT_EQ(parsed.info.dwFlags, 4u);
    EXPECT_EQ(parsed.type.cbFormat, parsed.info.cbSequenceHeader * 4 + 132);
}

TEST(H264PayloadParser, TellsSizesOfFieldPicturesAndBitRates) {
    const Parsed fields = ParseWith([](SetFields& f) { f.frame_mbs_only = 0, f.crop_bottom = 2; });
    EXPECT_EQ(fields.info.hdr.rcSource, (RECT{0, 0, 1920, 1080}));
    EXPECT_EQ(fields.info.hdr.bmiHeader.biHeight, 1088);
    const Parsed rate = ParseWith([](SetFields& f) { f.bit_rate_scale = 2, f.bit_rate_minus1 = 999; });
    EXPECT_EQ(rate.info.hdr.dwBitRate, 999u << 8);
}

TEST(H264PayloadParser, TakesFrameTimesFromTimingItMayTrust) {
    const auto time = [](unsigned fixed_rate, unsigned time_scale, const GUID& subtype) {
        return ParseWith([&](SetFields& f) { f.units = 1001, f.time_scale = time_scale, f.fixed_rate = fixed_rate; },
                         subtype)
            .info.hdr.AvgTimePerFrame;
    };
    EXPECT_EQ(time(0, 60000, MEDIASUBTYPE_H264), 333667);
    EXPECT_EQ(time(1, 60000, MEDIASUBTYPE_AVC1), 333667);
    EXPECT_EQ(time(0, 60000, MEDIASUBTYPE_AVC1), 0);
    EXPECT_EQ(time(1, 0, MEDIASUBTYPE_H264), 0);

    // Untrusted timing gives way to what is known of the stream.
    MPEG2VIDEOINFO known{};
    known.hdr.AvgTimePerFrame = 123456;
    CMediaType input(&MEDIATYPE_Video);
    input.SetFormatType(&FORMAT_MPEG2Video);
    ASSERT_TRUE(input.SetFormat(reinterpret_cast<const BYTE*>(&known), sizeof(known)));
    const Bytes payload = SetFields().Payload().nal();
    DataBuffer buffer;
    buffer.Add(payload.data(), payload.size());
    H26xSyntaxReader reader(buffer);
    H264SequenceParameterSet sps(MEDIASUBTYPE_AVC1);
    sps.SetInputMediaType(input);
    ASSERT_EQ(sps.Parse(reader), S_OK);
    CMediaType type;
    ASSERT_EQ(sps.GetIdentifiedMediaType(type), S_OK);
    MPEG2VIDEOINFO info;
    std::memcpy(&info, type.pbFormat, sizeof(info));
    EXPECT_EQ(info.hdr.AvgTimePerFrame, 123456);
}

TEST(H264PayloadParser, MultipliesAspectRatios) {
    const auto ratio = [](int idc, unsigned width = 0, unsigned height = 0) {
        const Parsed parsed =
            ParseWith([&](SetFields& f) { f.aspect_ratio_idc = idc, f.sar_width = width, f.sar_height = height; });
        return std::tuple(parsed.result, parsed.info.hdr.dwPictAspectRatioX, parsed.info.hdr.dwPictAspectRatioY);
    };
    EXPECT_EQ(ratio(1), std::tuple(S_OK, 16u, 9u));
    EXPECT_EQ(ratio(2), std::tuple(S_OK, 64u, 33u));
    EXPECT_EQ(ratio(14), std::tuple(S_OK, 64u, 27u));
    EXPECT_EQ(ratio(16), std::tuple(S_OK, 32u, 9u));
    EXPECT_EQ(ratio(255, 3, 4), std::tuple(S_OK, 4u, 3u));
    EXPECT_EQ(ratio(255, 65535, 65535), std::tuple(S_OK, 16u, 9u));
    log_capture log(1);
    EXPECT_EQ(std::get<0>(ratio(17)), QZ_E_BAD_DATA);
    EXPECT_EQ(log.count(1, L"(vui_parameters.aspect_ratio_idc >= 0) && (vui_parameters.aspect_ratio_idc < 17)"), 1u);
    EXPECT_EQ(std::get<0>(ratio(255, 0, 1)), QZ_E_BAD_DATA);
    EXPECT_EQ(log.count(1, L"pictAspectRatio.cx > 0"), 1u);
    EXPECT_EQ(std::get<0>(ratio(255, 1, 0)), QZ_E_BAD_DATA);
    EXPECT_EQ(log.count(1, L"pictAspectRatio.cy > 0"), 1u);
    EXPECT_EQ(ParseWith([](SetFields& f) { f.crop_bottom = 600; }).result, QZ_E_BAD_DATA);
}

TEST(H264PayloadParser, RefusesSizesBeyond31Bits) {
    const auto parse = [](auto change) { return ParseWith(change); };
    const Parsed wide = parse([](SetFields& f) { f.width_in_mbs = 0x7FFFFFF, f.crop_left = 1; });
    ASSERT_EQ(wide.result, S_OK);
    EXPECT_EQ(wide.info.hdr.bmiHeader.biWidth, 0x7FFFFFF0);
    EXPECT_EQ(wide.info.hdr.rcSource.right, 0x7FFFFFEE);
    log_capture quiet(0);
    // Cut to 32 bits these would be 16, which no check behind notices.
    EXPECT_EQ(parse([](SetFields& f) { f.width_in_mbs = 0x10000001; }).result, QZ_E_BAD_DATA);
    EXPECT_EQ(parse([](SetFields& f) { f.height_in_mbs = 0x10000001, f.crop_bottom = 0; }).result, QZ_E_BAD_DATA);
    EXPECT_EQ(parse([](SetFields& f) {
                  f.width_in_mbs = 0x7FFFFFF, f.aspect_ratio_idc = 255, f.sar_width = 65535, f.sar_height = 1;
              }).result,
              QZ_E_BAD_DATA);
    // Cropped to 1920 - 2^32.
    EXPECT_EQ(parse([](SetFields& f) { f.crop_left = 0x80000000; }).result, QZ_E_BAD_DATA);
}

TEST(H264PayloadParser, KnowsTheProfilesOfScannersAndEightScalingLists) {
    const auto width = [](unsigned profile, bool chroma_fields, unsigned lists) {
        bit_writer w;
        w.u(8, 0x67).u(8, profile).u(8, 0).u(8, 40).ue(0);
        if (chroma_fields) {
            w.ue(3).u(1, 0).ue(0).ue(0).u(1, 0).u(1, lists > 0 ? 1 : 0);
            for (unsigned list = 0; list < lists; ++list) {
                w.u(1, 1);
                for (int entry = 0; entry < (list < 6 ? 16 : 64); ++entry) w.se(1);
            }
        }
        w.ue(0).ue(2).ue(1).u(1, 0).ue(9).ue(8).u(1, 1).u(1, 1).u(1, 0).u(1, 0).trailing();
        const Parsed parsed = Parse(w.nal());
        return parsed.result == S_OK ? parsed.info.hdr.bmiHeader.biWidth : 0;
    };
    for (const unsigned profile : {100u, 110u, 122u, 244u, 44u, 83u, 86u, 118u, 128u}) {
        EXPECT_EQ(width(profile, true, 0), 160) << profile;
        EXPECT_EQ(width(profile, true, 8), 160) << profile;
    }
    for (const unsigned profile : {66u, 77u, 88u, 138u, 144u}) {
        EXPECT_EQ(width(profile, false, 0), 160) << profile;
    }
}

TEST(H264PayloadParser, WritesTheSequenceHeaderInAnnexB) {
    const Bytes payload = SetFields().Payload().nal();
    const auto header = [&payload](Bytes front, std::size_t skipped) {
        Bytes bytes = front;
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        DataBuffer buffer;
        buffer.Add(bytes.data(), bytes.size());
        EXPECT_EQ(buffer.SetReadPointer(buffer.Begin() + skipped), S_OK);
        H26xSyntaxReader reader(buffer);
        H264SequenceParameterSet sps(MEDIASUBTYPE_H264);
        EXPECT_EQ(sps.Parse(reader), S_OK);
        CMediaType type;
        EXPECT_EQ(sps.GetIdentifiedMediaType(type), S_OK);
        return Bytes(type.pbFormat + 132, type.pbFormat + 132 + 5);
    };
    EXPECT_EQ(header({}, 0), (Bytes{0, 0, 0, 1, 0x27}));
    EXPECT_EQ(header({0x67}, 1), (Bytes{0, 0, 0, 1, 0x67}));
    EXPECT_EQ(header({0, 1, 0x47}, 3), (Bytes{0, 0, 0, 1, 0x47}));
    EXPECT_EQ(header({0, 0, 0, 1, 0x47}, 5), (Bytes{0, 0, 0, 1, 0x47}));
    EXPECT_EQ(header({9, 9, 0, 0, 0, 1, 0x67}, 7), (Bytes{0, 0, 0, 1, 0x67}));

    // The whole set follows, emulation prevention included (the timing has it).
    const Bytes nal = FromHex(h264_sets[0].nal);
    const Parsed parsed = Parse(nal);
    EXPECT_EQ(Bytes(parsed.header.begin() + 4, parsed.header.end()), nal);
}

TEST(H264PayloadParser, WaitsForMoreData) {
    for (const H264Set& set : h264_sets) {
        SCOPED_TRACE(set.name);
        const Bytes nal = FromHex(set.nal);
        log_capture log(1);
        DataBuffer buffer;
        H264PayloadParser parser(buffer, MEDIASUBTYPE_H264);
        HRESULT hr = parser.ParseSPS();
        std::size_t held = 0;
        for (; hr == QZ_E_MORE_DATA && held < nal.size(); ++held) {
            EXPECT_FALSE(parser.HasIdentifiedMediaType());
            ASSERT_EQ(buffer.Add(&nal[held], 1), 1u);
            hr = parser.ParseSPS();
        }
        ASSERT_EQ(hr, S_OK);
        EXPECT_GE(held + 1, nal.size());  // the last byte may hold the stop bit alone
        EXPECT_TRUE(log.messages().empty());
        EXPECT_EQ(parser.SequenceParameterSet().vui_parameters.max_dec_frame_buffering, set.elements.back());
    }
}

TEST(H264PayloadParser, TakesOnlySequenceParameterSets) {
    log_capture log(1);
    EXPECT_EQ(Parse({0x68, 0xCE, 0x3C, 0x80}).result, E_UNEXPECTED);
    EXPECT_EQ(log.count(1, L"nal_unit_type == 7"), 1u);
    EXPECT_EQ(Parse({0x07, 66, 0, 40}).result, E_UNEXPECTED);
    EXPECT_EQ(log.count(1, L"nal_ref_idc != 0"), 1u);
    EXPECT_EQ(Parse({0xE7, 66, 0, 40}).result, E_UNEXPECTED);
    EXPECT_EQ(log.count(1, L"forbidden_zero_bit == 0"), 1u);
    DataBuffer buffer;
    H264PayloadParser parser(buffer, MEDIASUBTYPE_AVC1);
    CMediaType type;
    EXPECT_EQ(parser.GetIdentifiedMediaType(type), E_UNEXPECTED);
    EXPECT_EQ(log.count(1, L"HasIdentifiedMediaType()"), 1u);
}

TEST(H264PayloadParser, SurvivesDamage) {
    log_capture quiet(0);
    std::mt19937 random(99);
    int parsed = 0;
    for (int round = 0; round < 3000; ++round) {
        const auto& set = h264_sets[static_cast<std::size_t>(round) % h264_sets.size()];
        Bytes nal = FromHex(set.nal);
        for (int flips = static_cast<int>(random() % 4); flips > 0; --flips) {
            nal[1 + random() % (nal.size() - 1)] ^= static_cast<BYTE>(1u << random() % 8);
        }
        static DataBuffer buffer;  // its block is large
        buffer.Reset();
        buffer.Add(nal.data(), 1 + random() % nal.size());
        H264PayloadParser parser(buffer, MEDIASUBTYPE_H264);
        const HRESULT hr = parser.ParseSPS();
        EXPECT_TRUE(hr == S_OK || hr == QZ_E_MORE_DATA || hr == QZ_E_BAD_DATA) << hr;
        CMediaType type;
        if (hr == S_OK && parser.GetIdentifiedMediaType(type) == S_OK) {
            ++parsed;
            EXPECT_EQ(type.cbFormat % 4, 0u);
        }
    }
    EXPECT_GT(parsed, 100);
}

}  // namespace
}  // namespace qz_MPEGUtil
