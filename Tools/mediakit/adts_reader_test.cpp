#include "Tools/mediakit/adts_reader.h"

#include "Platform/DirectShow/MediaFormats.h"
#include "Platform/DirectShow/Uuids.h"
#include "Testing/Kit/bit_writer.h"
#include "Tools/mediakit/memory_input_test.h"

#include <gmock/gmock.h>

#include <cstring>

namespace mediakit_tool {
namespace {

using mediakit_test::bit_writer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Bytes = std::vector<std::uint8_t>;

struct FrameLayout {
    unsigned frequencyIndex = 3;  // 48000
    unsigned channels = 2;
    unsigned blocks = 1;
    bool checksum = false;
};

Bytes Frame(const Bytes& payload, const FrameLayout& layout = {}) {
    const std::size_t header = layout.checksum ? 9 : 7;
    bit_writer bits;
    bits.u(12, 0xFFF).u(1, 0).u(2, 0).u(1, !layout.checksum).u(2, 1).u(4, layout.frequencyIndex).u(1, 0);
    bits.u(3, layout.channels).u(4, 0).u(13, header + payload.size()).u(11, 0x7FF).u(2, layout.blocks - 1);
    if (layout.checksum) bits.u(16, 0xBEEF);
    Bytes frame = bits.bytes();
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

Bytes Payload(std::size_t size, unsigned seed) {
    Bytes payload(size);
    for (std::size_t i = 0; i < size; ++i) payload[i] = static_cast<std::uint8_t>((i * 7 + seed) & 0x7F);
    return payload;
}

struct Cut {
    bool opened = false;
    std::string failure;
    std::vector<std::string> warnings;
    std::vector<Bytes> frames;
    std::vector<REFERENCE_TIME> starts;
    REFERENCE_TIME end = 0;
    TrackFacts facts;
    CMediaType type;
};

Cut CutAll(const Bytes& stream, std::size_t largestRead = 1 << 20) {
    MemoryInput input(stream, largestRead);
    SilentReport report;
    AdtsReader reader(input, report.Report());
    Cut cut;
    cut.opened = reader.Open();
    for (Unit unit; cut.opened && reader.Next(&unit);) {
        cut.frames.emplace_back(unit.slice.data, unit.slice.data + unit.slice.size);
        cut.starts.push_back(unit.start);
        cut.end = unit.stop;
        EXPECT_TRUE(unit.sync);
    }
    cut.failure = reader.Failure();
    cut.warnings = report.Warnings();
    cut.facts = reader.Facts();
    cut.type = reader.MediaType();
    return cut;
}

Bytes Join(const std::vector<Bytes>& parts) {
    Bytes whole;
    for (const Bytes& part : parts) whole.insert(whole.end(), part.begin(), part.end());
    return whole;
}

std::vector<Bytes> SomeFrames() {
    std::vector<Bytes> frames;
    for (unsigned i = 0; i < 6; ++i) frames.push_back(Frame(Payload(20 + 13 * i, i), {.checksum = i % 2 == 1}));
    return frames;
}

TEST(AdtsReader, CutsFramesWithTheirTimes) {
    const std::vector<Bytes> frames = SomeFrames();
    for (const std::size_t largestRead : {std::size_t{1}, std::size_t{10}, std::size_t{1} << 20}) {
        const Cut cut = CutAll(Join(frames), largestRead);
        ASSERT_TRUE(cut.opened) << cut.failure;
        EXPECT_EQ(cut.frames, frames);
        EXPECT_EQ(cut.starts[3], 640000);  // 3 x 1024 / 48000 s
        EXPECT_EQ(cut.end, 1280000);
        EXPECT_THAT(cut.warnings, IsEmpty());
        EXPECT_EQ(cut.facts.profile, "LC");
        EXPECT_EQ(cut.facts.sampleRate, 48000u);
        EXPECT_EQ(cut.facts.channels, 2u);
    }
}

TEST(AdtsReader, SeveralBlocksOfAFrameLastLonger) {
    const Cut cut = CutAll(Join({Frame(Payload(30, 1), {.blocks = 3}), Frame(Payload(30, 2))}));
    EXPECT_THAT(cut.starts, ElementsAre(0, 640000));
}

TEST(AdtsReader, MediaTypeCarriesTheConfiguration) {
    const Cut cut = CutAll(Join({Frame(Payload(93, 1), {.channels = 7}), Frame(Payload(107, 2), {.channels = 7})}));
    EXPECT_EQ(cut.type.subtype, MEDIASUBTYPE_MPEG_ADTS_AAC);
    ASSERT_EQ(cut.type.formattype, FORMAT_WaveFormatEx);
    ASSERT_EQ(cut.type.cbFormat, sizeof(WAVEFORMATEX) + 2);
    WAVEFORMATEX format;
    std::memcpy(&format, cut.type.pbFormat, sizeof format);
    EXPECT_EQ(format.wFormatTag, 0x1600);
    EXPECT_EQ(format.nChannels, 8);
    EXPECT_EQ(format.nSamplesPerSec, 48000u);
    EXPECT_EQ(format.nAvgBytesPerSec, 200u * 48000 / 2048);
    EXPECT_EQ(format.cbSize, 2);
    // Object type 2, frequency index 3, channel configuration 7
    EXPECT_EQ(cut.type.pbFormat[18], 0b00010'001);
    EXPECT_EQ(cut.type.pbFormat[19], 0b1'0111'000);
}

TEST(AdtsReader, CopiesAProgramConfiguration) {
    // Two front pairs, one back pair, one low frequency element: 7 channels; a comment of two bytes.
    bit_writer data;
    data.u(3, 5);
    const auto element = [](bit_writer& to) -> bit_writer& {
        to.u(4, 0).u(2, 1).u(4, 3).u(4, 2).u(4, 0).u(4, 1).u(2, 1).u(3, 0).u(4, 0).u(1, 0).u(1, 0).u(1, 0);
        return to.u(1, 1).u(4, 0).u(1, 1).u(4, 1).u(1, 1).u(4, 2).u(4, 0);
    };
    element(data);
    while (data.size() % 8 != 0) data.u(1, 0);
    data.u(8, 2).u(8, 'h').u(8, 'i').u(16, 0x1234);
    bit_writer config;
    config.u(5, 2).u(4, 3).u(4, 0).u(3, 0);
    element(config);
    while (config.size() % 8 != 0) config.u(1, 0);
    config.u(8, 2).u(8, 'h').u(8, 'i');

    const Bytes frame = Frame(data.bytes(), {.channels = 0});
    const Cut cut = CutAll(Join({frame, frame}));
    ASSERT_TRUE(cut.opened) << cut.failure;
    EXPECT_EQ(cut.facts.channels, 7u);
    const Bytes extra(cut.type.pbFormat + sizeof(WAVEFORMATEX), cut.type.pbFormat + cut.type.cbFormat);
    EXPECT_EQ(extra, config.bytes());

    const Bytes without = Frame(Payload(40, 3), {.channels = 0});
    EXPECT_THAT(CutAll(Join({without, without})).failure, HasSubstr("program configuration"));
}

TEST(AdtsReader, PassesOverJunkWithOneWarning) {
    const std::vector<Bytes> frames = SomeFrames();
    const Bytes junk = {'I', 'D', '3', 0xFF, 0xF1, 0x50, 0x80, 0x02, 0x1F, 0xFC, 1, 2};  // a header in it, of no frame
    for (std::size_t at = 0; at <= frames.size(); ++at) {
        if (at == 1) continue;  // nothing would vouch for the first frame
        std::vector<Bytes> parts = frames;
        parts.insert(parts.begin() + static_cast<std::ptrdiff_t>(at), junk);
        const Cut cut = CutAll(Join(parts), 5);
        EXPECT_EQ(cut.frames, frames) << at;
        EXPECT_EQ(cut.end, 1280000);
        EXPECT_THAT(cut.warnings, ElementsAre(HasSubstr("12 bytes that are no AAC frame"))) << at;
    }
}

TEST(AdtsReader, ACutLastFrameIsLeftOut) {
    const std::vector<Bytes> frames = SomeFrames();
    Bytes stream = Join(frames);
    stream.pop_back();
    const Cut cut = CutAll(stream);
    EXPECT_EQ(cut.frames.size(), frames.size() - 1);
    EXPECT_EQ(cut.warnings.size(), 1u);
}

TEST(AdtsReader, SaysWhatIsWrongWithAnInput) {
    EXPECT_THAT(CutAll({}).failure, HasSubstr("empty"));
    EXPECT_THAT(CutAll(Bytes(3000, 0x55)).failure, HasSubstr("no AAC frame in ADTS form in 3000 bytes"));
    EXPECT_THAT(CutAll({0, 0, 0, 1, 0x67, 1, 2, 3}).failure, HasSubstr("give it with --video"));
}

TEST(AdtsReader, AChangeInTheStreamIsToldOnce) {
    std::vector<Bytes> frames = SomeFrames();
    for (unsigned i = 0; i < 3; ++i) frames.push_back(Frame(Payload(50, i), {.channels = 1}));
    const Cut cut = CutAll(Join(frames));
    EXPECT_EQ(cut.frames, frames);
    EXPECT_THAT(cut.warnings, ElementsAre(HasSubstr("rate, channels or profile change")));
}

}  // namespace
}  // namespace mediakit_tool
