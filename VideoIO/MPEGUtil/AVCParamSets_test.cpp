#include "VideoIO/MPEGUtil/AVCReader_test.h"

#include <gtest/gtest.h>

namespace ProtectedLibrary {
namespace {

using namespace testdata;

// Sequence parameter sets

TEST(AvcSeqParamSet, AcceptsAndRefusesByTheTableOfLimits) {
    struct Case {
        const char* what;
        SpsPlan good;
        SpsPlan bad;
    };
    for (const auto& [what, good, bad] :
         {Case{"profile", {.profile = 188}, {.profile = 244}},
          Case{"profile of the chroma branch", {.profile = 83}, {.profile = 44}},
          Case{"level", {.level = 62}, {.level = 9}}, Case{"id", {.id = 31}, {.id = 32}},
          Case{"chroma format", {.chroma = 3}, {.chroma = 4}},
          Case{"separate planes", {.chroma = 3}, {.chroma = 3, .separate_planes = true}},
          Case{"luma depth", {.luma = 8}, {.luma = 9}}, Case{"chroma depth", {.chroma_depth = 8}, {.chroma_depth = 9}},
          Case{"frame number", {.frame_num = 12}, {.frame_num = 13}},
          Case{"order type", {.order_type = 2}, {.order_type = 3}},
          Case{"order count", {.order_lsb = 12}, {.order_lsb = 13}},
          Case{"cycle", {.order_type = 1, .cycle = 255}, {.order_type = 1, .cycle = 256}},
          Case{"reference frames", {.references = 16}, {.references = 17}},
          Case{"area", {.width = 0x8000, .height = 0x8000}, {.width = 0x10000, .height = 0x8000}}}) {
        AVCSeqParamSet sps;
        EXPECT_EQ(ReadSps(good, sps), 0) << what;
        EXPECT_EQ(ReadSps(bad, sps), -16) << what;
    }
}

TEST(AvcSeqParamSet, KeepsFieldsAndDerivesWhatFollows) {
    AVCSeqParamSet fresh;
    EXPECT_EQ(fresh.id(), 32u);
    EXPECT_EQ(fresh.video_format, 5);
    EXPECT_EQ(fresh.colour_primaries, 2);
    EXPECT_EQ(fresh.transfer_characteristics, 2);
    EXPECT_EQ(fresh.matrix_coefficients, 2);
    EXPECT_EQ(AVCSeqParamSetExtension().id(), 32u);

    AVCSeqParamSet sps;
    ASSERT_EQ(
        ReadSps({.profile = 77, .id = 5, .order_type = 1, .height = 3, .frame_only = false, .direct = false}, sps), 0);
    EXPECT_EQ(sps.id(), 5u);
    EXPECT_EQ(sps.chroma_format_idc, 1u);
    EXPECT_EQ(sps.bit_depth_luma, 8u);
    EXPECT_EQ(sps.frame_height_in_mbs, 6u);
    EXPECT_TRUE(sps.direct_8x8_inference_flag);
    EXPECT_EQ(sps.offset_for_non_ref_pic, -7);
    EXPECT_EQ(sps.offset_for_top_to_bottom_field, 9);
    EXPECT_EQ(sps.offset_for_ref_frame, (std::vector<std::int32_t>{-1, 0}));
    EXPECT_EQ(sps.scaling, flat_scaling_lists());
    sps.reset();
    EXPECT_EQ(sps.id(), 32u);

    // 144 passes the table of profiles and has no chroma fields.
    ASSERT_EQ(ReadSps({.profile = 144}, sps), 0);
    EXPECT_EQ(sps.frame_width_in_mbs, 4u);
}

TEST(AvcSeqParamSet, FallsBackOnScalingLists) {
    const auto lists = [](bit_writer& w) {
        w.u(1, 1);
        for (int i = 0; i < 16; ++i) w.se(i == 0 ? 2 : 0);  // list 0: tens
        w.u(1, 0);                                          // list 1: as list 0
        w.u(1, 1).se(-8);                                   // list 2: the default
        w.u(1, 0);                                          // list 3: the default
        w.u(1, 1).se(-3).se(1).se(-6);                      // list 4: 5, 6, and 6 up to the end
        w.u(1, 0);                                          // list 5: as list 4
        w.u(1, 0).u(1, 1).se(-8);                           // 8x8: both the default
    };
    AVCSeqParamSet sps;
    ASSERT_EQ(ReadSps({.lists = lists}, sps), 0);
    const auto& four = sps.scaling.lists4x4;
    EXPECT_EQ(four[0][0], 10);
    EXPECT_EQ(four[0][15], 10);
    EXPECT_EQ(four[1], four[0]);
    EXPECT_EQ(four[2], default_scaling_lists().lists4x4[0]);
    EXPECT_EQ(four[3], default_scaling_lists().lists4x4[3]);
    EXPECT_EQ(four[4][0], 5);
    EXPECT_EQ(four[4][1], 6);
    EXPECT_EQ(four[4][15], 6);
    EXPECT_EQ(four[5], four[4]);
    EXPECT_EQ(sps.scaling.lists8x8, default_scaling_lists().lists8x8);
    EXPECT_EQ(sps.frame_width_in_mbs, 4u);
}

TEST(AvcSeqParamSet, GivesTheResultOfItsVui) {
    const auto vui = [](std::uint64_t cpb_cnt_minus1) {
        return [=](bit_writer& w) {
            w.u(1, 1).u(8, 255).u(16, 40).u(16, 33);  // aspect ratio
            w.u(1, 0).u(1, 1).u(3, 1).u(1, 1).u(1, 1).u(8, 9).u(8, 16).u(8, 9);
            w.u(1, 0).u(1, 0).u(1, 0);  // chroma location, timing, NAL HRD
            w.u(1, 1).ue(cpb_cnt_minus1).u(8, 0);
            for (std::uint64_t i = 0; i <= cpb_cnt_minus1; ++i) w.ue(i).ue(i).u(1, 1);
            w.u(20, 0x12345).u(1, 1).u(1, 1).u(1, 0);
        };
    };
    AVCSeqParamSet sps;
    ASSERT_EQ(ReadSps({.vui = vui(31)}, sps), 0);
    EXPECT_EQ(sps.sar_width, 40);
    EXPECT_EQ(sps.sar_height, 33);
    EXPECT_EQ(sps.transfer_characteristics, 16);
    EXPECT_EQ(sps.vcl_hrd.cpb_cnt, 32u);
    EXPECT_EQ(sps.vcl_hrd.bit_rate_value[31], 32u);
    EXPECT_TRUE(sps.low_delay_hrd_flag);
    EXPECT_TRUE(sps.pic_struct_present_flag);
    EXPECT_EQ(ReadSps({.vui = vui(32)}, sps), -16);
}

// Picture parameter sets

std::int32_t ReadPps(const std::function<void(bit_writer&)>& groups, std::uint64_t l0 = 0, std::uint64_t l1 = 0,
                     AVCPicParamSet* out = nullptr) {
    bit_writer w;
    w.u(2, 0);
    groups(w);
    w.ue(l0).ue(l1).u(3, 0).se(0).se(0).se(-2).u(3, 4).trailing();
    AVCPicParamSet pps;
    const Bytes unit = w.nal();
    const std::int32_t status = Reader(unit).bits.get_pic_param_set(pps, SmallSps());
    if (out) *out = pps;
    return status;
}

TEST(AvcPicParamSet, AcceptsAndRefusesByTheTableOfLimits) {
    const auto one_group = [](bit_writer& w) { w.ue(0); };
    const auto runs = [](std::uint64_t run) { return [=](bit_writer& w) { w.ue(1).ue(0).ue(run - 1).ue(run - 1); }; };
    const auto box = [](std::uint64_t from, std::uint64_t to) {
        return [=](bit_writer& w) { w.ue(1).ue(2).ue(from).ue(to); };
    };
    const auto evolving = [](std::uint64_t groups, std::uint64_t type, std::uint64_t rate) {
        return [=](bit_writer& w) { w.ue(groups - 1).ue(type).u(1, 0).ue(rate - 1); };
    };
    const auto ids = [](std::uint64_t groups, std::uint64_t size, std::uint64_t last) {
        return [=](bit_writer& w) {
            w.ue(groups - 1).ue(6).ue(size - 1);
            for (std::uint64_t i = 1; i < size; ++i) w.u(2, 0);
            w.u(2, last);
        };
    };
    EXPECT_EQ(ReadPps(one_group), 0);
    EXPECT_EQ(ReadPps([](bit_writer& w) { w.ue(7).ue(1); }), 0);
    EXPECT_EQ(ReadPps([](bit_writer& w) { w.ue(8).ue(1); }), -16);
    EXPECT_EQ(ReadPps([](bit_writer& w) { w.ue(1).ue(7); }), -16);
    EXPECT_EQ(ReadPps(runs(12)), 0);
    EXPECT_EQ(ReadPps(runs(13)), -16);
    EXPECT_EQ(ReadPps(box(1, 11)), 0);
    EXPECT_EQ(ReadPps(box(5, 4)), -16);   // backwards
    EXPECT_EQ(ReadPps(box(1, 12)), -16);  // outside
    EXPECT_EQ(ReadPps(box(3, 4)), -16);   // from the last column to the first
    for (std::uint64_t type : {3, 4, 5}) {
        EXPECT_EQ(ReadPps(evolving(2, type, 12)), 0);
        EXPECT_EQ(ReadPps(evolving(2, type, 13)), -16);
        EXPECT_EQ(ReadPps(evolving(3, type, 12)), -16);
    }
    EXPECT_EQ(ReadPps(ids(3, 12, 2)), 0);
    EXPECT_EQ(ReadPps(ids(3, 12, 3)), -16);
    EXPECT_EQ(ReadPps(ids(3, 11, 2)), -16);
    EXPECT_EQ(ReadPps(one_group, 31, 31), 0);
    EXPECT_EQ(ReadPps(one_group, 32, 0), -16);
    EXPECT_EQ(ReadPps(one_group, 0, 32), -16);

    AVCPicParamSet pps;
    const auto read_ids = [&](std::uint64_t pps_id, std::uint64_t sps_id) {
        const Bytes unit = bit_writer().ue(pps_id).ue(sps_id).trailing().nal();
        return Reader(unit).bits.get_pic_param_set_ids(pps);
    };
    EXPECT_EQ(read_ids(255, 31), 0);
    EXPECT_EQ(read_ids(256, 31), -16);
    EXPECT_EQ(read_ids(255, 32), -16);

    ASSERT_EQ(ReadPps(one_group, 2, 3, &pps), 0);
    EXPECT_EQ(pps.num_ref_idx_l0_active, 3u);
    EXPECT_EQ(pps.num_ref_idx_l1_active, 4u);
    EXPECT_TRUE(pps.deblocking_filter_control_present_flag);
    EXPECT_EQ(pps.second_chroma_qp_index_offset, -2);
}

TEST(AvcPicParamSet, MakesNoRoomForGroupIdsThatAreNotThere) {
    AVCSeqParamSet huge;
    ASSERT_EQ(ReadSps({.width = 0x8000, .height = 0x8000}, huge), 0);
    bit_writer w;
    w.u(2, 0).ue(1).ue(6).ue(huge.picture_area() - 1).u(32, 0).trailing();
    const Bytes unit = w.nal();
    AVCPicParamSet pps;
    EXPECT_EQ(Reader(unit).bits.get_pic_param_set(pps, huge), -16);
    EXPECT_EQ(pps.slice_group_id.capacity(), 0u);
}

}  // namespace
}  // namespace ProtectedLibrary
