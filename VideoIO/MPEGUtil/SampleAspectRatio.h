// Table E-1 of ITU-T H.264 and of ITU-T H.265: sample aspect ratios by aspect_ratio_idc.
#pragma once

#include <array>
#include <cstdint>

namespace qz_MPEGUtil {

struct SampleAspectRatio {
    std::int32_t width;
    std::int32_t height;
};

/// 0 is unspecified and taken as square; 255, which is not in the table, is an explicit ratio.
inline constexpr std::array<SampleAspectRatio, 17> sample_aspect_ratios = {{
    {1, 1},
    {1, 1},
    {12, 11},
    {10, 11},
    {16, 11},
    {40, 33},
    {24, 11},
    {20, 11},
    {32, 11},
    {80, 33},
    {18, 11},
    {15, 11},
    {64, 33},
    {160, 99},
    {4, 3},
    {3, 2},
    {2, 1},
}};

inline constexpr std::int32_t extended_sample_aspect_ratio = 255;

}  // namespace qz_MPEGUtil
