#include "VideoIO/StreamFilters/Handlers/H264ByteStreamHandler.h"

#include "Testing/Kit/bit_writer.h"
#include "Testing/Kit/h264_clips.h"
#include "Testing/Kit/log_capture.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"
#include "VideoIO/StreamFilters/Handlers/HandlerWriting_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace testdata;
using mediakit_test::bit_writer;
using mediakit_test::log_capture;

Bytes Sps(unsigned profile, std::uint64_t id, std::uint64_t width = 4, std::uint64_t chroma = 1) {
    bit_writer w;
    w.u(8, 0x67).u(8, profile).u(8, 0xC0).u(8, 30).ue(id);
    if (profile == 100) w.ue(chroma).ue(2).ue(1).u(2, 0);
    return w.ue(0).ue(2).ue(1).u(1, 0).ue(width - 1).ue(2).u(1, 1).u(1, 1).u(1, 0).u(1, 0).trailing().nal();
}

Bytes Pps(std::uint64_t id, std::uint64_t sps, std::int64_t qp = 0) {
    return bit_writer()
        .u(8, 0x68)
        .ue(id)
        .ue(sps)
        .u(2, 0)
        .ue(0)
        .ue(0)
        .ue(0)
        .u(3, 0)
        .se(qp)
        .se(0)
        .se(0)
        .u(3, 0)
        .trailing()
        .nal();
}

const Bytes kIdr = {0x65, 0x88, 0x84, 0x21};
const Bytes kSlice = {0x41, 0x9A, 0x12, 0x34, 0x56};
const Bytes kSei = {0x06, 0x05, 0x01, 0x99, 0x80};
const Bytes kDelimiter = {0x09, 0x10};
const Bytes kExtension = {0x6D, 0xB0};

CMediaType H264Type() { return TypeOf(MEDIATYPE_Video, MEDIASUBTYPE_H264); }

bool Logged(const log_capture& log, int level, const wchar_t* text) {
    const auto messages = log.messages();
    return std::any_of(messages.begin(), messages.end(), [&](const auto& message) {
        return message.level == level && message.text.find(text) != std::wstring::npos;
    });
}

TEST(H264Handler, PutsLengthsInPlaceOfStartCodes) {
    Writing writing(H264Type());
    const Bytes sps = Sps(66, 0), pps = Pps(0, 0);
    ASSERT_EQ(writing.Write(AnnexB({kDelimiter, sps, pps, kSei, kIdr, kSlice})), S_OK);
    EXPECT_EQ(writing.last, Prefixed({sps, pps, kIdr, kSlice}));
    EXPECT_EQ(writing.written.offset, 100u);
    EXPECT_EQ(writing.written.size, writing.last.size());
    EXPECT_TRUE(writing.written.isSync);
    EXPECT_EQ(writing.stream.writes, 8u);  // two a unit

    ASSERT_EQ(writing.Write(AnnexB({kSlice}), true), S_OK);
    EXPECT_EQ(writing.last, Prefixed({kSlice}));
    EXPECT_FALSE(writing.written.isSync);
    ASSERT_EQ(writing.Write(AnnexB({kSlice, kIdr})), S_OK);
    EXPECT_TRUE(writing.written.isSync);
}

TEST(H264Handler, WritesExactlyTheTypesOfPicturesAndParameterSets) {
    for (std::uint8_t type = 1; type < 32; ++type) {
        const Bytes unit = {static_cast<std::uint8_t>(0x60 | type), 0x55, 0x66};
        const bool kept = (type >= 1 && type <= 5) || type == 7 || type == 8 || type == 13 || type == 19;
        Writing writing(H264Type());
        ASSERT_EQ(writing.Write(AnnexB({unit, kSlice})), S_OK);
        EXPECT_EQ(writing.last, kept ? Prefixed({unit, kSlice}) : Prefixed({kSlice})) << int{type};
        EXPECT_EQ(writing.written.isSync, type == 5) << int{type};
        // As the last unit it is written whatever it is.
        ASSERT_EQ(writing.Write(AnnexB({kSlice, unit})), S_OK);
        EXPECT_EQ(writing.last, Prefixed({kSlice, unit})) << int{type};
        ASSERT_EQ(writing.Write(AnnexB({unit})), S_OK);
        EXPECT_EQ(writing.last, Prefixed({unit})) << int{type};
    }
}

TEST(H264Handler, TakesSamplesWithoutUnits) {
    Writing writing(H264Type());
    for (const Bytes& bytes :
         {Bytes{}, Bytes{0, 0, 1, 0x65}, Bytes{1, 2, 3, 4, 5, 6, 7}, Bytes(9), Bytes{0, 0, 1, 0, 0, 0, 1}}) {
        ASSERT_EQ(writing.Write(bytes), S_OK);
        EXPECT_EQ(writing.written.size, 0u);
        EXPECT_TRUE(writing.last.empty());
        EXPECT_FALSE(writing.written.isSync);
    }
    // Zeros behind the last unit are no part of it.
    ASSERT_EQ(writing.Write(Join({AnnexB({kSlice}), {0, 0, 0}})), S_OK);
    EXPECT_EQ(writing.last, Prefixed({kSlice}));
}

TEST(H264Handler, WritesALastUnitOfAnySizeWithoutACopy) {
    Bytes large = {0x65};
    large.resize(300000, 0x77);
    Writing writing(H264Type());
    ASSERT_EQ(writing.Write(AnnexB({large})), S_OK);
    EXPECT_EQ(writing.last, Prefixed({large}));
    EXPECT_EQ(writing.stream.writes, 2u);
}

TEST(H264Handler, EndsAtAFailedWrite) {
    for (std::uint64_t failing : {0, 1, 2, 3}) {
        Writing writing(H264Type());
        writing.stream.failing_write = failing;
        EXPECT_EQ(writing.Write(AnnexB({kIdr, kSlice})), E_FAIL) << failing;
    }
}

TEST(H264Handler, DescribesTheStreamByItsFirstParameterSets) {
    const Bytes sps = Sps(66, 3), pps = Pps(1, 3);
    Writing writing(H264Type());
    ASSERT_EQ(writing.Write(AnnexB({sps, pps, kIdr})), S_OK);
    const Bytes expected = Join({{1, 66, 0, 30, 0xFF, 0xE1, 0, static_cast<std::uint8_t>(sps.size())},
                                 sps,
                                 {1, 0, static_cast<std::uint8_t>(pps.size())},
                                 pps});
    EXPECT_EQ(writing.Configuration(), expected);

    // Another set of the same id changes the profile in the record, not the bytes; one of another id is added.
    const Bytes changed = Sps(77, 3), second = Pps(2, 3), again = Pps(1, 3, 5);
    ASSERT_EQ(writing.Write(AnnexB({changed, again, second, kIdr})), S_OK);
    Bytes after = Join({{1, 77, 0, 30, 0xFF, 0xE1, 0, static_cast<std::uint8_t>(sps.size())},
                        sps,
                        {2, 0, static_cast<std::uint8_t>(pps.size())},
                        pps,
                        {0, static_cast<std::uint8_t>(second.size())},
                        second});
    EXPECT_EQ(writing.Configuration(), after);

    // And so does a return to the first bytes.
    ASSERT_EQ(writing.Write(AnnexB({sps, kIdr})), S_OK);
    after[1] = 66;
    EXPECT_EQ(writing.Configuration(), after);
}

TEST(H264Handler, AddsTheFieldsOfHighProfiles) {
    const Bytes sps = Sps(100, 0, 4, 2), pps = Pps(0, 0);
    Writing writing(H264Type());
    ASSERT_EQ(writing.Write(AnnexB({sps, kExtension, pps, kExtension, kIdr})), S_OK);
    EXPECT_EQ(writing.last, Prefixed({sps, kExtension, pps, kExtension, kIdr}));
    EXPECT_EQ(writing.Configuration(), Join({{1, 100, 0, 30, 0xFF, 0xE1, 0, static_cast<std::uint8_t>(sps.size())},
                                             sps,
                                             {1, 0, static_cast<std::uint8_t>(pps.size())},
                                             pps,
                                             {0xFE, 0xFA, 0xF9, 2, 0, 2},
                                             kExtension,
                                             {0, 2},
                                             kExtension}));
}

TEST(H264Handler, CapturesFromTheFirstSample) {
    const auto first = Sample(AnnexB({Sps(66, 0), Pps(0, 0), kIdr}));
    Writing early(H264Type(), first.get());
    Writing late(H264Type());
    ASSERT_EQ(late.Write(first->bytes), S_OK);
    EXPECT_EQ(early.Configuration(), late.Configuration());
    EXPECT_FALSE(early.Configuration().empty());
}

TEST(H264Handler, HasNoRecordWithoutASequenceParameterSet) {
    const log_capture log;
    Writing writing(H264Type());
    EXPECT_TRUE(writing.Configuration().empty());
    EXPECT_TRUE(Logged(log, 2, L"Failed to get SPS header"));

    // Sets that cannot be used: cut short, and of a sequence that is not known. Both are written all the same.
    const Bytes cut = {0x67, 66, 0, 30}, orphan = Pps(0, 7);
    ASSERT_EQ(writing.Write(AnnexB({cut, orphan, kIdr})), S_OK);
    EXPECT_EQ(writing.last, Prefixed({cut, orphan, kIdr}));
    EXPECT_TRUE(writing.Configuration().empty());

    CMediaType type;
    EXPECT_TRUE(FAILED(writing.handler->media_type(type)));
    EXPECT_TRUE(Logged(log, 1, L"header != nullptr"));
    // The picture parameter set decides which sequence is current.
    ASSERT_EQ(writing.Write(AnnexB({Sps(66, 0), kIdr})), S_OK);
    EXPECT_TRUE(FAILED(writing.handler->media_type(type)));
}

TEST(H264Handler, MakesTheMediaTypeOfTheCurrentSequence) {
    VIDEOINFOHEADER2 input{};
    input.AvgTimePerFrame = 333667;
    CMediaType inputType = H264Type();
    inputType.formattype = FORMAT_VideoInfo2;
    inputType.SetFormat(reinterpret_cast<const BYTE*>(&input), sizeof input);
    const Bytes small = Sps(66, 0, 4), wide = Sps(77, 1, 40), pps = Pps(0, 0), widePps = Pps(1, 1);
    Writing writing(inputType);
    ASSERT_EQ(writing.Write(AnnexB({small, wide, pps, widePps, kIdr})), S_OK);

    const auto expect = [&](LONG width, DWORD profile) {
        CMediaType type;
        ASSERT_EQ(writing.handler->media_type(type), S_OK);
        EXPECT_EQ(type.subtype, MEDIASUBTYPE_AVC1);
        ASSERT_EQ(type.formattype, FORMAT_MPEG2Video);
        MPEG2VIDEOINFO info{};
        std::memcpy(&info, type.pbFormat, offsetof(MPEG2VIDEOINFO, dwSequenceHeader));
        EXPECT_EQ(info.hdr.bmiHeader.biWidth, width);
        EXPECT_EQ(info.hdr.bmiHeader.biHeight, 48);
        EXPECT_EQ(info.hdr.AvgTimePerFrame, 333667);
        EXPECT_EQ(info.dwProfile, profile);
        EXPECT_EQ(info.dwLevel, 30u);
        EXPECT_EQ(info.dwFlags, 4u);
        qz_DSFilters::ParameterSets sets;
        ASSERT_EQ(qz_DSFilters::GetAVCParameterSets(type, sets), S_OK);
        EXPECT_EQ(sets, (qz_DSFilters::ParameterSets{small, wide, pps, widePps}));
    };
    expect(640, 77);
    // The same bytes again make their sequence the current one.
    ASSERT_EQ(writing.Write(AnnexB({pps, kSlice})), S_OK);
    expect(64, 66);
}

TEST(H264Handler, ReadsAPictureSetAgainWhenItsSequenceHasChanged) {
    // With the map of the wider picture the set fits; with that of the small one it is bad and is dropped.
    const auto grouped = bit_writer()
                             .u(8, 0x68)
                             .ue(4)
                             .ue(0)
                             .u(2, 0)
                             .ue(1)
                             .ue(0)
                             .ue(59)
                             .ue(59)
                             .ue(0)
                             .ue(0)
                             .u(3, 0)
                             .se(0)
                             .se(0)
                             .se(0)
                             .u(3, 0)
                             .trailing()
                             .nal();
    const auto countOfPps = [](const Bytes& record) { return record[8 + record[7]]; };
    Writing writing(H264Type());
    ASSERT_EQ(writing.Write(AnnexB({Sps(66, 0, 4), grouped, kIdr})), S_OK);
    EXPECT_EQ(countOfPps(writing.Configuration()), 0);
    ASSERT_EQ(writing.Write(AnnexB({Sps(66, 0, 40), grouped, kIdr})), S_OK);
    EXPECT_EQ(countOfPps(writing.Configuration()), 1);
}

TEST(H264Handler, WritesTheUnitsOfEncodersStreams) {
    for (const auto& clip : mediakit_test::all_h264_clips()) {
        Writing writing(H264Type());
        ASSERT_EQ(writing.Write(clip.bytes), S_OK);
        std::size_t slices = 0;
        for (std::size_t at = 0; at + 4 < writing.last.size();) {
            const std::uint8_t* p = writing.last.data() + at;
            const std::size_t size = std::size_t{p[0]} << 24 | std::size_t{p[1]} << 16 | std::size_t{p[2]} << 8 | p[3];
            slices += (p[4] & 0x1F) == 1 || (p[4] & 0x1F) == 5;
            at += 4 + size;
            ASSERT_LE(at, writing.last.size());
        }
        EXPECT_EQ(slices, clip.slices.size()) << clip.name;
        EXPECT_GT(writing.Configuration().size(), 20u) << clip.name;
    }
}

TEST(Avc1Handler, CopiesSamplesAndTakesTheSetsOfTheMediaType) {
    const Bytes sps = Sps(66, 0), pps = Pps(0, 0);
    CMediaType type;
    ASSERT_EQ(qz_DSFilters::BuildAVC1MediaType({64, 48}, {4, 3}, 0, 400000, 0, 66, 30, {sps, pps}, 4, type), S_OK);
    Writing writing(type);
    EXPECT_EQ(writing.Configuration(), Join({{1, 66, 0, 30, 0xFF, 0xE1, 0, static_cast<std::uint8_t>(sps.size())},
                                             sps,
                                             {1, 0, static_cast<std::uint8_t>(pps.size())},
                                             pps}));
    const Bytes sample = Prefixed({kSei, kIdr});
    ASSERT_EQ(writing.Write(sample, true), S_OK);
    EXPECT_EQ(writing.last, sample);
    EXPECT_TRUE(writing.written.isSync);
    CMediaType out;
    ASSERT_EQ(writing.handler->media_type(out), S_OK);
    EXPECT_TRUE(out == type);

    const log_capture log;
    Writing bare(TypeOf(MEDIATYPE_Video, MEDIASUBTYPE_AVC1));
    EXPECT_TRUE(bare.Configuration().empty());
    EXPECT_TRUE(Logged(log, 2, L"Failed to get SPS header"));
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
