#include "VideoIO/MPEGUtil/PictureOrder.h"

#include "VideoIO/MPEGUtil/PictureOrderClips_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <tuple>

namespace qz_MPEGUtil {
namespace {

using namespace test;
using testing::ElementsAreArray;

/// A frame put together from its one or two access units.
struct Frame {
    ShownFrame units;
    std::uint64_t sequence;
    std::int32_t count;
    bool output;
};

std::vector<Frame> FramesOf(const std::vector<PictureInfo>& pictures) {
    std::vector<Frame> frames;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const PictureInfo& picture = pictures[i];
        const int unit = static_cast<int>(i);
        if (picture.second_field) {
            Frame& frame = frames.back();
            (picture.bottom_field ? frame.units.bottom : frame.units.top) = unit;
            frame.count = std::min(frame.count, picture.picture_order_count);
        } else {
            frames.push_back({{unit, unit}, picture.sequence, picture.picture_order_count, picture.output});
        }
    }
    return frames;
}

bool Earlier(const Frame& a, const Frame& b) { return std::tie(a.sequence, a.count) < std::tie(b.sequence, b.count); }

std::vector<ShownFrame> Shown(std::vector<Frame> frames) {
    std::stable_sort(frames.begin(), frames.end(), Earlier);
    std::vector<ShownFrame> shown;
    for (const Frame& frame : frames) {
        if (frame.output) {
            shown.push_back(frame.units);
        }
    }
    return shown;
}

/// The order in which a recorder that never holds more than `depth` frames gives them on.
std::vector<ShownFrame> ShownWithin(std::uint32_t depth, const std::vector<Frame>& frames) {
    std::vector<Frame> held, given;
    const auto give = [&] {
        const auto first = std::min_element(held.begin(), held.end(), Earlier);
        given.push_back(*first);
        held.erase(first);
    };
    for (const Frame& frame : frames) {
        while (!held.empty() && held.front().sequence != frame.sequence) {
            give();
        }
        held.push_back(frame);
        if (held.size() > depth) {
            give();
        }
    }
    while (!held.empty()) {
        give();
    }
    std::vector<ShownFrame> shown;
    for (const Frame& frame : given) {
        if (frame.output) {
            shown.push_back(frame.units);
        }
    }
    return shown;
}

class PictureOrderOfClip : public testing::TestWithParam<Clip> {};

TEST_P(PictureOrderOfClip, SortsLikeADecoder) {
    const Clip& clip = GetParam();
    Order order(clip.h265);
    const auto pictures = PicturesOf(clip, order);
    const auto frames = FramesOf(pictures);
    EXPECT_THAT(Shown(frames), ElementsAreArray(clip.shown));
    EXPECT_EQ(order.ReorderDepth(), clip.reorder_depth);
    EXPECT_THAT(ShownWithin(order.ReorderDepth(), frames), ElementsAreArray(clip.shown));

    std::vector<int> starts;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        if (pictures[i].starts_sequence) {
            starts.push_back(static_cast<int>(i));
        }
    }
    EXPECT_THAT(starts, ElementsAreArray(clip.sequence_starts));
    EXPECT_EQ(pictures.back().sequence + 1, starts.size());
}

TEST_P(PictureOrderOfClip, RefusesCutHeadersWithoutAChange) {
    const Clip& clip = GetParam();
    Order whole(clip.h265), disturbed(clip.h265);
    const auto expected = PicturesOf(clip, whole);
    for (const std::string_view set : clip.parameter_sets) {
        ASSERT_TRUE(disturbed.Add(set));
    }
    std::size_t refused = 0;
    for (std::size_t unit = 0; unit < clip.slices.size(); ++unit) {
        if (EndsSequence(clip, unit)) {
            disturbed.EndOfSequence();
        }
        const auto slice = FromHex(clip.slices[unit]);
        std::optional<PictureInfo> picture;
        for (std::size_t size = 0; size <= slice.size() && !picture; ++size) {
            // A block of exactly that size, so that a read past it shows.
            const std::vector<std::uint8_t> cut(slice.begin(), slice.begin() + static_cast<std::ptrdiff_t>(size));
            picture = disturbed.Picture(cut);
            refused += picture ? 0 : 1;
        }
        ASSERT_TRUE(picture) << unit;
        EXPECT_EQ(picture->picture_order_count, expected[unit].picture_order_count) << unit;
        EXPECT_EQ(picture->second_field, expected[unit].second_field) << unit;
        EXPECT_EQ(picture->starts_sequence, expected[unit].starts_sequence) << unit;
    }
    EXPECT_GE(refused, 3 * clip.slices.size());
}

TEST_P(PictureOrderOfClip, SurvivesDamage) {
    const Clip& clip = GetParam();
    std::mt19937 random(20240611);
    const auto damage = [&random](std::vector<std::uint8_t> bytes) {
        for (int flips = static_cast<int>(random() % 4); flips >= 0; --flips) {
            bytes[random() % bytes.size()] ^= static_cast<std::uint8_t>(1u << random() % 8);
        }
        bytes.resize(1 + random() % bytes.size());
        return bytes;
    };
    for (int round = 0; round < 60; ++round) {
        H264PictureOrder first;
        H265PictureOrder second;
        for (const std::string_view set : clip.parameter_sets) {
            first.AddParameterSet(FromHex(set));
            second.AddParameterSet(FromHex(set));
            const auto damaged = damage(FromHex(set));
            first.AddParameterSet(damaged);
            second.AddParameterSet(damaged);
        }
        for (const std::string_view slice : clip.slices) {
            const auto damaged = damage(FromHex(slice));
            first.AddPicture(damaged);
            if (const auto picture = second.AddPicture(damaged)) {
                EXPECT_LE(picture->temporal_id, 6);
            }
            ASSERT_LE(first.ReorderDepth(), 16u);
            ASSERT_LE(second.ReorderDepth(), 15u);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, PictureOrderOfClip, testing::ValuesIn(clips), [](const auto& parameters) {
    std::string name = parameters.param.name;
    name.erase(std::remove_if(name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }), name.end());
    return name;
});

}  // namespace
}  // namespace qz_MPEGUtil
