#include "VideoIO/StreamFilters/Handlers/AACByteStreamHandler.h"

#include "Platform/DirectShow/WaveFormatTags.h"
#include "VideoIO/StreamFilters/Handlers/HandlerWriting_test.h"

#include <gtest/gtest.h>

#include <cstring>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace testdata;

// 48 kHz, stereo, low complexity. The frame length says 13 bytes, which is not looked at.
const Bytes kAdts = {0xFF, 0xF1, 0x4C, 0x80, 0x01, 0xBF, 0xFC};
const Bytes kFrame = {0x21, 0x10, 0x05, 0x00, 0xA0, 0x19};

Bytes WithCrc() {
    Bytes header = kAdts;
    header[1] = 0xF0;
    header.insert(header.end(), {0xAB, 0xCD});
    return header;
}

TEST(AacHandler, DropsTheAdtsHeader) {
    for (const GUID& subtype : {MEDIASUBTYPE_MPEG_ADTS_AAC, MEDIASUBTYPE_RAW_AAC1, MEDIASUBTYPE_MPEG_HEAAC}) {
        Writing writing(TypeOf(MEDIATYPE_Audio, subtype));
        for (const Bytes& header : {kAdts, WithCrc(), Bytes{}}) {
            ASSERT_EQ(writing.Write(Join({header, kFrame}), true), S_OK);
            EXPECT_EQ(writing.last, kFrame);
            EXPECT_EQ(writing.written.size, kFrame.size());
            EXPECT_TRUE(writing.written.isSync);
        }
        EXPECT_EQ(writing.written.offset, 100 + 2 * kFrame.size());
        EXPECT_TRUE(writing.Configuration().empty());
    }
}

TEST(AacHandler, WritesNothingOfAFrameThatIsOnlyAHeader) {
    Writing writing(TypeOf(MEDIATYPE_Audio, MEDIASUBTYPE_MPEG_ADTS_AAC));
    Bytes cutInCrc = WithCrc();
    cutInCrc.resize(8);
    for (const Bytes& header : {kAdts, WithCrc(), cutInCrc, Bytes{}}) {
        ASSERT_EQ(writing.Write(header), S_OK);
        EXPECT_TRUE(writing.last.empty());
        EXPECT_EQ(writing.written.size, 0u);
        EXPECT_EQ(writing.written.offset, 100u);
    }
    EXPECT_EQ(writing.stream.writes, 0u);
}

TEST(AacHandler, KnowsAHeaderByItsFixedBits) {
    EXPECT_EQ(adts_header_length(kAdts), 7u);
    EXPECT_EQ(adts_header_length(WithCrc()), 9u);
    struct Case {
        const char* what;
        std::size_t byte;
        std::uint8_t value;
    };
    for (const auto& [what, byte, value] : {Case{"first sync byte", 0, 0xFE}, Case{"second sync byte", 1, 0xE1},
                                            Case{"layer 1", 1, 0xF3}, Case{"layer 2", 1, 0xF5}}) {
        Bytes header = kAdts;
        header[byte] = value;
        EXPECT_EQ(adts_header_length(header), 0u) << what;
    }
    EXPECT_EQ(adts_header_length(std::span(kAdts).first(6)), 0u);
}

TEST(AacHandler, DescribesRawFrames) {
    WAVEFORMATEX format{};
    format.wFormatTag = WAVE_FORMAT_MPEG_ADTS_AAC;
    format.nChannels = 2;
    CMediaType type = TypeOf(MEDIATYPE_Audio, MEDIASUBTYPE_MPEG_ADTS_AAC);
    type.formattype = FORMAT_WaveFormatEx;
    type.SetFormat(reinterpret_cast<const BYTE*>(&format), sizeof format);
    CMediaType out;
    ASSERT_EQ(create_byte_stream_handler(type, nullptr)->media_type(out), S_OK);
    EXPECT_EQ(out.subtype, MEDIASUBTYPE_RAW_AAC1);
    ASSERT_EQ(out.cbFormat, sizeof format);
    WAVEFORMATEX written;
    std::memcpy(&written, out.pbFormat, sizeof written);
    EXPECT_EQ(written.wFormatTag, 0xFF);
    EXPECT_EQ(written.nChannels, 2);

    type.subtype = MEDIASUBTYPE_MPEG_HEAAC;
    type.SetFormat(reinterpret_cast<const BYTE*>(&format), 10);  // too short to be a wave format
    ASSERT_EQ(create_byte_stream_handler(type, nullptr)->media_type(out), S_OK);
    EXPECT_EQ(out.subtype, MEDIASUBTYPE_MPEG_HEAAC);
    EXPECT_EQ(out.cbFormat, 10u);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
