// Slice headers: ITU-T H.264, clause 7.3.3. What only the decoding of the slice needs is read past.
#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

#include <bit>

namespace ProtectedLibrary {

void AVCHeadersBitstream::read_slice_header(AVCSliceHeader& slice, const AVCSeqParamSet& sps,
                                            const AVCPicParamSet& pps) {
    slice.frame_num = get_bits(sps.log2_max_frame_num);
    if (!sps.frame_mbs_only_flag) {
        slice.field_pic_flag = get_flag();
        slice.bottom_field_flag = slice.field_pic_flag && get_flag();
    }
    if (slice.is_idr()) {
        slice.idr_pic_id = ue(65535);
    }
    read_order_count(slice, sps, pps);
    if (pps.redundant_pic_cnt_present_flag) {
        slice.redundant_pic_cnt = ue();
    }
    const bool is_b = slice.slice_type == AVC_B_SLICE;
    const bool is_intra = slice.slice_type == AVC_I_SLICE;
    if (is_b) {
        skip_bits(1);  // direct_spatial_mv_pred_flag
    }
    slice.num_ref_idx_l0_active = is_intra ? 0 : pps.num_ref_idx_l0_active;
    slice.num_ref_idx_l1_active = is_b ? pps.num_ref_idx_l1_active : 0;
    if (!is_intra && get_flag()) {  // num_ref_idx_active_override_flag
        slice.num_ref_idx_l0_active = 1 + ue(31);
        slice.num_ref_idx_l1_active = is_b ? 1 + ue(31) : 0;
    }
    read_ref_list_modification(slice);
    if ((pps.weighted_pred_flag && slice.slice_type == AVC_P_SLICE) || (pps.weighted_bipred_idc == 1 && is_b)) {
        skip_pred_weight_table(slice, sps);
    }
    if (slice.nal_ref_idc != 0) {
        skip_ref_pic_marking(slice);
    }
    if (pps.entropy_coding_mode_flag && !is_intra) {
        slice.cabac_init_idc = ue(2);
    }
    slice.slice_qp_delta = se();
    if (pps.deblocking_filter_control_present_flag) {
        slice.disable_deblocking_filter_idc = ue(2);
        if (slice.disable_deblocking_filter_idc != 1) {
            se();  // slice_alpha_c0_offset_div2
            se();  // slice_beta_offset_div2
        }
    }
    if (pps.num_slice_groups > 1 && pps.slice_group_map_type >= 3 && pps.slice_group_map_type <= 5) {
        // Ceil(Log2(PicSizeInMapUnits / SliceGroupChangeRate + 1)) bits, the quotient rounded up.
        const std::uint32_t rate = pps.slice_group_change_rate;
        const std::uint32_t units = sps.picture_area() / (sps.frame_mbs_only_flag ? 1 : 2);
        slice.slice_group_change_cycle = get_bits(static_cast<unsigned>(std::bit_width((units + rate - 1) / rate)));
    }
    if (pps.entropy_coding_mode_flag) {
        align();
    }
}

void AVCHeadersBitstream::read_order_count(AVCSliceHeader& slice, const AVCSeqParamSet& sps,
                                           const AVCPicParamSet& pps) {
    const bool both_fields = pps.bottom_field_pic_order_in_frame_present_flag && !slice.field_pic_flag;
    if (sps.pic_order_cnt_type == 0) {
        slice.pic_order_cnt_lsb = get_bits(sps.log2_max_pic_order_cnt_lsb);
        if (both_fields) {
            slice.delta_pic_order_cnt_bottom = se();
        }
    } else if (sps.pic_order_cnt_type == 1 && !sps.delta_pic_order_always_zero_flag) {
        slice.delta_pic_order_cnt[0] = se();
        if (both_fields) {
            slice.delta_pic_order_cnt[1] = se();
        }
    }
}

void AVCHeadersBitstream::read_ref_list_modification(const AVCSliceHeader& slice) {
    const bool multi_view = slice.nal_unit_type == AVC_NAL_SLICE_EXTENSION;
    for (const std::uint32_t active : {slice.num_ref_idx_l0_active, slice.num_ref_idx_l1_active}) {
        if (active != 0 && get_flag()) {
            skip_one_list_modification(multi_view);
        }
    }
}

void AVCHeadersBitstream::skip_one_list_modification(bool multi_view) {
    constexpr std::uint32_t end = 3;
    // Ends on any data: behind its end the reader sees zeros, which are no Exp-Golomb code.
    while (ue(multi_view ? 5 : 3) != end) {
        ue();  // abs_diff_pic_num_minus1, long_term_pic_num or abs_diff_view_idx_minus1
    }
}

void AVCHeadersBitstream::skip_pred_weight_table(const AVCSliceHeader& slice, const AVCSeqParamSet& sps) {
    const bool has_chroma = sps.chroma_format_idc != 0;
    ue(7);  // luma_log2_weight_denom
    if (has_chroma) {
        ue(7);
    }
    for (const std::uint32_t active : {slice.num_ref_idx_l0_active, slice.num_ref_idx_l1_active}) {
        for (std::uint32_t i = 0; i < active; ++i) {
            if (get_flag()) {  // luma weight and offset
                se();
                se();
            }
            if (has_chroma && get_flag()) {  // the same of both chroma components
                for (int value = 0; value < 4; ++value) se();
            }
        }
    }
}

void AVCHeadersBitstream::skip_ref_pic_marking(const AVCSliceHeader& slice) {
    if (slice.is_idr()) {
        skip_bits(2);  // no_output_of_prior_pics_flag, long_term_reference_flag
        return;
    }
    if (!get_flag()) {  // adaptive_ref_pic_marking_mode_flag
        return;
    }
    // How many values stand behind each memory_management_control_operation; 0 ends the list.
    static constexpr std::array<unsigned, 7> values = {0, 1, 1, 2, 1, 0, 1};
    while (const std::uint32_t operation = ue(6)) {
        for (unsigned i = 0; i < values[operation]; ++i) ue();
    }
}

}  // namespace ProtectedLibrary
