#include "Tools/mediakit/disk_guard.h"

#include <gtest/gtest.h>

#include <limits>

namespace mediakit_tool {
namespace {

constexpr std::uint64_t kMiB = 1024 * 1024;

TEST(DiskGuard, KeepsRoomForWhatIsInFlightAndForTheIndex) {
    // 100 MiB read, 96 written: 4 in flight; 100,000 samples need 3.2 MB of index.
    const DiskState state{20 * kMiB, 96 * kMiB, 100 * kMiB, 100'000, 1};
    const std::uint64_t room = RoomForInput(state);
    const std::uint64_t index = 100'000 * 32 + 64 * 1024;
    EXPECT_LT(room, 20 * kMiB - 4 * kMiB - index);
    // What is read now brings its own part of the index.
    EXPECT_NEAR(static_cast<double>(room) * (1 + 3.2e6 / (100.0 * kMiB)), static_cast<double>(16 * kMiB - index), 2);
}

TEST(DiskGuard, WhatTheWriterDropsIsNotTakenForInFlight) {
    // A tenth of the input never reaches the file: that is not 100 GB still to come.
    const DiskState state{100 * kMiB, 900'000 * kMiB, 1'000'000 * kMiB, 1000, 2};
    EXPECT_GT(RoomForInput(state), 70 * kMiB);
}

TEST(DiskGuard, FullIsFull) {
    EXPECT_EQ(RoomForInput({0, 0, 0, 0, 1}), 0u);
    EXPECT_EQ(RoomForInput({64 * 1024, 0, 0, 0, 1}), 0u);
    EXPECT_EQ(RoomForInput({kMiB, 0, kMiB, 0, 1}), 0u);
    EXPECT_GT(RoomForInput({std::numeric_limits<std::uint64_t>::max(), 0, 0, 0, 1}), kMiB);
}

TEST(DiskGuard, TellsOnceThatTheDiskIsFull) {
    int full = 0;
    // So many samples that no disk has room for their index.
    DiskGuard guard(
        "out.mp4", 1, [] { return std::uint64_t{1} << 50; }, [&full] { ++full; });
    EXPECT_EQ(guard.Grant(1000), 1000u);  // nothing is written yet
    guard.Arm();
    EXPECT_EQ(guard.Grant(1000), 0u);
    EXPECT_EQ(guard.Grant(1000), 0u);
    EXPECT_TRUE(guard.Full());
    EXPECT_EQ(full, 1);
}

TEST(DiskGuard, BooksWhatIsNeededAndAPartOfTheRoom) {
    DiskGuard guard(
        "out.mp4", 2, [] { return std::uint64_t{0}; }, [] {});
    guard.Arm();
    EXPECT_EQ(guard.Book(100, 70), 100u);
    EXPECT_EQ(guard.Book(100, 700), 700u);
    const std::uint64_t all = std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t much = guard.Book(0, all);
    ASSERT_GT(much, 700u);
    // What is booked and not written yet is not booked again, up to what may be on its way.
    const std::uint64_t needed = much * 8 + 24 * kMiB;
    EXPECT_EQ(guard.Book(needed * 2, all), 0u);
    EXPECT_TRUE(guard.Full());
}

}  // namespace
}  // namespace mediakit_tool
