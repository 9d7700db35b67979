#include "Tools/mediakit/output_order.h"

#include <gtest/gtest.h>

#include <vector>

namespace mediakit_tool {
namespace {

struct Fed {
    std::uint64_t sequence;
    std::int32_t count;
};

std::vector<std::int64_t> RanksOf(OutputOrder& order, const std::vector<Fed>& pictures, std::uint32_t depth) {
    std::vector<std::int64_t> ranks;
    const auto drain = [&] {
        while (order.Ready()) ranks.push_back(order.Pop().rank);
    };
    for (const Fed& fed : pictures) {
        OrderedPicture picture;
        picture.sequence = fed.sequence;
        picture.count = fed.count;
        picture.depth = depth;
        order.Add(std::move(picture));
        drain();
    }
    order.Finish();
    drain();
    return ranks;
}

TEST(OutputOrder, RanksAPyramidAcrossSequences) {
    OutputOrder order;
    const auto ranks = RanksOf(order, {{0, 0}, {0, 8}, {0, 4}, {0, 2}, {0, 6}, {1, 0}, {1, 2}}, 2);
    EXPECT_EQ(ranks, (std::vector<std::int64_t>{0, 4, 2, 1, 3, 5, 6}));
    EXPECT_EQ(order.Late(), 0u);
}

TEST(OutputOrder, LeadingPicturesComeBeforeTheFirst) {
    OutputOrder order;
    EXPECT_EQ(RanksOf(order, {{0, 0}, {0, -2}, {0, -1}, {0, 3}}, 1), (std::vector<std::int64_t>{2, 0, 1, 3}));
}

TEST(OutputOrder, WithoutReorderingNothingIsHeldBack) {
    OutputOrder order;
    for (int i = 0; i < 10; ++i) {
        OrderedPicture picture;
        picture.count = i;
        order.Add(std::move(picture));
        ASSERT_TRUE(order.Ready());
        EXPECT_EQ(order.Pop().rank, i);
    }
}

TEST(OutputOrder, AStreamThatBreaksItsBoundStillHasDistinctTimes) {
    OutputOrder order;
    EXPECT_EQ(RanksOf(order, {{0, 0}, {0, 10}, {0, 8}, {0, 6}}, 0), (std::vector<std::int64_t>{0, 1, 2, 3}));
    EXPECT_EQ(order.Late(), 2u);
}

TEST(OutputOrder, HoldsOnlySoMany) {
    OutputOrder order;
    std::vector<Fed> pictures = {{0, 0}, {0, 1'000'000}};  // shown last, behind more than can be held
    for (int i = 1; i < 1000; ++i) pictures.push_back({0, i});
    const auto ranks = RanksOf(order, pictures, 1);
    ASSERT_EQ(ranks.size(), pictures.size());
    EXPECT_LT(ranks[1], static_cast<std::int64_t>(OutputOrder::kMostHeld) + 1);
}

}  // namespace
}  // namespace mediakit_tool
