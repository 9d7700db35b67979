#include "Tools/mediakit/video_codec.h"

#include <gtest/gtest.h>

#include <array>

namespace mediakit_tool {
namespace {

TEST(H265Codec, TakesOnlySliceSegmentsOfTheBaseLayerForSlices) {
    const auto codec = MakeH265Codec();
    for (unsigned type = 0; type < 32; ++type) {
        const auto first = static_cast<std::uint8_t>(type << 1);
        const std::array<std::uint8_t, 3> base = {first, 1, 0x80}, other = {first, 9, 0x80};
        const bool slice = type <= 9 || (type >= 16 && type <= 21);
        EXPECT_EQ(codec->RoleOf(base), slice ? UnitRole::Slice : UnitRole::Inside) << type;
        EXPECT_EQ(codec->RoleOf(other), UnitRole::Inside) << type;
    }
}

}  // namespace
}  // namespace mediakit_tool
