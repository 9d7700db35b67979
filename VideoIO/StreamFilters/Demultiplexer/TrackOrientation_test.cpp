#include "VideoIO/StreamFilters/Demultiplexer/TrackOrientation.h"

#include <gtest/gtest.h>

namespace Norvane::MediaKit::Filters::details {
namespace {

TEST(TrackOrientation, IsAQuarterTurnOrUnknown) {
    constexpr std::uint32_t one = 0x10000;
    constexpr std::uint32_t minus = 0xFFFF0000;
    constexpr std::uint32_t w = 0x40000000;
    const struct {
        std::vector<std::uint32_t> matrix;
        DWORD orientation;
    } cases[] = {
        {{one, 0, 0, 0, one, 0, 0, 0, w}, 0},
        {{0, one, 0, minus, 0, 0, 0, 0, w}, 1},
        {{minus, 0, 0, 0, minus, 0, 0, 0, w}, 2},
        {{0, minus, 0, one, 0, 0, 0, 0, w}, 3},
        {{minus, 0, 0, 0, minus, 0, 640 * one, 480 * one, w}, 2},  // moved back into sight
        {{one, 0, 0, 0, minus, 0, 0, 0, w}, 4},                    // a mirror
        {{2 * one, 0, 0, 0, 2 * one, 0, 0, 0, w}, 4},
        {{one + 1, 0, 0, 0, one, 0, 0, 0, w}, 4},
        {{one, 0, 1, 0, one, 0, 0, 0, w}, 4},
        {{one, 0, 0, 0, one, 1, 0, 0, w}, 4},
        {{one, 0, 0, 0, one, 0, 0, 0, one}, 4},
        {std::vector<std::uint32_t>(9), 4},
        {{one, 0, 0, 0, one, 0}, 4},
    };
    for (const auto& c : cases) {
        vio::mp4::track_header_box tkhd;
        tkhd.matrix = c.matrix;
        EXPECT_EQ(OrientationOf(tkhd), c.orientation) << testing::PrintToString(c.matrix);
    }
}

}  // namespace
}  // namespace Norvane::MediaKit::Filters::details
