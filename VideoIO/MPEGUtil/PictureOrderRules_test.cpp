#include "Testing/Kit/bit_writer.h"
#include "VideoIO/MPEGUtil/PictureOrderClips_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

namespace qz_MPEGUtil {
namespace {

using namespace test;
using mediakit_test::bit_writer;

TEST(H264PictureOrder, TellsReferenceAndIdrPictures) {
    Order order(false);
    const auto pictures = PicturesOf(ClipNamed("pyramid"), order);
    // I0 P4 B2 b1 b3: the first of the small ones is the fourth in decoding order.
    EXPECT_TRUE(pictures[0].idr && pictures[0].random_access && pictures[0].reference);
    EXPECT_EQ(pictures[0].nal_ref_idc, 3);
    EXPECT_TRUE(pictures[2].reference);
    EXPECT_FALSE(pictures[3].reference);
    EXPECT_FALSE(pictures[3].idr || pictures[3].random_access || pictures[3].field);
    EXPECT_EQ(pictures[1].picture_order_count, 8);
}

/// Slices of the grey test streams' parameter sets: frame_num in 4 bits, order count in 4 bits.
std::vector<std::uint8_t> FieldSlice(unsigned nal_header, unsigned frame_num, int bottom, unsigned lsb,
                                     int idr_pic_id = -1) {
    bit_writer slice;
    slice.u(8, nal_header).ue(0).ue(7).ue(0).u(4, frame_num).u(1, 1).u(1, static_cast<unsigned>(bottom));
    if (idr_pic_id >= 0) {
        slice.ue(static_cast<unsigned>(idr_pic_id));
    }
    return slice.u(4, lsb).u(8, 0).trailing().nal();
}

TEST(H264PictureOrder, PairsOnlyFieldsThatBelongTogether) {
    constexpr unsigned idr = 0x65, reference = 0x41, disposable = 0x01;
    const auto second = [](std::vector<std::vector<std::uint8_t>> slices) {
        H264PictureOrder order;
        for (const std::string_view set : ClipNamed("pcm paff").parameter_sets) {
            EXPECT_TRUE(order.AddParameterSet(FromHex(set)));
        }
        std::vector<bool> answers;
        for (const auto& slice : slices) {
            const auto picture = order.AddPicture(slice);
            EXPECT_TRUE(picture && picture->field);
            answers.push_back(picture && picture->second_field);
        }
        return answers;
    };
    const auto are = [](std::vector<bool> answers) { return answers; };
    EXPECT_EQ(second({FieldSlice(idr, 0, 0, 0, 0), FieldSlice(reference, 0, 1, 1)}), are({false, true}));
    EXPECT_EQ(second({FieldSlice(idr, 0, 1, 0, 0), FieldSlice(reference, 0, 0, 1)}), are({false, true}));
    // One parity twice, another frame_num, reference with non-reference.
    EXPECT_EQ(second({FieldSlice(idr, 0, 0, 0, 0), FieldSlice(reference, 0, 0, 1)}), are({false, false}));
    EXPECT_EQ(second({FieldSlice(idr, 0, 0, 0, 0), FieldSlice(reference, 1, 1, 1)}), are({false, false}));
    EXPECT_EQ(second({FieldSlice(idr, 0, 0, 0, 0), FieldSlice(disposable, 0, 1, 1)}), are({false, false}));
    // A pair is complete: a third field begins another.
    EXPECT_EQ(second({FieldSlice(disposable, 3, 0, 0), FieldSlice(disposable, 3, 1, 1), FieldSlice(disposable, 3, 0, 2),
                      FieldSlice(disposable, 3, 1, 3)}),
              are({false, true, false, true}));
    // Two IDR fields are one picture when they share their id.
    EXPECT_EQ(second({FieldSlice(idr, 0, 0, 0, 5), FieldSlice(idr, 0, 1, 1, 5)}), are({false, true}));
    EXPECT_EQ(second({FieldSlice(idr, 0, 0, 0, 5), FieldSlice(idr, 0, 1, 1, 6)}), are({false, false}));
}

/// A frame of the grey test streams of type 2, with operation 5 or without.
std::vector<std::uint8_t> Type2Slice(unsigned nal_header, unsigned frame_num, bool operation_5 = false) {
    bit_writer slice;
    slice.u(8, nal_header).ue(0).ue(7).ue(0).u(4, frame_num).u(1, 0);
    if (nal_header == 0x65) {
        slice.ue(0).u(2, 0);
    } else if (nal_header == 0x41) {
        slice.u(1, operation_5 ? 1 : 0);
        if (operation_5) {
            slice.ue(5).ue(0);
        }
    }
    return slice.u(8, 0).trailing().nal();
}

template <typename Order>
std::vector<int> CountsOf(Order& order, const std::vector<std::vector<std::uint8_t>>& slices) {
    std::vector<int> counts;
    for (const auto& slice : slices) {
        const auto picture = order.AddPicture(slice);
        EXPECT_TRUE(picture);
        counts.push_back(picture ? picture->picture_order_count : -1000);
    }
    return counts;
}

H264PictureOrder WithSetsOf(std::string_view name) {
    H264PictureOrder order;
    for (const std::string_view set : ClipNamed(name).parameter_sets) {
        EXPECT_TRUE(order.AddParameterSet(FromHex(set)));
    }
    return order;
}

TEST(H264PictureOrder, CountsFromFrameNumbers) {
    constexpr unsigned idr = 0x65, reference = 0x41, disposable = 0x01;
    auto order = WithSetsOf("pcm type2");
    // Wraps at 16, starts anew behind operation 5.
    EXPECT_EQ(CountsOf(order, {Type2Slice(idr, 0), Type2Slice(reference, 9), Type2Slice(disposable, 10),
                               Type2Slice(reference, 2), Type2Slice(reference, 7, true), Type2Slice(reference, 1),
                               Type2Slice(disposable, 2)}),
              (std::vector<int>{0, 18, 19, 36, 0, 2, 3}));
}

TEST(H264PictureOrder, CountsFromTheLastReferencePicture) {
    constexpr unsigned idr = 0x65, reference = 0x41, disposable = 0x01;
    auto order = WithSetsOf("pcm paff");
    // Order counts of 4 bits: 5 is read against 6, not against the 13 of a picture that nothing refers to.
    EXPECT_EQ(
        CountsOf(order, {FieldSlice(idr, 0, 0, 0, 0), FieldSlice(reference, 1, 0, 6), FieldSlice(disposable, 2, 0, 13),
                         FieldSlice(reference, 2, 0, 5), FieldSlice(reference, 3, 0, 12),
                         FieldSlice(reference, 4, 0, 4), FieldSlice(disposable, 5, 0, 13)}),
        (std::vector<int>{0, 6, 13, 5, 12, 20, 13}));
}

TEST(H264PictureOrder, CountsAnewBehindOperation5) {
    // Order count type 0 in 4 bits; a frame (bottom two before its top) or a field.
    const auto with_operation_5 = [](unsigned lsb, int bottom_field) {
        bit_writer slice;
        slice.u(8, 0x41).ue(0).ue(7).ue(0).u(4, 1).u(1, bottom_field >= 0 ? 1 : 0);
        if (bottom_field >= 0) {
            slice.u(1, static_cast<unsigned>(bottom_field)).u(4, lsb);
        } else {
            slice.u(4, lsb).se(-2);
        }
        return slice.u(1, 1).ue(5).ue(0).u(8, 0).trailing().nal();
    };
    for (const int bottom_field : {-1, 0, 1}) {
        auto order = WithSetsOf("pcm paff");
        EXPECT_EQ(CountsOf(order,
                           {FieldSlice(0x65, 0, 0, 0, 0), FieldSlice(0x41, 0, 1, 1), with_operation_5(12, bottom_field),
                            FieldSlice(0x41, 1, 0, 3), FieldSlice(0x41, 2, 0, 11)}),
                  (std::vector<int>{0, 1, 0, 3, 11}))
            << bottom_field;
    }
}

TEST(H264PictureOrder, WrapsTheCountsOfType1) {
    // One offset of 2^31 - 1 a frame, and a frame_num that falls with every second picture, so that the frames
    // counted reach 2^32.
    constexpr std::int32_t offset = 0x7FFFFFFF;
    bit_writer sps, pps;
    sps.u(8, 0x67).u(8, 66).u(8, 0).u(8, 40).ue(0).ue(12).ue(1).u(1, 1).se(0).se(0).ue(1).se(offset);
    sps.ue(1).u(1, 0).ue(0).ue(0).u(1, 1).u(1, 1).u(1, 0).u(1, 0).trailing();
    pps.u(8, 0x68).ue(0).ue(0).u(2, 0).ue(0).ue(0).ue(0).u(3, 0).se(0).se(0).se(0).u(3, 0).trailing();
    H264PictureOrder order;
    ASSERT_TRUE(order.AddParameterSet(sps.nal()) && order.AddParameterSet(pps.nal()));
    const auto slice = [](unsigned frame_num) {
        return bit_writer().u(8, 0x41).ue(0).ue(7).ue(0).u(16, frame_num).u(1, 0).u(8, 0).trailing().nal();
    };
    const auto first = slice(1), second = slice(0);
    for (std::uint64_t pair = 0; pair < 0x10004; ++pair) {
        const std::uint64_t frame = pair << 16 | 1;
        const auto before = order.AddPicture(first), behind = order.AddPicture(second);
        ASSERT_TRUE(before && behind);
        ASSERT_EQ(before->picture_order_count, static_cast<std::int32_t>(frame * offset)) << pair;
        ASSERT_EQ(behind->picture_order_count, static_cast<std::int32_t>((frame + 0xFFFF) * offset)) << pair;
    }
}

TEST(H264PictureOrder, ForgetsTheSequenceAtAResetAndKeepsTheSets) {
    const Clip& clip = ClipNamed("pyramid");
    H264PictureOrder order;
    EXPECT_EQ(order.ActiveSequence(), nullptr);
    EXPECT_FALSE(order.AddPicture(FromHex(clip.slices[0])));  // no parameter sets yet
    for (const std::string_view set : clip.parameter_sets) {
        ASSERT_TRUE(order.AddParameterSet(FromHex(set)));
    }
    for (const std::string_view slice : clip.slices) {
        ASSERT_TRUE(order.AddPicture(FromHex(slice)));
    }
    ASSERT_NE(order.ActiveSequence(), nullptr);
    order.Reset();
    EXPECT_EQ(order.ActiveSequence(), nullptr);
    EXPECT_EQ(order.ReorderDepth(), 0u);
    const auto picture = order.AddPicture(FromHex(clip.slices[1]));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->sequence, 0u);
    EXPECT_EQ(picture->picture_order_count, 8);
}

TEST(H265PictureOrder, TellsLeadingPictures) {
    const auto flags = [](std::string_view name) {
        Order order(true);
        std::vector<std::tuple<bool, bool, bool>> flagged;
        for (const PictureInfo& picture : PicturesOf(ClipNamed(name), order)) {
            EXPECT_EQ(picture.leading, picture.rasl || picture.radl);
            if (picture.leading) {
                flagged.emplace_back(picture.rasl, picture.radl, picture.output);
            }
        }
        return flagged;
    };
    // Three times three pictures refer across their CRA picture, shown as long as decoding did not start there.
    EXPECT_THAT(flags("open groups"), testing::AllOf(testing::SizeIs(9), testing::Each(std::tuple(true, false, true))));
    const auto cut = flags("begins at a CRA picture");
    ASSERT_EQ(cut.size(), 9u);
    for (std::size_t i = 0; i < cut.size(); ++i) {
        EXPECT_EQ(cut[i], std::tuple(true, false, i >= 3)) << i;
    }
    EXPECT_THAT(flags("decodable leading pictures"),
                testing::AllOf(testing::SizeIs(4), testing::Each(std::tuple(false, true, true))));
}

TEST(H265PictureOrder, TakesASequenceEndForAStart) {
    const Clip& clip = ClipNamed("end of sequence");
    H265PictureOrder order;
    for (const std::string_view set : clip.parameter_sets) {
        ASSERT_TRUE(order.AddParameterSet(FromHex(set)));
    }
    // Without the end, the same pictures go on with one sequence and every leading picture is shown.
    for (const std::string_view slice : clip.slices) {
        const auto picture = order.AddPicture(FromHex(slice));
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->sequence, 0u);
        EXPECT_TRUE(picture->output);
    }
}

/// Type, temporal id and order count of 4 bits.
std::vector<std::uint8_t> H265Slice(unsigned type, unsigned temporal_id, unsigned lsb) {
    bit_writer slice;
    slice.u(1, 0).u(6, type).u(6, 0).u(3, temporal_id + 1).u(1, 1);
    if (type >= 16 && type <= 23) {
        slice.u(1, 0);
    }
    slice.ue(0).ue(1);
    if (type != H265_NAL_IDR_W_RADL) {
        slice.u(4, lsb);
    }
    return slice.u(8, 0).trailing().nal();
}

/// With the parameter sets of H265Slice.
H265PictureOrder WithH265Sets() {
    bit_writer sps, pps;
    sps.u(16, 0x4201).u(4, 0).u(3, 0).u(1, 1).u(8, 1).u(32, 0).u(48, 0).u(8, 30).ue(0).ue(1).ue(64).ue(64).u(1, 0);
    sps.ue(0).ue(0).ue(0).u(1, 1).ue(4).ue(2).ue(0).ue(0).ue(1).ue(0).ue(1).ue(0).ue(0).u(1, 0).u(2, 0).u(1, 0);
    sps.ue(0).u(1, 0).u(2, 0).u(1, 0).u(1, 0).trailing();
    pps.u(16, 0x4401).ue(0).ue(0).u(2, 0).u(3, 0).trailing();
    H265PictureOrder order;
    EXPECT_TRUE(order.AddParameterSet(sps.nal()) && order.AddParameterSet(pps.nal()));
    return order;
}

TEST(H265PictureOrder, IgnoresReservedTypes) {
    for (unsigned type = 0; type < 32; ++type) {
        auto order = WithH265Sets();
        EXPECT_EQ(order.AddPicture(H265Slice(type, 0, 5)).has_value(), type <= 9 || (type >= 16 && type <= 21)) << type;
    }
}

TEST(H265PictureOrder, CountsFromTheLastPictureOfTheLowestLayer) {
    constexpr unsigned trail_n = 0, trail_r = 1, tsa_r = 3, radl_r = 7, rasl_r = 9, idr = 19;
    // Against 6 the count 5 is 5; against the 13 of the picture in between it would be 21.
    for (const auto& [type, temporal_id] : {std::pair{trail_n, 0u}, {tsa_r, 1u}, {radl_r, 0u}, {rasl_r, 0u}}) {
        auto order = WithH265Sets();
        EXPECT_EQ(CountsOf(order, {H265Slice(idr, 0, 0), H265Slice(trail_r, 0, 6), H265Slice(type, temporal_id, 13),
                                   H265Slice(trail_r, 0, 5), H265Slice(trail_r, 0, 12), H265Slice(trail_r, 0, 4),
                                   H265Slice(trail_r, 0, 14)}),
                  (std::vector<int>{0, 6, 13, 5, 12, 20, 14}))
            << type;
    }
}

TEST(H265PictureOrder, ReadsOutputFlagBehindExtraBits) {
    H265PictureOrder order;
    ASSERT_TRUE(order.AddParameterSet(FromHex(h265_vps_all_branches)));
    ASSERT_TRUE(order.AddParameterSet(FromHex(h265_sets.back().nal)));
    ASSERT_TRUE(order.AddParameterSet(FromHex(h265_pps_all_branches)));
    const auto picture = order.AddPicture(FromHex(h265_slice_all_branches));
    ASSERT_TRUE(picture);
    EXPECT_TRUE(picture->idr && picture->random_access && picture->starts_sequence);
    EXPECT_FALSE(picture->output);
    EXPECT_EQ(order.ReorderDepth(), 2u);
    ASSERT_NE(order.ActiveSequence(), nullptr);
    EXPECT_EQ(order.ActiveSequence()->sps_seq_parameter_set_id, 3u);
}

}  // namespace
}  // namespace qz_MPEGUtil
