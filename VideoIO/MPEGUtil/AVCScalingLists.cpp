#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

namespace ProtectedLibrary {

namespace {

// ITU-T H.264, tables 7-3 and 7-4, in zigzag order.
constexpr std::array<std::uint8_t, 16> kIntra4x4 = {6, 13, 13, 20, 20, 20, 28, 28, 28, 28, 32, 32, 32, 37, 37, 42};
constexpr std::array<std::uint8_t, 16> kInter4x4 = {10, 14, 14, 20, 20, 20, 24, 24, 24, 24, 27, 27, 27, 30, 30, 34};
constexpr std::array<std::uint8_t, 64> kIntra8x8 = {6,  10, 10, 13, 11, 13, 16, 16, 16, 16, 18, 18, 18, 18, 18, 23,
                                                    23, 23, 23, 23, 23, 25, 25, 25, 25, 25, 25, 25, 27, 27, 27, 27,
                                                    27, 27, 27, 27, 29, 29, 29, 29, 29, 29, 29, 31, 31, 31, 31, 31,
                                                    31, 33, 33, 33, 33, 33, 36, 36, 36, 36, 38, 38, 38, 40, 40, 42};
constexpr std::array<std::uint8_t, 64> kInter8x8 = {9,  13, 13, 15, 13, 15, 17, 17, 17, 17, 19, 19, 19, 19, 19, 21,
                                                    21, 21, 21, 21, 21, 22, 22, 22, 22, 22, 22, 22, 24, 24, 24, 24,
                                                    24, 24, 24, 24, 25, 25, 25, 25, 25, 25, 25, 27, 27, 27, 27, 27,
                                                    27, 28, 28, 28, 28, 28, 30, 30, 30, 30, 32, 32, 32, 33, 33, 35};

}  // namespace

AVCScalingLists flat_scaling_lists() {
    AVCScalingLists lists;
    for (auto& list : lists.lists4x4) list.fill(16);
    for (auto& list : lists.lists8x8) list.fill(16);
    return lists;
}

const AVCScalingLists& default_scaling_lists() {
    static constexpr AVCScalingLists lists = {{kIntra4x4, kIntra4x4, kIntra4x4, kInter4x4, kInter4x4, kInter4x4},
                                              {kIntra8x8, kInter8x8, kIntra8x8, kInter8x8, kIntra8x8, kInter8x8}};
    return lists;
}

/// scaling_list (clause 7.3.2.1.1.1): false when the stream asks for the default list instead.
template <std::size_t Size>
bool AVCHeadersBitstream::read_scaling_list(std::array<std::uint8_t, Size>& list) {
    std::int32_t last = 8;
    std::int32_t next = 8;
    for (std::size_t i = 0; i < Size; ++i) {
        if (next != 0) {
            const std::int32_t delta = se();
            require(delta >= -128 && delta <= 127);
            next = (last + delta + 256) % 256;
            if (i == 0 && next == 0) {
                return false;
            }
        }
        last = next == 0 ? last : next;
        list[i] = static_cast<std::uint8_t>(last);
    }
    return true;
}

void AVCHeadersBitstream::read_scaling_lists(AVCScalingLists& lists, unsigned count8x8,
                                             const AVCScalingLists& fall_back) {
    const AVCScalingLists& defaults = default_scaling_lists();
    for (unsigned i = 0; i < 6; ++i) {  // Y, Cb, Cr intra, then Y, Cb, Cr inter
        if (!get_flag()) {
            lists.lists4x4[i] = i % 3 == 0 ? fall_back.lists4x4[i] : lists.lists4x4[i - 1];
        } else if (!read_scaling_list(lists.lists4x4[i])) {
            lists.lists4x4[i] = defaults.lists4x4[i];
        }
    }
    for (unsigned i = 0; i < 6; ++i) {  // intra and inter by turns: Y, Cb, Cr
        if (i >= count8x8 || !get_flag()) {
            lists.lists8x8[i] = i < 2 ? fall_back.lists8x8[i] : lists.lists8x8[i - 2];
        } else if (!read_scaling_list(lists.lists8x8[i])) {
            lists.lists8x8[i] = defaults.lists8x8[i];
        }
    }
}

}  // namespace ProtectedLibrary
