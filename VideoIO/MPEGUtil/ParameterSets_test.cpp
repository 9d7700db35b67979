#include "Testing/Kit/bit_writer.h"
#include "VideoIO/MPEGUtil/H264ParameterSets.h"
#include "VideoIO/MPEGUtil/H265ParameterSets.h"
#include "VideoIO/MPEGUtil/Hex_test.h"
#include "VideoIO/MPEGUtil/MPEGTestClips_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qz_MPEGUtil {
namespace {

using namespace test;
using mediakit_test::bit_writer;
using testing::ElementsAre;
using testing::ElementsAreArray;

using Bytes = std::vector<std::uint8_t>;
using Elements = std::vector<std::uint32_t>;

Elements H264Elements(const H264SequenceSyntax& sps) {
    const H264VuiParameters& vui = sps.vui_parameters;
    return {sps.profile_idc,
            sps.constraint_set1_flag,
            sps.constraint_set3_flag,
            sps.level_idc,
            sps.seq_parameter_set_id,
            sps.chroma_format_idc,
            sps.bit_depth_luma_minus8,
            sps.bit_depth_chroma_minus8,
            sps.log2_max_frame_num_minus4,
            sps.pic_order_cnt_type,
            sps.log2_max_pic_order_cnt_lsb_minus4,
            sps.max_num_ref_frames,
            sps.pic_width_in_mbs_minus1,
            sps.pic_height_in_map_units_minus1,
            sps.frame_mbs_only_flag,
            sps.mb_adaptive_frame_field_flag,
            sps.direct_8x8_inference_flag,
            sps.frame_crop_bottom_offset,
            vui.timing_info_present_flag,
            vui.num_units_in_tick,
            vui.time_scale,
            vui.fixed_frame_rate_flag,
            vui.nal_hrd_parameters_present_flag,
            vui.bitstream_restriction_flag,
            vui.max_num_reorder_frames,
            vui.max_dec_frame_buffering};
}

Elements H265Elements(const H265SequenceParameterSet& sps) {
    const H265TimingInfo timing = sps.vui && sps.vui->timing ? *sps.vui->timing : H265TimingInfo{};
    return {sps.profile_tier_level.general_profile_idc,
            sps.profile_tier_level.general_tier_flag,
            sps.profile_tier_level.general_level_idc,
            sps.sps_max_sub_layers_minus1,
            sps.sps_temporal_id_nesting_flag,
            sps.chroma_format_idc,
            sps.pic_width_in_luma_samples,
            sps.pic_height_in_luma_samples,
            sps.bit_depth_luma_minus8,
            sps.bit_depth_chroma_minus8,
            sps.log2_max_pic_order_cnt_lsb_minus4,
            sps.log2_min_luma_coding_block_size_minus3,
            sps.log2_diff_max_min_luma_coding_block_size,
            timing.num_units_in_tick,
            timing.time_scale,
            sps.vui ? sps.vui->min_spatial_segmentation_idc : 0};
}

/// Cut after every byte: refused, until the last element is there; from then on always the same.
template <typename Read>
void ExpectCutSetsRefused(const Bytes& nal, Read read) {
    std::size_t enough = 0;
    for (std::size_t size = 0; size <= nal.size(); ++size) {
        const Bytes cut(nal.begin(), nal.begin() + static_cast<std::ptrdiff_t>(size));
        const bool good = read(cut).has_value();
        enough += good ? 0 : 1;
        EXPECT_EQ(good, size >= enough) << size;
    }
    EXPECT_GE(enough + 6, nal.size());  // what lies behind the last element read is only a few bytes
    EXPECT_LE(enough, nal.size());
}

TEST(H264ParameterSets, ReadsWhatEncodersWrite) {
    for (const H264Set& set : h264_sets) {
        SCOPED_TRACE(set.name);
        const auto sps = ReadH264SequenceParameterSet(FromHex(set.nal));
        ASSERT_TRUE(sps);
        EXPECT_THAT(H264Elements(*sps), ElementsAreArray(set.elements));
        EXPECT_EQ(PictureSize(*sps).width, set.width);
        EXPECT_EQ(PictureSize(*sps).height, set.height);
        EXPECT_EQ(ReorderDepth(*sps), sps->vui_parameters.max_num_reorder_frames);
        ExpectCutSetsRefused(FromHex(set.nal), ReadH264SequenceParameterSet);
    }
    EXPECT_FALSE(ReadH264SequenceParameterSet(FromHex(clips[0].parameter_sets[1])));
    EXPECT_FALSE(ReadH264PictureParameterSet(FromHex(clips[0].parameter_sets[0])));
}

TEST(H264ParameterSets, KeepsBufferModelsAndColours) {
    const auto of = [](std::string_view name) {
        const auto set =
            std::find_if(h264_sets.begin(), h264_sets.end(), [&](const auto& s) { return s.name == name; });
        return ReadH264SequenceParameterSet(FromHex(set->nal))->vui_parameters;
    };
    const H264HrdParameters vbr = of("pyramid, rate control").nal_hrd_parameters;
    EXPECT_EQ(vbr.cpb_cnt_minus1, 0u);
    EXPECT_EQ(vbr.bit_rate_scale, 0u);
    EXPECT_EQ(vbr.cpb_size_scale, 1u);
    EXPECT_EQ(vbr.bit_rate_value_minus1[0], 7811u);
    EXPECT_EQ(vbr.cpb_size_value_minus1[0], 15624u);
    EXPECT_EQ(vbr.initial_cpb_removal_delay_length_minus1, 18u);
    EXPECT_EQ(vbr.cpb_removal_delay_length_minus1, 8u);
    EXPECT_EQ(vbr.dpb_output_delay_length_minus1, 6u);
    const H264VuiParameters interlaced = of("interlaced, colours, aspect");
    EXPECT_EQ(interlaced.aspect_ratio_idc, 3);
    EXPECT_EQ(interlaced.video_full_range_flag, 1u);
    EXPECT_EQ(interlaced.colour_primaries, 6u);
    EXPECT_EQ(interlaced.nal_hrd_parameters.bit_rate_value_minus1[0], 140624u);
    EXPECT_EQ(interlaced.nal_hrd_parameters.cbr_flag[0], 1u);
}

/// A set of profile 77 with its fields changed one at a time.
struct H264SetFields {
    unsigned level = 40, constraints = 0, id = 0, order_type = 0, order_bits_minus4 = 2, cycle = 0;
    unsigned references = 4, width_mbs = 120, height_units = 68, profile = 77, crop = 0;

    Bytes Nal() const {
        bit_writer w;
        w.u(8, 0x67).u(8, profile).u(8, constraints).u(8, level).ue(id);
        if (profile == 100) {
            w.ue(1).ue(0).ue(0).u(2, 0);
        }
        w.ue(0).ue(order_type);
        if (order_type == 0) {
            w.ue(order_bits_minus4);
        } else if (order_type == 1) {
            w.u(1, 0).se(-2).se(1).ue(cycle);
            for (unsigned i = 0; i < cycle; ++i) {
                w.se(2);
            }
        }
        w.ue(references).u(1, 0).ue(width_mbs - 1).ue(height_units - 1).u(1, 1).u(1, 1).u(1, crop > 0 ? 1 : 0);
        if (crop > 0) {
            w.ue(0).ue(crop).ue(0).ue(0);
        }
        return w.u(1, 0).trailing().nal();
    }
};

template <typename Change>
std::optional<H264SequenceSyntax> Changed(Change change) {
    H264SetFields fields;
    change(fields);
    return ReadH264SequenceParameterSet(fields.Nal());
}

TEST(H264ParameterSets, RefusesValuesOutOfRange) {
    EXPECT_TRUE(Changed([](auto&) {}));
    EXPECT_TRUE(Changed([](auto& f) { f.id = 31; }));
    EXPECT_FALSE(Changed([](auto& f) { f.id = 32; }));
    EXPECT_TRUE(Changed([](auto& f) { f.order_bits_minus4 = 12; }));
    EXPECT_FALSE(Changed([](auto& f) { f.order_bits_minus4 = 13; }));
    EXPECT_FALSE(Changed([](auto& f) { f.order_type = 3; }));
    EXPECT_FALSE(Changed([](auto& f) { f.references = 17; }));
    EXPECT_FALSE(Changed([](auto& f) { f.width_mbs = 1u << 20; }));
    EXPECT_FALSE(Changed([](auto& f) { f.crop = 960; }));  // in units of two samples: nothing would be left
    const auto widest = Changed([](auto& f) { f.order_type = 1, f.cycle = 255; });
    ASSERT_TRUE(widest);
    EXPECT_EQ(widest->offset_for_ref_frame.size(), 255u);
    EXPECT_EQ(widest->offset_for_non_ref_pic, -2);
    EXPECT_FALSE(Changed([](auto& f) { f.order_type = 1, f.cycle = 256; }));
}

TEST(H264ParameterSets, ReadsPastScalingLists) {
    // A full list of 16 or 64, one that ends early, one that says "default", and absent ones; twelve of them for
    // 4:4:4, eight for the other formats.
    const auto set = [](unsigned chroma_format_idc, unsigned lists) {
        bit_writer w;
        w.u(8, 0x67).u(8, 244).u(8, 0).u(8, 40).ue(2).ue(chroma_format_idc);
        if (chroma_format_idc == 3) {
            w.u(1, 0);
        }
        w.ue(2).ue(1).u(1, 0).u(1, 1);
        for (unsigned list = 0; list < lists; ++list) {
            const unsigned entries = list < 6 ? 16 : 64;
            w.u(1, list % 4 != 3 ? 1 : 0);
            if (list % 4 == 0) {
                for (unsigned i = 0; i < entries; ++i) w.se(i % 2 != 0 ? 200 : -100);
            } else if (list % 4 == 1) {
                w.se(1).se(2).se(-11);  // 8 + 1 + 2 - 11: the rest of the list is as the last entry
            } else if (list % 4 == 2) {
                w.se(-8);
            }
        }
        w.ue(3).ue(2).ue(4).u(1, 0).ue(9).ue(8).u(1, 1).u(1, 1).u(1, 0).u(1, 0).trailing();
        return ReadH264SequenceParameterSet(w.nal());
    };
    for (const auto& sps : {set(3, 12), set(1, 8), set(0, 8)}) {
        ASSERT_TRUE(sps);
        EXPECT_EQ(sps->bit_depth_luma_minus8, 2u);
        EXPECT_EQ(sps->log2_max_frame_num_minus4, 3u);
        EXPECT_EQ(sps->max_num_ref_frames, 4u);
        EXPECT_EQ(PictureSize(*sps).width, 160u);
        EXPECT_EQ(PictureSize(*sps).height, 144u);
    }
}

TEST(H264ParameterSets, BoundsReorderingByTheLevel) {
    const auto depth = [](unsigned level, unsigned width_mbs, unsigned height_mbs, unsigned constraints = 0,
                          unsigned profile = 77, unsigned order_type = 0) {
        return ReorderDepth(*Changed([&](auto& f) {
            f.level = level, f.width_mbs = width_mbs, f.height_units = height_mbs;
            f.constraints = constraints, f.profile = profile, f.order_type = order_type;
        }));
    };
    // Frames of 1920 x 1088, 1280 x 720, 352 x 288, as in the tables that go with the standard's levels.
    EXPECT_EQ(depth(40, 120, 68), 4u);
    EXPECT_EQ(depth(51, 120, 68), 16u);
    EXPECT_EQ(depth(31, 80, 45), 5u);
    EXPECT_EQ(depth(13, 22, 18), 6u);
    EXPECT_EQ(depth(11, 22, 18), 2u);
    EXPECT_EQ(depth(11, 22, 18, 0x10), 1u);        // level 1b
    EXPECT_EQ(depth(23, 22, 18), 16u);             // no such level: the next one
    EXPECT_EQ(depth(40, 120, 68, 0x10, 100), 0u);  // intra only
    EXPECT_EQ(depth(40, 120, 68, 0, 77, 2), 0u);
}

TEST(H264ParameterSets, ReadsPictureSetsBehindSliceGroups) {
    const auto read = [](unsigned groups_minus1, unsigned type) {
        bit_writer w;
        w.u(8, 0x68).ue(7).ue(3).u(1, 1).u(1, 1).ue(groups_minus1);
        if (groups_minus1 > 0) {
            w.ue(type);
            if (type == 0) {
                for (unsigned i = 0; i <= groups_minus1; ++i) w.ue(i);
            } else if (type == 2) {
                for (unsigned i = 0; i < groups_minus1; ++i) w.ue(i).ue(20 + i);
            } else if (type >= 3 && type <= 5) {
                w.u(1, 1).ue(9);
            } else if (type == 6) {
                w.ue(9);
                for (unsigned i = 0; i < 10; ++i) w.u(groups_minus1 > 3 ? 3 : groups_minus1 > 1 ? 2 : 1, 1);
            }
        }
        w.ue(5).ue(6).u(1, 1).u(2, 2).se(-3).se(2).se(1).u(1, 1).u(1, 0).u(1, 1).trailing();
        return ReadH264PictureParameterSet(w.nal());
    };
    for (const auto& [groups_minus1, type] : {std::pair{0u, 0u},
                                              {2u, 0u},
                                              {3u, 1u},
                                              {3u, 2u},
                                              {1u, 3u},
                                              {1u, 4u},
                                              {1u, 5u},
                                              {1u, 6u},
                                              {2u, 6u},
                                              {5u, 6u}}) {
        SCOPED_TRACE(std::to_string(groups_minus1) + " " + std::to_string(type));
        const auto pps = read(groups_minus1, type);
        ASSERT_TRUE(pps);
        EXPECT_EQ(pps->pic_parameter_set_id, 7u);
        EXPECT_EQ(pps->seq_parameter_set_id, 3u);
        EXPECT_EQ(pps->num_ref_idx_l0_default_active_minus1, 5u);
        EXPECT_EQ(pps->num_ref_idx_l1_default_active_minus1, 6u);
        EXPECT_EQ(pps->weighted_bipred_idc, 2u);
        EXPECT_EQ(pps->pic_init_qp_minus26, -3);
        EXPECT_EQ(pps->redundant_pic_cnt_present_flag, 1u);
    }
    EXPECT_FALSE(read(8, 0));
}

TEST(H265ParameterSets, ReadsWhatEncodersWrite) {
    for (const H265Set& set : h265_sets) {
        SCOPED_TRACE(set.name);
        const auto sps = ReadH265SequenceParameterSet(FromHex(set.nal));
        ASSERT_TRUE(sps);
        EXPECT_THAT(H265Elements(*sps), ElementsAreArray(set.elements));
        EXPECT_EQ(sps->Width(), set.width);
        EXPECT_EQ(sps->Height(), set.height);
        ExpectCutSetsRefused(FromHex(set.nal), ReadH265SequenceParameterSet);
    }
    EXPECT_FALSE(ReadH265SequenceParameterSet(FromHex(h265_pps_all_branches)));
}

TEST(H265ParameterSets, FollowsEveryBranchOfTheSyntax) {
    const auto sps = ReadH265SequenceParameterSet(FromHex(h265_sets.back().nal));
    ASSERT_TRUE(sps);
    const H265ProfileTierLevel& profile = sps->profile_tier_level;
    EXPECT_EQ(profile.general_profile_compatibility_flags, 0x08000000u);
    EXPECT_EQ(profile.general_constraint_indicator_flags, 0x9E0800000000u);
    EXPECT_EQ(sps->sub_layer_ordering[0].max_num_reorder_pics, 0u);
    EXPECT_EQ(sps->sub_layer_ordering[1].max_num_reorder_pics, 1u);
    EXPECT_EQ(sps->sub_layer_ordering[2].max_dec_pic_buffering_minus1, 4u);
    EXPECT_EQ(sps->sub_layer_ordering[7].max_num_reorder_pics, 2u);
    EXPECT_EQ(sps->ReorderDepth(), 2u);
    EXPECT_EQ(sps->PictureSizeInCtbs(), 4u * 2u);  // 208 x 120 in blocks of 64
    EXPECT_THAT(sps->lt_ref_pic_poc_lsb_sps, ElementsAre(0x55, 0xAA));
    EXPECT_TRUE(sps->sps_temporal_mvp_enabled_flag);

    ASSERT_TRUE(sps->vui && sps->vui->timing && sps->vui->default_display_window);
    EXPECT_EQ(sps->vui->sar_width, 12u);
    EXPECT_EQ(sps->vui->sar_height, 11u);
    EXPECT_EQ(sps->vui->colour_primaries, 9u);
    EXPECT_EQ(sps->vui->transfer_characteristics, 16u);
    EXPECT_TRUE(sps->vui->field_seq_flag && sps->vui->frame_field_info_present_flag);
    EXPECT_EQ(sps->vui->default_display_window->bottom_offset, 4u);
    EXPECT_EQ(sps->vui->timing->num_ticks_poc_diff_one_minus1, 3u);

    const auto vps = ReadH265VideoParameterSet(FromHex(h265_vps_all_branches));
    ASSERT_TRUE(vps && vps->timing);
    EXPECT_EQ(vps->vps_max_sub_layers_minus1, 2u);
    EXPECT_EQ(vps->timing->num_units_in_tick, 1001u);
    EXPECT_EQ(vps->timing->time_scale, 30000u);
    const auto pps = ReadH265PictureParameterSet(FromHex(h265_pps_all_branches));
    ASSERT_TRUE(pps);
    EXPECT_EQ(pps->pps_pic_parameter_set_id, 5u);
    EXPECT_EQ(pps->pps_seq_parameter_set_id, 3u);
    EXPECT_TRUE(pps->dependent_slice_segments_enabled_flag && pps->output_flag_present_flag);
    EXPECT_EQ(pps->num_extra_slice_header_bits, 2u);
}

TEST(H265ParameterSets, DerivesReferencePictureSets) {
    const auto sps = ReadH265SequenceParameterSet(FromHex(h265_sets.back().nal));
    ASSERT_TRUE(sps);
    using Deltas = std::vector<std::pair<int, bool>>;
    std::vector<std::pair<Deltas, Deltas>> sets;
    for (const H265ShortTermRefPicSet& set : sps->short_term_ref_pic_sets) {
        auto& [before, behind] = sets.emplace_back();
        for (int i = 0; i < set.num_negative_pics; ++i) {
            before.emplace_back(set.delta_poc_s0[i], set.used_by_curr_pic_s0[i]);
        }
        for (int i = 0; i < set.num_positive_pics; ++i) {
            behind.emplace_back(set.delta_poc_s1[i], set.used_by_curr_pic_s1[i]);
        }
    }
    // The second is the first moved by -2 with one picture left out, the third the second moved by 3.
    const std::vector<std::pair<Deltas, Deltas>> expected = {
        {{{-1, true}, {-3, false}, {-4, true}}, {{2, true}, {5, true}}},
        {{{-2, true}, {-3, true}, {-5, false}}, {{3, false}}},
        {{{-2, false}}, {{1, false}, {3, false}, {6, true}}},
        {{}, {{1, true}}},
    };
    EXPECT_EQ(sets, expected);
}

TEST(H265ParameterSets, TablesKeepTheBaseLayerOnly) {
    H265ParameterSetTables tables;
    Bytes sps = FromHex(h265_sets.back().nal);
    EXPECT_TRUE(tables.Add(sps));
    EXPECT_NE(tables.Sequence(3), nullptr);
    EXPECT_EQ(tables.Sequence(0), nullptr);
    EXPECT_EQ(tables.Sequence(16), nullptr);
    EXPECT_EQ(tables.Picture(64), nullptr);
    EXPECT_EQ(tables.Video(), nullptr);
    tables.Clear();
    EXPECT_EQ(tables.Sequence(3), nullptr);
    sps[1] |= 1 << 3;  // nuh_layer_id 1
    EXPECT_FALSE(tables.Add(sps));
    EXPECT_FALSE(tables.Add({}));
}

}  // namespace
}  // namespace qz_MPEGUtil
