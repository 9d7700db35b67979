#include "VideoIO/StreamFilters/Handlers/HandlerWriting_test.h"

#include <gtest/gtest.h>

#include <typeinfo>

namespace Norvane::MediaKit::Filters::details {
namespace {

using namespace testdata;

TEST(ByteStreamHandler, WritesSamplesAsTheyAre) {
    Writing writing(TypeOf(MEDIATYPE_Video, MEDIASUBTYPE_HVC1));
    ASSERT_EQ(writing.Write({0, 0, 0, 1, 0x26, 5}, true), S_OK);
    EXPECT_EQ(writing.last, (Bytes{0, 0, 0, 1, 0x26, 5}));
    EXPECT_EQ(writing.written.offset, 100u);
    EXPECT_EQ(writing.written.size, 6u);
    EXPECT_TRUE(writing.written.isSync);
    ASSERT_EQ(writing.Write({7}), S_OK);
    EXPECT_EQ(writing.written.offset, 106u);
    EXPECT_FALSE(writing.written.isSync);
    ASSERT_EQ(writing.Write({}), S_OK);
    EXPECT_EQ(writing.written.size, 0u);
    EXPECT_TRUE(writing.Configuration().empty());

    writing.stream.failing_write = writing.stream.writes;
    EXPECT_EQ(writing.Write({7}), E_FAIL);
}

TEST(ByteStreamHandler, GivesItsInputsMediaType) {
    CMediaType type = TypeOf(MEDIATYPE_Video, MEDIASUBTYPE_HVC1);
    type.SetFormat(Bytes{1, 2, 3}.data(), 3);
    CMediaType out;
    ASSERT_EQ(create_byte_stream_handler(type, nullptr)->media_type(out), S_OK);
    EXPECT_TRUE(out == type);
}

TEST(ByteStreamHandler, ReadsTheRangeThatTheTimesName) {
    byte_stream_handler handler{CMediaType()};
    mediakit_test::failing_stream stream({10, 11, 12, 13, 14, 15, 16, 17});
    const auto read = [&](REFERENCE_TIME start, REFERENCE_TIME stop, std::size_t room) {
        const auto sample = mediakit_test::heap_sample::create(Bytes(room), start, stop);
        const HRESULT hr = handler.read(*sample, stream);
        return std::pair(hr, hr == S_OK ? sample->bytes : Bytes{});
    };
    EXPECT_EQ(read(2, 5, 3), std::pair(S_OK, Bytes{12, 13, 14}));
    EXPECT_EQ(read(7, 8, 1), std::pair(S_OK, Bytes{17}));
    EXPECT_EQ(read(2, 5, 2).first, VFW_E_BUFFER_OVERFLOW);
    EXPECT_EQ(read(5, 2, 8).first, E_INVALIDARG);
    EXPECT_EQ(read(6, 9, 3).first, E_FAIL);

    const auto timeless = mediakit_test::heap_sample::create(Bytes(3), 0, 1);
    timeless->time.reset();
    EXPECT_EQ(handler.read(*timeless, stream), VFW_E_SAMPLE_TIME_NOT_SET);
}

TEST(ByteStreamHandler, SwapsBigEndianSamples) {
    pcm16be_byte_stream_handler handler{CMediaType()};
    mediakit_test::failing_stream stream({1, 2, 3, 4, 5});
    const auto sample = mediakit_test::heap_sample::create(Bytes(5), 0, 5);
    ASSERT_EQ(handler.read(*sample, stream), S_OK);
    EXPECT_EQ(sample->bytes, (Bytes{2, 1, 4, 3, 5}));

    const auto cut = mediakit_test::heap_sample::create(Bytes{9, 8, 7, 6}, 3, 7);
    EXPECT_EQ(handler.read(*cut, stream), E_FAIL);
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
