#include "VideoIO/MPEGUtil/SliceHeaders.h"

#include "Testing/Kit/bit_writer.h"
#include "VideoIO/MPEGUtil/Hex_test.h"
#include "VideoIO/MPEGUtil/MPEGTestClips_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qz_MPEGUtil {
namespace {

using namespace test;
using mediakit_test::bit_writer;
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
        EXPECT_THAT(Cut<H264>(h264_slices, slices_alone), ElementsAreArray(Expected<H264>(h264_slices, slices_alone)));
        EXPECT_THAT(Cut<H265>(h265_slices, slices_alone), ElementsAreArray(Expected<H265>(h265_slices, slices_alone)));
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

TEST(SliceHeaders, OnlySlicesOfTheBaseLayerHaveAFirstMark) {
    for (unsigned type = 0; type < 64; ++type) {
        for (const unsigned layer : {0u, 1u, 32u}) {
            const auto nal = bit_writer().u(1, 0).u(6, type).u(6, layer).u(3, 1).u(8, 0x80).bytes();
            const bool slice = layer == 0 && (type <= 9 || (type >= 16 && type <= 21));
            EXPECT_EQ(ReadFirstSliceSegmentInPicFlag(nal).value_or(false), slice) << type << " " << layer;
        }
    }
}

/// A slice of a reference picture whose header holds every optional part there is before the marking.
struct LongHeader {
    unsigned slice_type = 0;
    unsigned chroma_format_idc = 1;
    bool weights = true;
    bool modifications = true;
    std::vector<std::vector<unsigned>> operations;

    std::vector<std::uint8_t> Sequence() const {
        bit_writer w;
        w.u(8, 0x67).u(8, 100).u(8, 0).u(8, 40).ue(0).ue(chroma_format_idc).ue(0).ue(0).u(2, 0);
        return w.ue(0).ue(0).ue(0).ue(4).u(1, 0).ue(9).ue(8).u(1, 1).u(1, 1).u(1, 0).u(1, 0).trailing().nal();
    }
    std::vector<std::uint8_t> Picture() const {
        bit_writer w;
        w.u(8, 0x68).ue(0).ue(0).u(1, 0).u(1, 1).ue(0).ue(1).ue(0).u(1, weights ? 1 : 0).u(2, weights ? 1 : 0);
        return w.se(0).se(0).se(0).u(1, 0).u(1, 0).u(1, 1).trailing().nal();
    }
    std::vector<std::uint8_t> Slice() const {
        const bool b = slice_type == 1, intra = slice_type == 2;
        bit_writer w;
        w.u(8, 0x61).ue(0).ue(slice_type + 5).ue(0).u(4, 3).u(4, 9).se(-1).ue(0);  // redundant_pic_cnt 0
        std::vector<unsigned> sizes;
        if (!intra) {
            if (b) {
                w.u(1, 1);
            }
            sizes = b ? std::vector<unsigned>{3, 2} : std::vector<unsigned>{2};
            w.u(1, b ? 1 : 0);  // P slices keep the two entries of the picture parameter set
            if (b) {
                w.ue(2).ue(1);
            }
            for (std::size_t list = 0; list < sizes.size(); ++list) {
                w.u(1, modifications ? 1 : 0);
                if (modifications) {
                    w.ue(0).ue(4).ue(1).ue(3).ue(2).ue(3).ue(3);
                }
            }
        }
        if (weights && !intra) {
            WriteWeights(w, sizes);
        }
        w.u(1, operations.empty() ? 0 : 1);
        for (const auto& operation : operations) {
            for (const unsigned value : operation) w.ue(value);
        }
        if (!operations.empty()) {
            w.ue(0);
        }
        return w.trailing().nal();
    }

private:
    void WriteWeights(bit_writer& w, const std::vector<unsigned>& sizes) const {
        const bool chroma = chroma_format_idc != 0;
        w.ue(5);
        if (chroma) {
            w.ue(4);
        }
        for (const unsigned size : sizes) {
            for (unsigned entry = 0; entry < size; ++entry) {
                w.u(1, entry % 2);
                if (entry % 2 != 0) {
                    w.se(-30).se(7);
                }
                if (chroma) {
                    w.u(1, (entry + 1) % 2);
                    if (entry % 2 == 0) {
                        w.se(1).se(-2).se(30).se(-40);
                    }
                }
            }
        }
    }
};

TEST(SliceHeaders, FindOperation5BehindAllThatComesBefore) {
    const std::vector<std::vector<unsigned>> others = {{1, 2}, {2, 5}, {3, 5, 5}, {4, 5}, {6, 5}};
    auto with = others;
    with.insert(with.begin() + 3, {5});
    for (const unsigned slice_type : {0u, 1u, 2u}) {
        for (const unsigned chroma_format_idc : {0u, 1u}) {
            for (const bool weights : {false, true}) {
                SCOPED_TRACE(testing::Message() << slice_type << chroma_format_idc << weights);
                for (const auto& operations : {std::vector<std::vector<unsigned>>{}, others, with}) {
                    const LongHeader header{slice_type, chroma_format_idc, weights, weights, operations};
                    H264ParameterSetTables sets;
                    ASSERT_TRUE(sets.Add(header.Sequence()) && sets.Add(header.Picture()));
                    const auto nal = header.Slice();
                    const auto slice = ReadH264SliceHeaderWithMarking(nal, sets);
                    ASSERT_TRUE(slice);
                    EXPECT_EQ(slice->memory_management_control_operation_5, operations == with);
                    EXPECT_EQ(slice->slice_type, slice_type);
                    EXPECT_EQ(slice->frame_num, 3u);
                    EXPECT_EQ(slice->pic_order_cnt_lsb, 9u);
                    EXPECT_EQ(slice->delta_pic_order_cnt_bottom, -1);
                    // The last byte holds the end of the marking or the stop bit alone.
                    const std::vector<std::uint8_t> cut(nal.begin(), nal.end() - 2);
                    EXPECT_FALSE(ReadH264SliceHeaderWithMarking(cut, sets));
                }
            }
        }
    }
}

}  // namespace
}  // namespace qz_MPEGUtil
