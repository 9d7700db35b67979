#include "VideoIO/StreamFilters/Authoring/MP4SampleDescription.h"

#include "Platform/DirectShow/WaveFormatTags.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"
#include "VideoIO/StreamFilters/Handlers/HandlerWriting_test.h"

#include <gtest/gtest.h>

#include <limits>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace testdata;
using namespace vio::mp4;

/// A handler with a record of its own.
class RecordHandler : public byte_stream_handler {
public:
    RecordHandler() : byte_stream_handler(CMediaType()) {}
    HRESULT decoder_configuration(std::vector<std::uint8_t>& record) override {
        record = {0xC0, 0xC1, 0xC2};
        return S_OK;
    }
};

/// The bytes of `stsd` with the entry for the type.
Bytes Describe(const CMediaType& type, byte_stream_handler* handler = nullptr) {
    mp4_writer writer;
    const auto stsd = writer.add_box<sample_description_box>(nullptr);
    add_sample_entry(writer, stsd, type, handler);
    const auto stream = std::make_shared<mediakit_test::failing_stream>();
    writer.write(stream, true);
    return stream->content;
}

Bytes Box(const char (&code)[5], const Bytes& content) {
    const std::size_t size = content.size() + 8;
    Bytes head = {0, 0, static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)};
    head.insert(head.end(), code, code + 4);
    return Join({head, content});
}

Bytes Stsd(const Bytes& entry) {
    return Box("stsd", Join({{0, 0, 0, 0, 0, 0, 0, static_cast<std::uint8_t>(entry.empty() ? 0 : 1)}, entry}));
}

Bytes Visual(std::uint8_t width, std::uint8_t height, Bytes name) {
    if (!name.empty()) name.insert(name.begin(), static_cast<std::uint8_t>(name.size()));
    name.resize(32);
    return Join({Bytes(6),
                 {0, 1},
                 Bytes(16),
                 {0, width, 0, height, 0, 0x48, 0, 0, 0, 0x48, 0, 0},
                 Bytes(4),
                 {0, 1},
                 name,
                 {0, 0x18, 0xFF, 0xFF}});
}

CMediaType VideoType(const GUID& subtype, RECT source, LONG width, LONG height) {
    VIDEOINFOHEADER2 info{};
    info.rcSource = source;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    CMediaType type = TypeOf(MEDIATYPE_Video, subtype);
    type.formattype = FORMAT_VideoInfo2;
    type.SetFormat(reinterpret_cast<const BYTE*>(&info), sizeof info);
    return type;
}

CMediaType AudioType(const GUID& subtype, WORD tag, const Bytes& tail, DWORD bytesPerSecond = 0x3E80) {
    WAVEFORMATEX format{};
    format.wFormatTag = tag;
    format.nChannels = 2;
    format.nSamplesPerSec = 48000;
    format.nAvgBytesPerSec = bytesPerSecond;
    format.wBitsPerSample = 16;
    Bytes block(sizeof format);
    std::memcpy(block.data(), &format, sizeof format);
    block = Join({block, tail});
    CMediaType type = TypeOf(MEDIATYPE_Audio, subtype);
    type.formattype = FORMAT_WaveFormatEx;
    type.SetFormat(block.data(), static_cast<ULONG>(block.size()));
    return type;
}

Bytes Audio(const Bytes& esds) {
    return Box("mp4a", Join({Bytes(6),
                             {0, 1},
                             Bytes(8),
                             {0, 2, 0, 16},
                             Bytes(4),
                             {0xBB, 0x80, 0, 0},
                             Box("esds", Join({Bytes(4), esds}))}));
}

/// The descriptors of an AAC track, by hand: sizes count what follows them.
Bytes AacDescriptors(const Bytes& specific, Bytes rate = {0, 0, 0x3E, 0x80}) {
    const Bytes info = specific.empty() ? Bytes{} : Join({{5, static_cast<std::uint8_t>(specific.size())}, specific});
    const auto config = static_cast<std::uint8_t>(13 + info.size());
    return Join({{3, static_cast<std::uint8_t>(3 + 2 + config + 3), 0, 2, 0, 4, config, 0x40, 5 << 2, 0, 0, 0},
                 rate,
                 rate,
                 info,
                 {6, 1, 2}});
}

TEST(SampleDescription, DescribesVideoWithItsRecord) {
    RecordHandler handler;
    const Bytes record = {0xC0, 0xC1, 0xC2};
    for (const GUID& subtype : {MEDIASUBTYPE_H264, MEDIASUBTYPE_AVC1}) {
        EXPECT_EQ(Describe(VideoType(subtype, {}, 64, -48), &handler),
                  Stsd(Box("avc1", Join({Visual(64, 48, {'A', 'V', 'C'}), Box("avcC", record)}))));
    }
    for (const GUID& subtype : {MEDIASUBTYPE_H265, MEDIASUBTYPE_HVC1}) {
        EXPECT_EQ(Describe(VideoType(subtype, {}, 64, 48), &handler),
                  Stsd(Box("hvc1", Join({Visual(64, 48, {'H', 'E', 'V', 'C'}), Box("hvcC", record)}))));
    }
    EXPECT_EQ(Describe(VideoType(MEDIASUBTYPE_H264, {}, 64, 48), nullptr),
              Stsd(Box("avc1", Join({Visual(64, 48, {'A', 'V', 'C'}), Box("avcC", {})}))));
}

TEST(SampleDescription, PrefersTheSourceRectangle) {
    const auto expect = [](const CMediaType& type, std::uint8_t width, std::uint8_t height) {
        EXPECT_EQ(Describe(type), Stsd(Box("avc1", Join({Visual(width, height, {'A', 'V', 'C'}), Box("avcC", {})}))));
    };
    expect(VideoType(MEDIASUBTYPE_H264, {8, 4, 58, 44}, 64, 48), 50, 40);
    expect(VideoType(MEDIASUBTYPE_H264, {0, 0, 58, 0}, 64, 48), 64, 48);
    expect(TypeOf(MEDIATYPE_Video, MEDIASUBTYPE_H264), 0, 0);  // no format block at all
    // The low 16 bits of sizes beyond 32 bits.
    constexpr LONG least = std::numeric_limits<LONG>::min();
    constexpr LONG greatest = std::numeric_limits<LONG>::max();
    expect(VideoType(MEDIASUBTYPE_H264, {}, least + 7, least), 7, 0);
    expect(VideoType(MEDIASUBTYPE_H264, {least, least, greatest - 0xFF00, 5}, 64, 48), 0xFF, 5);
}

TEST(SampleDescription, DescribesJpegWithItsDescriptorsAndFields) {
    const Bytes esds = {0, 0, 0, 0, 3, 21, 0, 1, 0, 4, 13, 0x6C, 4 << 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 6, 1, 2};
    EXPECT_EQ(Describe(VideoType(MEDIASUBTYPE_MJPG, {}, 64, 48)),
              Stsd(Box("mp4v", Join({Visual(64, 48, {}), Box("esds", esds), Box("fiel", {1, 0})}))));
}

TEST(SampleDescription, TakesTheSpecificInfoFromBehindTheWaveFormat) {
    const Bytes specific = {0x11, 0x90};
    const Bytes expected = Stsd(Audio(AacDescriptors(specific)));
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_RAW_AAC1, WAVE_FORMAT_RAW_AAC1, specific)), expected);
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_MPEG_HEAAC, WAVE_FORMAT_MPEG_HEAAC, Join({Bytes(12, 7), specific}))),
              expected);
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_MP4A, WAVE_FORMAT_EXTENSIBLE, Join({Bytes(22, 7), specific}))), expected);
}

TEST(SampleDescription, HasNoSpecificInfoWhereThereAreNoBytesForIt) {
    const Bytes none = Stsd(Audio(AacDescriptors({})));
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_RAW_AAC1, WAVE_FORMAT_RAW_AAC1, {})), none);
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_MPEG_HEAAC, WAVE_FORMAT_MPEG_HEAAC, Bytes(12, 7))), none);
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_MPEG_HEAAC, WAVE_FORMAT_MPEG_HEAAC, Bytes(3, 7))), none);
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_MP4A, WAVE_FORMAT_EXTENSIBLE, Bytes(22, 7))), none);
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_RAW_AAC1, WAVE_FORMAT_RAW_AAC1, {0x11, 0x90}, 0)),
              Stsd(Audio(AacDescriptors({}, {0, 0, 0, 0}))));
}

TEST(SampleDescription, WritesALongSpecificInfoWhole) {
    // Sizes above 127 stand with their low group first.
    Bytes specific(2000);
    for (std::size_t i = 0; i < specific.size(); ++i) specific[i] = static_cast<std::uint8_t>(i);
    const Bytes stsd = Describe(AudioType(MEDIASUBTYPE_RAW_AAC1, WAVE_FORMAT_RAW_AAC1, specific));
    const auto found = std::search(stsd.begin(), stsd.end(), specific.begin(), specific.end());
    ASSERT_NE(found, stsd.end());
    EXPECT_EQ(Bytes(found - 3, found), (Bytes{5, 0xD0, 0x0F}));
    EXPECT_EQ(Bytes(found + 2000, stsd.end()), (Bytes{6, 1, 2}));
}

TEST(SampleDescription, LeavesOtherTypesWithoutAnEntry) {
    EXPECT_EQ(Describe(TypeOf(MEDIATYPE_Video, MEDIASUBTYPE_DIVX)), Stsd({}));
    EXPECT_EQ(Describe(AudioType(MEDIASUBTYPE_PCM, 1, {})), Stsd({}));
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
