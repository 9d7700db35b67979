#include "VideoIO/MPEGUtil/SliceHeaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "VideoIO/MPEGUtil/Hex_test.h"
#include "VideoIO/MPEGUtil/MPEGTestClips_test.h"

namespace qz_MPEGUtil {
namespace {

using namespace test;
using testing::ElementsAreArray;

struct H264 {
    using Sets = H264ParameterSetTables;
    static unsigned Type(const std::vector<std::uint8_t>& nal) { return nal[0] & 0x1F; }
    static bool EndsPicture(unsigned type) { return H264StartsAccessUnitAfterSlice(static_cast<std::uint8_t>(type)); }
    static auto Read(const std::vector<std::uint8_t>& nal, const Sets& sets) { return ReadH264SliceHeader(nal, sets); }
};

struct H265 {
    using Sets = H265ParameterSetTables;
    static unsigned Type(const std::vector<std::uint8_t>& nal) { return nal[0] >> 1 & 0x3F; }
    static bool EndsPicture(unsigned type) { return H265StartsAccessUnitAfterSlice(static_cast<std::uint8_t>(type)); }
    static auto Read(const std::vector<std::uint8_t>& nal, const Sets& sets) { return ReadH265SliceHeader(nal, sets); }
};

/// Cuts a stream into access units the way a recorder does: the number of each NAL unit's. With
/// `by_slices_alone` the units between pictures are left out, so that only the slice headers tell.
template <typename Codec>
std::vector<int> Cut(const std::vector<UnitOfStream>& stream, bool by_slices_alone) {
    typename Codec::Sets sets;
    std::vector<int> numbers;
    decltype(Codec::Read({}, sets)) last;  // slice of the open access unit
    int number = 0;
    for (const UnitOfStream& unit : stream) {
        const auto nal = FromHex(unit.nal);
        sets.Add(nal);
        if (const auto slice = Codec::Read(nal, sets)) {
            number += last && StartsNewPicture(*last, *slice) ? 1 : 0;
            last = slice;
        } else if (by_slices_alone) {
            continue;
        } else if (last && Codec::EndsPicture(Codec::Type(nal))) {
            ++number;
            last.reset();
        }
        numbers.push_back(number);
    }
    return numbers;
}

template <typename Codec>
std::vector<int> Expected(const std::vector<UnitOfStream>& stream, bool slices_alone) {
    std::vector<int> numbers;
    for (const UnitOfStream& unit : stream) {
        const unsigned type = Codec::Type(FromHex(unit.nal));
        const bool slice = std::is_same_v<Codec, H264> ? type <= 5 : type <= 31;
        if (slice || !slices_alone) {
            numbers.push_back(unit.access_unit);
        }
    }
    return numbers;
}

TEST(SliceHeaders, CutStreamsIntoPictures) {
    for (const bool slices_alone : {false, true}) {
        EXPECT_THAT(Cut<H264>(h264_slices, slices_alone),
                    ElementsAreArray(Expected<H264>(h264_slices, slices_alone)));
        EXPECT_THAT(Cut<H265>(h265_slices, slices_alone),
                    ElementsAreArray(Expected<H265>(h265_slices, slices_alone)));
    }
}

TEST(SliceHeaders, EveryDifferenceOfH264StartsAPicture) {
    H264SliceHeader first;
    first.nal_ref_idc = 2;
    const auto starts = [&first](auto change) {
        H264SliceHeader next = first;
        next.first_mb_in_slice = 7;
        change(next);
        return StartsNewPicture(first, next);
    };
    EXPECT_FALSE(starts([](auto&) {}));
    EXPECT_FALSE(starts([](auto& s) { s.nal_ref_idc = 3; }));
    EXPECT_FALSE(starts([](auto& s) { s.slice_type = 2; }));
    EXPECT_TRUE(starts([](auto& s) { s.nal_ref_idc = 0; }));
    EXPECT_TRUE(starts([](auto& s) { s.frame_num = 1; }));
    EXPECT_TRUE(starts([](auto& s) { s.pic_parameter_set_id = 1; }));
    EXPECT_TRUE(starts([](auto& s) { s.field_pic_flag = true; }));
    EXPECT_TRUE(starts([](auto& s) { s.bottom_field_flag = true; }));
    EXPECT_TRUE(starts([](auto& s) { s.idr = true; }));
    EXPECT_TRUE(starts([](auto& s) { s.idr_pic_id = 1; }));
    EXPECT_TRUE(starts([](auto& s) { s.pic_order_cnt_lsb = 1; }));
    EXPECT_TRUE(starts([](auto& s) { s.delta_pic_order_cnt_bottom = 1; }));
    EXPECT_TRUE(starts([](auto& s) { s.delta_pic_order_cnt[1] = 1; }));
    EXPECT_FALSE(starts([](auto& s) { s.frame_num = 1, s.redundant_pic_cnt = 1; }));
}

TEST(SliceHeaders, FirstMarksNeedNoParameterSets) {
    std::vector<bool> first_of_picture, first_by_mark;
    for (const UnitOfStream& unit : h264_slices) {
        const auto nal = FromHex(unit.nal);
        if (const auto mb = ReadFirstMbInSlice(nal)) {
            first_by_mark.push_back(*mb == 0);
        }
    }
    // Eight pictures of four slices each.
    for (int slice = 0; slice < 32; ++slice) {
        first_of_picture.push_back(slice % 4 == 0);
    }
    EXPECT_EQ(first_by_mark, first_of_picture);

    std::size_t firsts = 0, others = 0;
    for (const UnitOfStream& unit : h265_slices) {
        if (const auto first = ReadFirstSliceSegmentInPicFlag(FromHex(unit.nal))) {
            ++(*first ? firsts : others);
        }
    }
    EXPECT_EQ(firsts, 8u);
    EXPECT_EQ(others, 8u);
    EXPECT_FALSE(ReadFirstMbInSlice({}));
    EXPECT_FALSE(ReadFirstMbInSlice(std::vector<std::uint8_t>{0x41, 0x00}));
    EXPECT_FALSE(ReadFirstSliceSegmentInPicFlag(std::vector<std::uint8_t>{0x02, 0x01}));
}

}  // namespace
}  // namespace qz_MPEGUtil
