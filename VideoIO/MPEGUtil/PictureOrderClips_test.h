// The test streams of this folder given to the picture order classes.
#pragma once

#include "VideoIO/MPEGUtil/Hex_test.h"
#include "VideoIO/MPEGUtil/MPEGTestClips_test.h"
#include "VideoIO/MPEGUtil/PictureOrder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace qz_MPEGUtil::test {

/// Both classes by one face.
class Order {
public:
    explicit Order(bool h265) : m_h265(h265) {}
    bool Add(std::string_view set) {
        return m_h265 ? m_second.AddParameterSet(FromHex(set)) : m_first.AddParameterSet(FromHex(set));
    }
    std::optional<PictureInfo> Picture(std::span<const std::uint8_t> slice) {
        return m_h265 ? m_second.AddPicture(slice) : m_first.AddPicture(slice);
    }
    void EndOfSequence() { m_second.EndOfSequence(); }
    std::uint32_t ReorderDepth() const { return m_h265 ? m_second.ReorderDepth() : m_first.ReorderDepth(); }

private:
    bool m_h265;
    H264PictureOrder m_first;
    H265PictureOrder m_second;
};

inline bool EndsSequence(const Clip& clip, std::size_t unit) {
    return std::string_view(clip.name) == "end of sequence" && unit == std::size_t{end_of_sequence_at};
}

inline std::vector<PictureInfo> PicturesOf(const Clip& clip, Order& order) {
    for (const std::string_view set : clip.parameter_sets) {
        EXPECT_TRUE(order.Add(set)) << set;
    }
    std::vector<PictureInfo> pictures;
    for (std::size_t unit = 0; unit < clip.slices.size(); ++unit) {
        if (EndsSequence(clip, unit)) {
            order.EndOfSequence();
        }
        const auto picture = order.Picture(FromHex(clip.slices[unit]));
        EXPECT_TRUE(picture.has_value()) << "access unit " << unit;
        pictures.push_back(picture.value_or(PictureInfo{}));
    }
    return pictures;
}

inline const Clip& ClipNamed(std::string_view name) {
    return *std::find_if(clips.begin(), clips.end(), [name](const Clip& clip) { return clip.name == name; });
}

}  // namespace qz_MPEGUtil::test
