#include "Tools/mediakit/stream_window.h"

#include "Tools/mediakit/memory_input_test.h"

#include <gtest/gtest.h>

#include <random>

namespace mediakit_tool {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes SomeBytes(std::size_t size) {
    Bytes bytes(size);
    std::mt19937 random(7);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

/// Takes runs of all sizes, some larger than a block, and holds each of them for a while.
Bytes ReadInPieces(StreamWindow& window, std::size_t* position) {
    std::mt19937 random(11);
    std::vector<Slice> held;
    Bytes whole;
    for (;;) {
        const std::size_t wanted = random() % 9 == 0 ? 700 + random() % 2000 : 1 + random() % 150;
        while (window.Size() < wanted && window.Fill()) {
        }
        const std::size_t size = std::min(wanted, window.Size());
        if (size == 0) break;
        EXPECT_EQ(window.Position(), *position);
        held.push_back(window.Take(size));
        *position += size;
        if (held.size() == 20) {
            for (const Slice& slice : held) whole.insert(whole.end(), slice.data, slice.data + slice.size);
            held.clear();
        }
    }
    for (const Slice& slice : held) whole.insert(whole.end(), slice.data, slice.data + slice.size);
    return whole;
}

TEST(StreamWindow, RunsStayWholeAcrossBlocks) {
    const Bytes bytes = SomeBytes(200'000);
    for (const std::size_t largestRead : {std::size_t{1}, std::size_t{333}, std::size_t{1} << 20}) {
        MemoryInput input(bytes, largestRead);
        StreamWindow window(input, BlockPool::Create(1000, 4));
        std::size_t position = 0;
        EXPECT_EQ(ReadInPieces(window, &position), bytes) << largestRead;
        EXPECT_EQ(window.BytesRead(), bytes.size());
        EXPECT_TRUE(window.AtEnd());
        EXPECT_EQ(window.Error(), NO_ERROR);
    }
}

TEST(StreamWindow, AFailureComesBehindWhatWasRead) {
    const Bytes bytes = SomeBytes(5'500);
    MemoryInput input(bytes, 100, ERROR_IO_DEVICE);
    StreamWindow window(input, BlockPool::Create(1000, 4));
    while (window.Fill()) {
        EXPECT_EQ(window.Error(), NO_ERROR);
    }
    EXPECT_EQ(Bytes(window.Bytes().begin(), window.Bytes().end()), bytes);
    EXPECT_EQ(window.Error(), ERROR_IO_DEVICE);
    EXPECT_FALSE(window.Fill());
}

TEST(StreamWindow, CutTakesOutOfTheMiddle) {
    MemoryInput input({1, 2, 3, 4, 5, 6, 7, 8});
    StreamWindow window(input, BlockPool::Create(1000, 4));
    window.Fill();
    window.Drop(1);
    window.Cut(2, 3);
    EXPECT_EQ(Bytes(window.Bytes().begin(), window.Bytes().end()), (Bytes{2, 3, 7, 8}));
}

}  // namespace
}  // namespace mediakit_tool
