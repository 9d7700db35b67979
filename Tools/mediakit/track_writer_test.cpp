#include "Tools/mediakit/track_writer.h"

#include "Platform/DirectShow/WaveFormatTags.h"
#include "Testing/Kit/codec_types.h"
#include "Tools/mediakit/adts.h"
#include "Tools/mediakit/wave_header.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace mediakit_tool {
namespace {

using namespace mediakit_test;
using Norvane::MediaKit::Filters::TrackInformation;
using testing::HasSubstr;
using Result = TrackWriter::Result;

class TrackWriting : public testing::Test {
protected:
    TrackWriting()
        : m_path(testing::TempDir() + "mediakit-" +
                 std::to_string(std::chrono::steady_clock::now().time_since_epoch().count())) {}
    ~TrackWriting() override { std::filesystem::remove(m_path); }

    /// What the writer for that type makes of the samples.
    byte_vector Write(const AM_MEDIA_TYPE& type, std::vector<byte_vector> samples, const TrackInformation& track = {}) {
        const auto writer = MakeTrackWriter(type, track, false, &m_refusal);
        if (!writer) return {};
        ByteOutput output;
        EXPECT_EQ(output.Open(m_path), NO_ERROR);
        EXPECT_TRUE(writer->Begin(output));
        m_results.clear();
        for (byte_vector& sample : samples) m_results.push_back(writer->Write(sample, true, output));
        EXPECT_TRUE(writer->End(output) && output.Flush());
        output.Close();
        std::ifstream file(m_path, std::ios::binary);
        const byte_vector bytes{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(bytes.size(), output.Size());
        return bytes;
    }
    std::string Refusal(const AM_MEDIA_TYPE& type) {
        m_refusal.clear();
        EXPECT_EQ(MakeTrackWriter(type, {}, false, &m_refusal), nullptr);
        return m_refusal;
    }

    const std::string m_path;
    std::string m_refusal;
    std::vector<Result> m_results;
};

CMediaType AacType(const byte_vector& config, WORD channels = 2, bool extensible = false) {
    CMediaType type;
    const auto size = static_cast<DWORD>(config.size());
    if (extensible)
        qz_DSFilters::BuildExtensibleMediaType(0xFF, channels, 48000, 16, 0x3F, config.data(), size, type);
    else
        qz_DSFilters::BuildPCMMediaType(0xFF, channels, 48000, 16, 0, config.data(), size, type);
    return type;
}

TEST_F(TrackWriting, AacGetsTheHeadersThatItsConfigurationTells) {
    const byte_vector payload = {0x21, 1, 2, 3}, other(700, 0x22);
    for (const adts_options& options : {adts_options{}, adts_options{.profile = 0, .rate_index = 11, .channels = 1},
                                        adts_options{.profile = 3, .rate_index = 4, .channels = 6}}) {
        byte_vector wanted = adts_frame(payload, options);
        append(wanted, adts_frame(other, options));
        for (const bool extensible : {false, true})
            EXPECT_EQ(Write(AacType(audio_specific_config(options), 2, extensible), {payload, other}), wanted);
    }
    const adts_options core{.rate_index = 6};
    // Band replication signalled up front: 5, 24000, stereo, 48000, then the core's type 2.
    const byte_vector sbr = bit_writer().u(5, 5).u(4, 6).u(4, 2).u(4, 3).u(5, 2).u(3, 0).bytes();
    EXPECT_EQ(Write(AacType(sbr), {payload}), adts_frame(payload, core));
    // A frequency that stands there in full.
    const byte_vector full = bit_writer().u(5, 2).u(4, 15).u(24, 24000).u(4, 2).u(3, 0).bytes();
    EXPECT_EQ(Write(AacType(full), {payload}), adts_frame(payload, core));
    // MPEG-2 AAC may come without.
    EXPECT_EQ(Write(AacType({}), {payload}), adts_frame(payload, {}));
}

TEST_F(TrackWriting, ChannelsOfAProgramConfigurationStandInFrontOfTheFirstFrame) {
    bit_writer config;
    config.u(5, 2).u(4, 3).u(4, 0).u(3, 0);
    const auto element = [](bit_writer& to) {
        to.u(4, 0).u(2, 1).u(4, 3).u(4, 1).u(4, 0).u(4, 1).u(2, 0).u(3, 0).u(4, 0).u(3, 0).u(5, 16).u(5, 16);
        while (to.size() % 8 != 0) to.u(1, 0);
        to.u(8, 1).u(8, 'x');
    };
    element(config);
    bit_writer inFrame;
    inFrame.u(3, 5);
    element(inFrame);
    const byte_vector payload = {0x21, 1, 2};
    byte_vector first = inFrame.bytes();
    append(first, payload);
    byte_vector wanted = adts_frame(first, {.channels = 0});
    append(wanted, adts_frame(payload, {.channels = 0}));
    EXPECT_EQ(Write(AacType(config.bytes(), 4, true), {payload, payload}), wanted);
    // Unless it stands there already.
    EXPECT_EQ(Write(AacType(config.bytes(), 4, true), {first, payload}), wanted);
    // And what recorders make of that stream is the configuration again.
    const auto header = ReadAdtsHeader(wanted);
    ASSERT_TRUE(header);
    const auto recorded = MakeAacConfig(*header, wanted);
    ASSERT_TRUE(recorded);
    EXPECT_EQ(recorded->specificConfig, config.bytes());
    EXPECT_EQ(recorded->channels, 4u);
}

TEST_F(TrackWriting, RefusesWhatAdtsCannotTell) {
    const auto config = [](unsigned type, unsigned rate, unsigned channels, unsigned shortFrames) {
        bit_writer bits;
        if (type >= 31)
            bits.u(5, 31).u(6, type - 32);
        else
            bits.u(5, type);
        return AacType(bits.u(4, rate).u(4, channels).u(3, shortFrames << 2).u(16, 0).bytes());
    };
    EXPECT_THAT(Refusal(config(39, 3, 2, 0)), HasSubstr("object type 39"));
    EXPECT_THAT(Refusal(config(17, 3, 2, 0)), HasSubstr("object type 17"));
    EXPECT_THAT(Refusal(config(2, 13, 2, 0)), HasSubstr("frequency"));
    EXPECT_THAT(Refusal(config(2, 3, 11, 0)), HasSubstr("channel configuration 11"));
    EXPECT_THAT(Refusal(config(2, 3, 2, 1)), HasSubstr("960"));
    EXPECT_THAT(Refusal(AacType({0x11})), HasSubstr("cut short"));
    EXPECT_THAT(Refusal(CMediaType()), HasSubstr("no elementary stream"));
}

TEST_F(TrackWriting, AFrameThatIsTooLongIsDamage) {
    const byte_vector longest(AdtsHeader::kLongestFrame - AdtsHeader::kSize, 0x21);
    byte_vector tooLong = longest;
    tooLong.push_back(0);
    EXPECT_EQ(Write(AacType(audio_specific_config()), {tooLong, longest}), adts_frame(longest, {}));
    EXPECT_EQ(m_results, (std::vector{Result::Damaged, Result::Written}));
}

CMediaType PcmType(WORD channels, WORD bits) {
    CMediaType type;
    qz_DSFilters::BuildPCMMediaType(WAVE_FORMAT_PCM, channels, 8000, bits, 0, nullptr, 0, type);
    return type;
}

std::uint32_t At(const byte_vector& bytes, std::size_t at, int size = 4) {
    std::uint32_t value = 0;
    for (int i = size; i-- > 0;) value = value << 8 | bytes.at(at + static_cast<std::size_t>(i));
    return value;
}

// Sizes are known beforehand; the head is mended when they turn out otherwise.
TEST_F(TrackWriting, WaveHasTheSizesOfWhatWasWritten) {
    for (const std::uint64_t expected : {std::uint64_t{6}, std::uint64_t{100}}) {
        const byte_vector bytes = Write(PcmType(1, 16), {{1, 2, 3}, {4, 5, 6}}, {.totalBytes = expected});
        ASSERT_EQ(bytes.size(), 50u);
        EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "RIFF");
        EXPECT_EQ(At(bytes, 4), 42u);
        EXPECT_EQ(At(bytes, 22, 2), 1u);
        EXPECT_EQ(At(bytes, 28), 16000u);
        EXPECT_EQ(At(bytes, 32), 2u | 16u << 16);
        EXPECT_EQ(At(bytes, 40), 6u);
        EXPECT_EQ(byte_vector(bytes.begin() + 44, bytes.end()), (byte_vector{1, 2, 3, 4, 5, 6}));
    }
    // Bytes with a sign get none; an odd length gets a byte more, that does not count.
    const byte_vector odd = Write(PcmType(1, 8), {{0x80, 0, 0x7F}}, {.totalBytes = 3});
    EXPECT_EQ(byte_vector(odd.begin() + 44, odd.end()), (byte_vector{0, 0x80, 0xFF, 0}));
    EXPECT_EQ(At(odd, 40), 3u);
    EXPECT_EQ(At(odd, 4), 40u);
    const byte_vector swapped = Write(PcmType(1, 8), {{0, 0x80, 0x7F}}, {.sampleEntry = 0x74776F73, .totalBytes = 3});
    EXPECT_EQ(byte_vector(swapped.begin() + 44, swapped.end()), (byte_vector{0, 0x80, 0xFF, 0}));
}

TEST(WaveHeader, IsRf64WhenItsSizesNeedMoreThan32Bits) {
    const std::uint64_t large = 0x1'0000'0000;
    const auto small = WaveHeader({2, 48000, 16}, 0xFFFFFF00, 0xFFFFFF00);
    EXPECT_EQ(At(small, 4), 0xFFFFFF00u + 36);
    for (const std::uint64_t bytes : {large, std::uint64_t{8}}) {
        const auto head = WaveHeader({2, 48000, 16}, large, bytes);
        ASSERT_EQ(head.size(), 80u);
        EXPECT_EQ(std::memcmp(head.data(), "RF64\xFF\xFF\xFF\xFFWAVEds64", 16), 0);
        EXPECT_EQ(At(head, 20) | std::uint64_t{At(head, 24)} << 32, bytes + 72);
        EXPECT_EQ(At(head, 28) | std::uint64_t{At(head, 32)} << 32, bytes);
        EXPECT_EQ(At(head, 36) | std::uint64_t{At(head, 40)} << 32, bytes / 4);
        EXPECT_EQ(std::memcmp(&head[72], "data\xFF\xFF\xFF\xFF", 8), 0);
    }
}

TEST_F(TrackWriting, Mpeg4VideoHasItsHeaderInFrontOnce) {
    const byte_vector header = {0, 0, 1, 0xB0, 1, 0, 0, 1, 0x20, 5}, picture = {0, 0, 1, 0xB6, 9};
    const SIZE size{16, 16};
    CMediaType type;
    qz_DSFilters::BuildVideoInfo2MediaType(size, size, 0, MEDIASUBTYPE_MP4V, 400000, 0, header.data(),
                                           static_cast<DWORD>(header.size()), type);
    byte_vector wanted = header;
    append(wanted, picture);
    append(wanted, picture);
    EXPECT_EQ(Write(type, {picture, picture}), wanted);
    byte_vector first = header;
    append(first, picture);
    EXPECT_EQ(Write(type, {first, picture}), wanted);
}

TEST_F(TrackWriting, PiecesOfAnySizeComeInOrder) {
    byte_vector wanted;
    ByteOutput output;
    ASSERT_EQ(output.Open(m_path), NO_ERROR);
    for (std::size_t size = 1; size < 600'000; size = size * 3 / 2 + 1) {
        const byte_vector piece(size, static_cast<std::uint8_t>(size));
        append(wanted, piece);
        ASSERT_TRUE(output.Write(piece));
        EXPECT_EQ(output.Size(), wanted.size());
    }
    ASSERT_TRUE(output.Rewrite(1, byte_vector(5, 0xEE)));
    ASSERT_TRUE(output.Flush());
    std::fill_n(wanted.begin() + 1, 5, static_cast<std::uint8_t>(0xEE));
    std::ifstream file(m_path, std::ios::binary);
    EXPECT_EQ(byte_vector(std::istreambuf_iterator<char>(file), {}), wanted);
}

}  // namespace
}  // namespace mediakit_tool
