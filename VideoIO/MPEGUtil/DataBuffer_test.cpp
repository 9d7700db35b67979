#include "VideoIO/MPEGUtil/DataBuffer.h"

#include "MediaKit/Results.h"

#include <gtest/gtest.h>

#include <numeric>

namespace qz_MPEGUtil {
namespace {

std::vector<BYTE> Counting(std::size_t size, unsigned first = 0) {
    std::vector<BYTE> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<BYTE>(first + i);
    }
    return bytes;
}

TEST(DataBuffer, TakesWhatFits) {
    DataBuffer buffer;
    const std::vector<BYTE> much(2000000, 0x5A);
    EXPECT_EQ(buffer.Add(much.data(), much.size()), 1638400u);
    EXPECT_EQ(buffer.Add(much.data(), much.size()), 0u);
    EXPECT_EQ(buffer.BytesLeft(), 1638400u);
    ASSERT_EQ(buffer.SetReadPointer(buffer.Begin() + 1000), S_OK);
    EXPECT_EQ(buffer.Add(much.data(), much.size(), 77), 1000u);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.End() - 1), 77 + 999);
    buffer.Reset();
    EXPECT_EQ(buffer.BytesLeft(), 0u);
    EXPECT_FALSE(buffer.StreamPositionOf(buffer.Begin()));
}

TEST(DataBuffer, DropsReadBytesAtTheNextAdd) {
    DataBuffer buffer;
    const auto first = Counting(100), second = Counting(50, 100);
    ASSERT_EQ(buffer.Add(first.data(), first.size()), 100u);
    ASSERT_EQ(buffer.SetReadPointer(buffer.Begin() + 40), S_OK);
    EXPECT_EQ(buffer.BytesRead(), 40u);
    ASSERT_EQ(buffer.Add(second.data(), second.size()), 50u);
    EXPECT_EQ(buffer.BytesRead(), 0u);
    EXPECT_EQ(std::vector<BYTE>(buffer.ReadPointer(), buffer.End()), Counting(110, 40));
}

TEST(DataBuffer, MovesPositionsWithTheBytes) {
    DataBuffer buffer;
    const auto bytes = Counting(100);
    buffer.Add(bytes.data(), 100, 1000);
    buffer.Add(bytes.data(), 100, 1100);  // goes on where the last one ended: the same run
    buffer.Add(bytes.data(), 100, 5000);
    buffer.Add(bytes.data(), 100, 9000);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin() + 150), 1150);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin() + 299), 5099);

    // In the middle of the second run: the first is gone, the second's start has moved forward.
    ASSERT_EQ(buffer.SetReadPointer(buffer.Begin() + 230), S_OK);
    buffer.Add(bytes.data(), 10, 20000);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin()), 5030);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin() + 69), 5099);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin() + 70), 9000);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin() + 170), 20000);

    // Just behind the second run.
    ASSERT_EQ(buffer.SetReadPointer(buffer.Begin() + 70), S_OK);
    buffer.Add(bytes.data(), 10);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin()), 9000);

    // Everything read: nothing is remembered but what comes next.
    ASSERT_EQ(buffer.SetReadPointer(buffer.End()), S_OK);
    buffer.Add(bytes.data(), 10);
    EXPECT_FALSE(buffer.StreamPositionOf(buffer.Begin()));
}

TEST(DataBuffer, ComparesWithTheLastPositionLessWhatIsUnread) {
    DataBuffer buffer;
    const auto bytes = Counting(100);
    buffer.Add(bytes.data(), 100, 1000);
    ASSERT_EQ(buffer.SetReadPointer(buffer.Begin() + 40), S_OK);
    buffer.Add(bytes.data(), 10, 1100);  // goes on: what is left of the first run begins at 1040 now
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin() + 60), 1100);
    // Remembered apart, though 70 behind 1100: no position of its own was kept for the bytes before.
    buffer.Add(bytes.data(), 10, 1170);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin() + 69), 1109);
    EXPECT_EQ(buffer.StreamPositionOf(buffer.Begin() + 70), 1170);
}

TEST(DataBuffer, RemembersNoPositionWhenItIsFull) {
    DataBuffer buffer;
    const std::vector<BYTE> much(DataBuffer::capacity, 0x5A);
    ASSERT_EQ(buffer.Add(much.data(), much.size()), much.size());
    EXPECT_EQ(buffer.Add(much.data(), 1, 77), 0u);
    EXPECT_FALSE(buffer.StreamPositionOf(buffer.End()));
}

TEST(DataBuffer, KeepsTheReadPointerInside) {
    DataBuffer buffer;
    const auto bytes = Counting(10);
    buffer.Add(bytes.data(), bytes.size());
    EXPECT_EQ(buffer.SetReadPointer(buffer.Begin() + 10), S_OK);
    EXPECT_EQ(buffer.SetReadPointer(buffer.Begin() + 11), QZ_E_MORE_DATA);
    EXPECT_EQ(buffer.BytesRead(), 10u);
    EXPECT_EQ(buffer.SetReadPointer(nullptr), E_INVALIDARG);
    EXPECT_EQ(buffer.BytesRead(), 10u);
}

}  // namespace
}  // namespace qz_MPEGUtil
