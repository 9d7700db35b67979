#include "VideoIO/MPEGUtil/MPEG4VideoDecoder.h"

#include "MediaKit/Results.h"
#include "Testing/Kit/bit_writer.h"
#include "VideoIO/MPEGUtil/Hex_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace qz_MPEGUtil {
namespace {

using mediakit_test::bit_writer;
using Bytes = std::vector<std::uint8_t>;

struct Answer {
    HRESULT result = S_OK;
    VideoDecoderParams params;
};

/// The block is copied to memory of its length, so that a sanitizer sees a read behind it.
Answer Read(std::span<const std::uint8_t> bytes) {
    const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[bytes.size() + 1]);
    std::uint8_t* const first = exact.get() + 1;
    std::copy(bytes.begin(), bytes.end(), first);
    const MediaData data{first, bytes.size()};
    Answer answer;
    answer.params.data = &data;
    MPEG4VideoDecoder decoder;
    answer.result = decoder.Init(answer.params);
    if (answer.result == S_OK) answer.result = decoder.GetInfo(answer.params);
    answer.params.data = nullptr;
    return answer;
}

void ExpectInfo(const Bytes& bytes, SIZE size, SIZE pixel, PictureStructure structure) {
    const Answer read = Read(bytes);
    EXPECT_EQ(read.result, S_OK);
    EXPECT_EQ(read.params.size.cx, size.cx);
    EXPECT_EQ(read.params.size.cy, size.cy);
    EXPECT_EQ(read.params.pixelAspectRatio.cx, pixel.cx);
    EXPECT_EQ(read.params.pixelAspectRatio.cy, pixel.cy);
    EXPECT_EQ(read.params.pictureStructure, structure);
}

constexpr auto Progressive = PictureStructure::Unknown;
constexpr auto Interlaced = PictureStructure::Interlaced;

TEST(MPEG4VideoDecoder, ReadsWhatEncodersWrite) {
    // The configurations that ffmpeg's mpeg4 encoder made for these properties.
    ExpectInfo(test::FromHex("000001b001000001b58913000001000000012000c48d8800cd0584121443000001b24c6176"), {176, 144},
               {1, 1}, Progressive);
    ExpectInfo(test::FromHex("000001b001000001b58913000001000000012000c4958ba9850b04241c43000001b24c6176"), {352, 288},
               {12, 11}, Interlaced);
    ExpectInfo(test::FromHex("000001b001000001b58913000001000000012000c4f928ed8801951684481443000001b24c6176"),
               {720, 576}, {37, 29}, Progressive);
}

/// A layer with all that is optional left out, changed one field at a time.
struct Layer {
    unsigned code = 0x120, type = 1, aspect = 1, par_width = 0, par_height = 0, shape = 0, resolution = 25;
    bool identifier = false, control = false, buffer_model = false, interlaced = false;
    unsigned increment_bits = 0, width = 8191, height = 2, markers = 0x1F;

    Bytes bytes() const {
        bit_writer w;
        auto marker = [&, n = 0]() mutable { w.u(1, markers >> n++ & 1); };
        w.u(32, code).u(1, 1).u(8, type).u(1, identifier);
        if (identifier) w.u(7, 0x55);
        w.u(4, aspect);
        if (aspect == 15) w.u(8, par_width).u(8, par_height);
        w.u(1, control);
        if (control) w.u(3, 2).u(1, buffer_model);
        if (buffer_model) w.u(64, 0x123456789ABCDEF0).u(15, 0x1234);
        w.u(2, shape);
        marker();
        w.u(16, resolution);
        marker();
        w.u(1, increment_bits != 0).u(increment_bits, 1);
        marker();
        w.u(13, width);
        marker();
        w.u(13, height);
        marker();
        return w.u(1, interlaced).u(6, 0).bytes();
    }
};

TEST(MPEG4VideoDecoder, ReadsEveryFormOfTheHeader) {
    const struct {
        Layer layer;
        SIZE pixel;
    } forms[] = {
        {{}, {1, 1}},
        {{.aspect = 5}, {40, 33}},
        {{.aspect = 6}, {1, 1}},  // reserved
        {{.aspect = 15, .par_width = 255, .par_height = 3}, {255, 3}},
        {{.aspect = 15, .par_width = 255, .par_height = 0}, {1, 1}},
        {{.identifier = true}, {1, 1}},
        {{.code = 0x12F, .control = true}, {1, 1}},
        {{.control = true, .buffer_model = true, .interlaced = true}, {1, 1}},
        {{.resolution = 1, .increment_bits = 1}, {1, 1}},
        {{.resolution = 2, .increment_bits = 1}, {1, 1}},
        {{.resolution = 32768, .increment_bits = 15}, {1, 1}},
        {{.resolution = 65535, .interlaced = true, .increment_bits = 16}, {1, 1}},
    };
    for (const auto& form : forms) {
        SCOPED_TRACE(&form - forms);
        const Bytes whole = form.layer.bytes();
        ExpectInfo(whole, {8191, 2}, form.pixel, form.layer.interlaced ? Interlaced : Progressive);
        // The padding is all that may be missing.
        for (std::size_t size = 0; size + 1 < whole.size(); ++size)
            EXPECT_EQ(Read(std::span(whole).first(size)).result, size < 4 ? QZ_E_BAD_DATA : QZ_E_MORE_DATA) << size;
    }
}

TEST(MPEG4VideoDecoder, RefusesWhatTellsNoSize) {
    const Layer layers[] = {
        {.code = 0x11F},   {.code = 0x130},                       // other start codes
        {.type = 14},      {.type = 15},      {.type = 18},       // other headers
        {.shape = 1},      {.shape = 2},      {.shape = 3},       // pictures with a size each
        {.width = 0},      {.height = 0},     {.resolution = 0},  // values that cannot be
        {.markers = 0x1E}, {.markers = 0x1D}, {.markers = 0x1B}, {.markers = 0x17}, {.markers = 0xF},
    };
    for (const Layer& layer : layers) {
        const Answer read = Read(layer.bytes());
        EXPECT_EQ(read.result, QZ_E_BAD_DATA) << &layer - layers;
        EXPECT_EQ(read.params.size.cx, 0) << "a failure leaves the properties as they were";
        EXPECT_EQ(read.params.pixelAspectRatio.cx, 0);
    }
    EXPECT_EQ(Read(test::FromHex("000080020810b0")).result, QZ_E_BAD_DATA) << "the short header";
    MPEG4VideoDecoder decoder;
    EXPECT_EQ(decoder.Init({}), E_POINTER);
}

}  // namespace
}  // namespace qz_MPEGUtil
