#include "VideoIO/StreamFilters/Container/memory_stream.h"

#include "VideoIO/StreamFilters/Container/size_byte_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <limits>

namespace vio {
namespace {

using testing::ElementsAre;

TEST(MemoryStream, TransfersAreClippedAtTheEndAndAnswerFalse) {
    std::array<std::uint8_t, 4> block{9, 9, 9, 9};
    memory_stream stream(block.data(), block.size());
    const std::array<std::uint8_t, 6> data{1, 2, 3, 4, 5, 6};

    EXPECT_TRUE(stream.write(data.data(), 3));
    EXPECT_EQ(stream.tell(), 3u);
    EXPECT_FALSE(stream.write(data.data(), 6));
    EXPECT_EQ(stream.tell(), 4u);
    EXPECT_THAT(block, ElementsAre(1, 2, 3, 1));

    ASSERT_TRUE(stream.seek(1));
    EXPECT_FALSE(stream.write_zeros(4));
    EXPECT_THAT(block, ElementsAre(1, 0, 0, 0));

    ASSERT_TRUE(stream.seek(0));
    std::array<std::uint8_t, 6> read{};
    EXPECT_FALSE(stream.read(read.data(), 6));
    EXPECT_THAT(read, ElementsAre(1, 0, 0, 0, 0, 0));
    EXPECT_FALSE(stream.read(read.data(), 1));
    EXPECT_TRUE(stream.read(read.data(), 0));
    EXPECT_EQ(stream.size(), 4u);
}

TEST(MemoryStream, SkipsForwardInsideAndBackwardOnlyToTheFrontOrBeyond) {
    std::array<std::uint8_t, 8> block{};
    memory_stream stream(block.data() + 2, 4);

    EXPECT_TRUE(stream.skip(4));
    EXPECT_TRUE(stream.skip(0));
    EXPECT_FALSE(stream.skip(1));
    EXPECT_FALSE(stream.skip(-1)) << "a step back that stays inside is refused";
    EXPECT_EQ(stream.tell(), 4u) << "a refused skip changes nothing";
    EXPECT_TRUE(stream.skip(-4));
    EXPECT_EQ(stream.tell(), 0u);

    EXPECT_TRUE(stream.skip(-1));
    EXPECT_EQ(stream.tell(), ~std::uint64_t{0});
    const std::uint8_t mark = 7;
    EXPECT_TRUE(stream.write(&mark, 1));
    EXPECT_EQ(block[1], 7) << "the position stood before the block";
}

TEST(MemoryStream, SkipsByTheLeastNumber) {
    std::uint8_t byte = 0;
    memory_stream stream(&byte, 1);
    EXPECT_TRUE(stream.skip(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(stream.tell(), std::uint64_t{1} << 63);
}

TEST(MemoryStream, SeekIsNotCheckedAndWrapsWhatRemains) {
    std::array<std::uint8_t, 4> block{};
    memory_stream stream(block.data(), block.size());
    EXPECT_TRUE(stream.seek(5));
    EXPECT_EQ(stream.tell(), 5u);
    EXPECT_TRUE(stream.skip(0x7FFFFFFF)) << "four billion bytes seem to be left";
}

TEST(MemoryStream, MovesBetweenOffsetsFromTheCursor) {
    std::array<std::uint8_t, 6> block{1, 2, 3, 4, 5, 6};
    memory_stream stream(block.data(), block.size());
    ASSERT_TRUE(stream.seek(1));
    stream.move(0, 2, 3);  // overlapping
    EXPECT_THAT(block, ElementsAre(1, 2, 3, 2, 3, 4));
    EXPECT_EQ(stream.tell(), 1u);
}

TEST(MemoryStream, DumpsWhatLiesInFrontOfTheCursor) {
    std::array<std::uint8_t, 4> block{'a', 0, 'c', 'd'};
    memory_stream stream(block.data(), block.size());
    ASSERT_TRUE(stream.seek(3));
    const std::string path = testing::TempDir() + "memory_stream_dump";
    stream.dump_to_file(std::wstring(path.begin(), path.end()));

    std::ifstream file(path, std::ios::binary);
    const std::string dumped{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    std::remove(path.c_str());
    EXPECT_EQ(dumped, std::string("a\0c", 3));
}

TEST(SizeByteStream, CountsWhatWouldBeWritten) {
    size_byte_stream stream;
    EXPECT_TRUE(stream.write(nullptr, 10));
    EXPECT_TRUE(stream.write_zeros(5));
    EXPECT_TRUE(stream.skip(std::int64_t{1} << 40));
    EXPECT_TRUE(stream.skip(-3));
    EXPECT_TRUE(stream.read(nullptr, 2)) << "a read counts like a write";
    EXPECT_EQ(stream.tell(), 14u + (std::uint64_t{1} << 40));
    EXPECT_EQ(stream.size(), stream.tell());
    EXPECT_TRUE(stream.seek(0));
    EXPECT_TRUE(stream.write(nullptr, 1));
    EXPECT_EQ(stream.tell(), 1u);
    stream.close();
    EXPECT_EQ(stream.size(), 0u);
}

}  // namespace
}  // namespace vio
