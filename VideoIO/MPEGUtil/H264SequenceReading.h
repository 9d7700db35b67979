// The syntax of an H.264 sequence parameter set, written once for both bit readers.
//
// `Cursor` is RbspReader or H26xSyntaxCursor: behind a first failure every value is 0, so that loops end
// and the result is looked at once. A count beyond the standard's limit makes the cursor fail.
#pragma once

#include "MediaKit/Results.h"
#include "VideoIO/MPEGUtil/H264ParameterSets.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace qz_MPEGUtil {

/// How the profile decides on the chroma fields.
enum class H264SequenceRules {
    /// The profiles known to the stream scanners (up to 128), and eight scaling lists always.
    scanner,
    /// All profiles of ITU-T H.264 clause 7.3.2.1.1, and twelve scaling lists for 4:4:4.
    published,
};

inline bool HasChromaFields(std::uint32_t profile_idc, H264SequenceRules rules) {
    static constexpr std::array<std::uint32_t, 13> profiles = {100, 110, 122, 244, 44,  83, 86,
                                                               118, 128, 138, 139, 134, 135};
    const auto end = rules == H264SequenceRules::scanner ? profiles.begin() + 9 : profiles.end();
    return std::find(profiles.begin(), end, profile_idc) != end;
}

/// scaling_list, clause 7.3.2.1.1.1: read past, not kept.
template <typename Cursor>
void SkipScalingList(Cursor& cursor, unsigned entries) {
    std::int64_t last = 8;
    for (unsigned entry = 0; entry < entries && !cursor.Failed(); ++entry) {
        const std::int64_t next = ((last + cursor.SE()) % 256 + 256) % 256;
        if (next == 0) {
            return;
        }
        last = next;
    }
}

template <typename Cursor>
void SkipScalingLists(Cursor& cursor, unsigned lists) {
    for (unsigned list = 0; list < lists && !cursor.Failed(); ++list) {
        if (cursor.Flag()) {
            SkipScalingList(cursor, list < 6 ? 16 : 64);
        }
    }
}

template <typename Cursor>
void ReadChromaFields(Cursor& cursor, H264SequenceRules rules, H264SequenceSyntax& sps) {
    sps.chroma_format_idc = cursor.UE();
    if (sps.chroma_format_idc == 3) {
        sps.separate_colour_plane_flag = cursor.Bits(1);
    }
    sps.bit_depth_luma_minus8 = cursor.UE();
    sps.bit_depth_chroma_minus8 = cursor.UE();
    sps.qpprime_y_zero_transform_bypass_flag = cursor.Bits(1);
    sps.seq_scaling_matrix_present_flag = cursor.Bits(1);
    if (sps.seq_scaling_matrix_present_flag != 0) {
        const bool twelve = rules == H264SequenceRules::published && sps.chroma_format_idc == 3;
        SkipScalingLists(cursor, twelve ? 12 : 8);
    }
}

template <typename Cursor>
void ReadPictureOrderFields(Cursor& cursor, H264SequenceSyntax& sps) {
    sps.pic_order_cnt_type = cursor.UE();
    if (sps.pic_order_cnt_type == 0) {
        sps.log2_max_pic_order_cnt_lsb_minus4 = cursor.UE();
    } else if (sps.pic_order_cnt_type == 1) {
        sps.delta_pic_order_always_zero_flag = cursor.Bits(1);
        sps.offset_for_non_ref_pic = cursor.SE();
        sps.offset_for_top_to_bottom_field = cursor.SE();
        sps.num_ref_frames_in_pic_order_cnt_cycle = cursor.UE();
        if (sps.num_ref_frames_in_pic_order_cnt_cycle > 255) {
            cursor.Refuse();
            return;
        }
        sps.offset_for_ref_frame.resize(std::max(sps.num_ref_frames_in_pic_order_cnt_cycle, 1u));
        for (std::uint32_t i = 0; i < sps.num_ref_frames_in_pic_order_cnt_cycle; ++i) {
            sps.offset_for_ref_frame[i] = cursor.SE();
        }
    }
}

template <typename Cursor>
void ReadFrameFields(Cursor& cursor, H264SequenceSyntax& sps) {
    sps.max_num_ref_frames = cursor.UE();
    sps.gaps_in_frame_num_value_allowed_flag = cursor.Bits(1);
    sps.pic_width_in_mbs_minus1 = cursor.UE();
    sps.pic_height_in_map_units_minus1 = cursor.UE();
    sps.frame_mbs_only_flag = cursor.Bits(1);
    if (sps.frame_mbs_only_flag == 0) {
        sps.mb_adaptive_frame_field_flag = cursor.Bits(1);
    }
    sps.direct_8x8_inference_flag = cursor.Bits(1);
    sps.frame_cropping_flag = cursor.Bits(1);
    if (sps.frame_cropping_flag != 0) {
        sps.frame_crop_left_offset = cursor.UE();
        sps.frame_crop_right_offset = cursor.UE();
        sps.frame_crop_top_offset = cursor.UE();
        sps.frame_crop_bottom_offset = cursor.UE();
    }
}

template <typename Cursor>
void ReadHrdParameters(Cursor& cursor, H264HrdParameters& hrd) {
    hrd.cpb_cnt_minus1 = cursor.UE();
    if (hrd.cpb_cnt_minus1 >= H264HrdParameters::max_cpb_count) {
        cursor.Refuse();
        return;
    }
    hrd.bit_rate_scale = cursor.Bits(4);
    hrd.cpb_size_scale = cursor.Bits(4);
    for (std::uint32_t schedule = 0; schedule <= hrd.cpb_cnt_minus1; ++schedule) {
        hrd.bit_rate_value_minus1[schedule] = cursor.UE();
        hrd.cpb_size_value_minus1[schedule] = cursor.UE();
        hrd.cbr_flag[schedule] = cursor.Bits(1);
    }
    hrd.initial_cpb_removal_delay_length_minus1 = cursor.Bits(5);
    hrd.cpb_removal_delay_length_minus1 = cursor.Bits(5);
    hrd.dpb_output_delay_length_minus1 = cursor.Bits(5);
    hrd.time_offset_length = cursor.Bits(5);
}

template <typename Cursor>
void ReadVideoSignalFields(Cursor& cursor, H264VuiParameters& vui) {
    vui.aspect_ratio_info_present_flag = cursor.Bits(1);
    if (vui.aspect_ratio_info_present_flag != 0) {
        vui.aspect_ratio_idc = static_cast<std::int32_t>(cursor.Bits(8));
        if (vui.aspect_ratio_idc == 255) {  // Extended_SAR
            vui.sar_width = cursor.Bits(16);
            vui.sar_height = cursor.Bits(16);
        }
    }
    vui.overscan_info_present_flag = cursor.Bits(1);
    if (vui.overscan_info_present_flag != 0) {
        vui.overscan_appropriate_flag = cursor.Bits(1);
    }
    vui.video_signal_type_present_flag = cursor.Bits(1);
    if (vui.video_signal_type_present_flag != 0) {
        vui.video_format = cursor.Bits(3);
        vui.video_full_range_flag = cursor.Bits(1);
        vui.colour_description_present_flag = cursor.Bits(1);
        if (vui.colour_description_present_flag != 0) {
            vui.colour_primaries = cursor.Bits(8);
            vui.transfer_characteristics = cursor.Bits(8);
            vui.matrix_coefficients = cursor.Bits(8);
        }
    }
    vui.chroma_loc_info_present_flag = cursor.Bits(1);
    if (vui.chroma_loc_info_present_flag != 0) {
        vui.chroma_sample_loc_type_top_field = cursor.UE();
        vui.chroma_sample_loc_type_bottom_field = cursor.UE();
    }
}

template <typename Cursor>
void ReadBufferingFields(Cursor& cursor, H264VuiParameters& vui) {
    vui.nal_hrd_parameters_present_flag = cursor.Bits(1);
    if (vui.nal_hrd_parameters_present_flag != 0) {
        ReadHrdParameters(cursor, vui.nal_hrd_parameters);
    }
    vui.vcl_hrd_parameters_present_flag = cursor.Bits(1);
    if (vui.vcl_hrd_parameters_present_flag != 0) {
        ReadHrdParameters(cursor, vui.vcl_hrd_parameters);
    }
    if (vui.nal_hrd_parameters_present_flag != 0 || vui.vcl_hrd_parameters_present_flag != 0) {
        vui.low_delay_hrd_flag = cursor.Bits(1);
    }
}

template <typename Cursor>
void ReadVuiParameters(Cursor& cursor, H264VuiParameters& vui) {
    ReadVideoSignalFields(cursor, vui);
    vui.timing_info_present_flag = cursor.Bits(1);
    if (vui.timing_info_present_flag != 0) {
        vui.num_units_in_tick = cursor.Bits(32);
        vui.time_scale = cursor.Bits(32);
        vui.fixed_frame_rate_flag = cursor.Bits(1);
    }
    ReadBufferingFields(cursor, vui);
    vui.pic_struct_present_flag = cursor.Bits(1);
    vui.bitstream_restriction_flag = cursor.Bits(1);
    if (vui.bitstream_restriction_flag != 0) {
        vui.motion_vectors_over_pic_boundaries_flag = cursor.Bits(1);
        vui.max_bytes_per_pic_denom = cursor.UE();
        vui.max_bits_per_mb_denom = cursor.UE();
        vui.log2_max_mv_length_horizontal = cursor.UE();
        vui.log2_max_mv_length_vertical = cursor.UE();
        vui.max_num_reorder_frames = cursor.UE();
        vui.max_dec_frame_buffering = cursor.UE();
    }
}

/// seq_parameter_set_data from profile_idc to the last VUI field, over a record in its initial state.
/// The cursor's result: S_OK, QZ_E_MORE_DATA or QZ_E_BAD_DATA. Logs nothing.
template <typename Cursor>
HRESULT ReadH264SequenceSyntax(Cursor& cursor, H264SequenceRules rules, H264SequenceSyntax& sps) {
    sps.profile_idc = cursor.Bits(8);
    sps.constraint_set0_flag = cursor.Bits(1);
    sps.constraint_set1_flag = cursor.Bits(1);
    sps.constraint_set2_flag = cursor.Bits(1);
    sps.constraint_set3_flag = cursor.Bits(1);
    sps.constraint_set4_flag = cursor.Bits(1);
    sps.constraint_set5_flag = cursor.Bits(1);
    sps.reserved_zero_2bits = cursor.Bits(2);
    sps.level_idc = cursor.Bits(8);
    sps.seq_parameter_set_id = cursor.UE();
    if (HasChromaFields(sps.profile_idc, rules)) {
        ReadChromaFields(cursor, rules, sps);
    }
    sps.log2_max_frame_num_minus4 = cursor.UE();
    ReadPictureOrderFields(cursor, sps);
    ReadFrameFields(cursor, sps);
    sps.vui_parameters_present_flag = cursor.Bits(1);
    if (sps.vui_parameters_present_flag != 0) {
        ReadVuiParameters(cursor, sps.vui_parameters);
    }
    return cursor.Result();
}

}  // namespace qz_MPEGUtil
