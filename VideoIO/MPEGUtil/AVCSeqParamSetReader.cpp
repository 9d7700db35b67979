// Sequence parameter sets: ITU-T H.264, clauses 7.3.2.1.1 and E.1.
#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

#include <algorithm>

namespace ProtectedLibrary {

namespace {

constexpr std::array<std::uint8_t, 13> kProfiles = {66, 77, 83, 86, 88, 100, 110, 118, 122, 128, 144, 166, 188};
constexpr std::array<std::uint8_t, 19> kLevels = {10, 11, 12, 13, 20, 21, 22, 30, 31, 32,
                                                  40, 41, 42, 50, 51, 52, 60, 61, 62};
constexpr std::array<std::uint8_t, 7> kProfilesWithChroma = {83, 86, 100, 110, 118, 122, 128};

template <class Table>
bool contains(const Table& table, std::uint32_t value) {
    return std::find(table.begin(), table.end(), value) != table.end();
}

}  // namespace

void AVCHeadersBitstream::read_seq_param_set(AVCSeqParamSet& sps) {
    sps.profile_idc = static_cast<std::uint8_t>(get_bits(8));
    require(contains(kProfiles, sps.profile_idc));
    sps.constraint_flags = static_cast<std::uint8_t>(get_bits(8));
    sps.level_idc = static_cast<std::uint8_t>(get_bits(8));
    require(contains(kLevels, sps.level_idc));
    sps.seq_parameter_set_id = ue(kNoParameterSet - 1);
    read_chroma_and_scaling(sps);
    sps.log2_max_frame_num = 4 + ue(12);
    read_order_count(sps);
    sps.num_ref_frames = ue(16);
    sps.gaps_in_frame_num_value_allowed_flag = get_flag();
    read_picture_size(sps);
    sps.vui_parameters_present_flag = get_flag();
    if (sps.vui_parameters_present_flag) {
        read_vui(sps);
    }
}

void AVCHeadersBitstream::read_chroma_and_scaling(AVCSeqParamSet& sps) {
    sps.scaling = flat_scaling_lists();
    if (!contains(kProfilesWithChroma, sps.profile_idc)) {
        return;
    }
    sps.chroma_format_idc = ue(3);
    if (sps.chroma_format_idc == 3) {
        require(!get_flag());  // separate_colour_plane_flag
    }
    sps.bit_depth_luma = 8 + ue(8);
    sps.bit_depth_chroma = 8 + ue(8);
    sps.qpprime_y_zero_transform_bypass_flag = get_flag();
    sps.seq_scaling_matrix_present_flag = get_flag();
    if (sps.seq_scaling_matrix_present_flag) {
        read_scaling_lists(sps.scaling, sps.chroma_format_idc == 3 ? 6 : 2, default_scaling_lists());
    }
}

void AVCHeadersBitstream::read_order_count(AVCSeqParamSet& sps) {
    sps.pic_order_cnt_type = ue(2);
    if (sps.pic_order_cnt_type == 0) {
        sps.log2_max_pic_order_cnt_lsb = 4 + ue(12);
    } else if (sps.pic_order_cnt_type == 1) {
        sps.delta_pic_order_always_zero_flag = get_flag();
        sps.offset_for_non_ref_pic = se();
        sps.offset_for_top_to_bottom_field = se();
        sps.offset_for_ref_frame.resize(ue(255));
        for (std::int32_t& offset : sps.offset_for_ref_frame) offset = se();
    }
}

void AVCHeadersBitstream::read_picture_size(AVCSeqParamSet& sps) {
    const std::uint64_t width = std::uint64_t{ue()} + 1;
    const std::uint64_t map_units = std::uint64_t{ue()} + 1;
    sps.frame_mbs_only_flag = get_flag();
    const std::uint64_t height = map_units * (sps.frame_mbs_only_flag ? 1 : 2);
    require(width * height <= INT32_MAX);  // both are at most 32 bits, so that this cannot wrap
    sps.frame_width_in_mbs = static_cast<std::uint32_t>(width);
    sps.frame_height_in_mbs = static_cast<std::uint32_t>(height);
    if (!sps.frame_mbs_only_flag) {
        sps.mb_adaptive_frame_field_flag = get_flag();
    }
    sps.direct_8x8_inference_flag = get_flag() || !sps.frame_mbs_only_flag;
    sps.frame_cropping_flag = get_flag();
    if (sps.frame_cropping_flag) {
        sps.frame_crop_left_offset = ue();
        sps.frame_crop_right_offset = ue();
        sps.frame_crop_top_offset = ue();
        sps.frame_crop_bottom_offset = ue();
    }
}

void AVCHeadersBitstream::read_vui(AVCSeqParamSet& sps) {
    constexpr std::uint8_t extended_sar = 255;
    sps.aspect_ratio_info_present_flag = get_flag();
    if (sps.aspect_ratio_info_present_flag) {
        sps.aspect_ratio_idc = static_cast<std::uint8_t>(get_bits(8));
        if (sps.aspect_ratio_idc == extended_sar) {
            sps.sar_width = static_cast<std::uint16_t>(get_bits(16));
            sps.sar_height = static_cast<std::uint16_t>(get_bits(16));
        }
    }
    sps.overscan_info_present_flag = get_flag();
    if (sps.overscan_info_present_flag) {
        sps.overscan_appropriate_flag = get_flag();
    }
    read_signal_type(sps);
    sps.chroma_loc_info_present_flag = get_flag();
    if (sps.chroma_loc_info_present_flag) {
        sps.chroma_sample_loc_type_top_field = ue();
        sps.chroma_sample_loc_type_bottom_field = ue();
    }
    sps.timing_info_present_flag = get_flag();
    if (sps.timing_info_present_flag) {
        sps.num_units_in_tick = get_bits(32);
        sps.time_scale = get_bits(32);
        sps.fixed_frame_rate_flag = get_flag();
    }
    sps.nal_hrd_parameters_present_flag = get_flag();
    if (sps.nal_hrd_parameters_present_flag) {
        read_hrd(sps.nal_hrd);
    }
    sps.vcl_hrd_parameters_present_flag = get_flag();
    if (sps.vcl_hrd_parameters_present_flag) {
        read_hrd(sps.vcl_hrd);
    }
    if (sps.nal_hrd_parameters_present_flag || sps.vcl_hrd_parameters_present_flag) {
        sps.low_delay_hrd_flag = get_flag();
    }
    sps.pic_struct_present_flag = get_flag();
    read_bitstream_restriction(sps);
}

void AVCHeadersBitstream::read_signal_type(AVCSeqParamSet& sps) {
    sps.video_signal_type_present_flag = get_flag();
    if (!sps.video_signal_type_present_flag) {
        return;
    }
    sps.video_format = static_cast<std::uint8_t>(get_bits(3));
    sps.video_full_range_flag = get_flag();
    sps.colour_description_present_flag = get_flag();
    if (sps.colour_description_present_flag) {
        sps.colour_primaries = static_cast<std::uint8_t>(get_bits(8));
        sps.transfer_characteristics = static_cast<std::uint8_t>(get_bits(8));
        sps.matrix_coefficients = static_cast<std::uint8_t>(get_bits(8));
    }
}

void AVCHeadersBitstream::read_bitstream_restriction(AVCSeqParamSet& sps) {
    sps.bitstream_restriction_flag = get_flag();
    if (sps.bitstream_restriction_flag) {
        sps.motion_vectors_over_pic_boundaries_flag = get_flag();
        sps.max_bytes_per_pic_denom = ue();
        sps.max_bits_per_mb_denom = ue();
        sps.log2_max_mv_length_horizontal = ue();
        sps.log2_max_mv_length_vertical = ue();
        sps.num_reorder_frames = ue();
        sps.max_dec_frame_buffering = ue();
    }
}

void AVCHeadersBitstream::read_hrd(AVCHrdParameters& hrd) {
    hrd.cpb_cnt = 1 + ue(31);
    hrd.bit_rate_scale = static_cast<std::uint8_t>(get_bits(4));
    hrd.cpb_size_scale = static_cast<std::uint8_t>(get_bits(4));
    for (std::uint32_t i = 0; i < hrd.cpb_cnt; ++i) {
        hrd.bit_rate_value[i] = ue() + 1;
        hrd.cpb_size_value[i] = ue() + 1;
        hrd.cbr_flag[i] = get_flag();
    }
    hrd.initial_cpb_removal_delay_length = static_cast<std::uint8_t>(get_bits(5) + 1);
    hrd.cpb_removal_delay_length = static_cast<std::uint8_t>(get_bits(5) + 1);
    hrd.dpb_output_delay_length = static_cast<std::uint8_t>(get_bits(5) + 1);
    hrd.time_offset_length = static_cast<std::uint8_t>(get_bits(5));
}

}  // namespace ProtectedLibrary
