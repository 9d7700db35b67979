// Picture parameter sets: ITU-T H.264, clause 7.3.2.2.
#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

#include <bit>

namespace ProtectedLibrary {

void AVCHeadersBitstream::read_pic_param_set(AVCPicParamSet& pps, const AVCSeqParamSet& sps) {
    pps.entropy_coding_mode_flag = get_flag();
    pps.bottom_field_pic_order_in_frame_present_flag = get_flag();
    pps.num_slice_groups = 1 + ue(7);
    if (pps.num_slice_groups > 1) {
        read_slice_groups(pps, sps.picture_area(), sps.frame_width_in_mbs);
    }
    pps.num_ref_idx_l0_active = 1 + ue(31);
    pps.num_ref_idx_l1_active = 1 + ue(31);
    pps.weighted_pred_flag = get_flag();
    pps.weighted_bipred_idc = get_bits(2);
    pps.pic_init_qp_minus26 = se();
    pps.pic_init_qs_minus26 = se();
    pps.chroma_qp_index_offset = pps.second_chroma_qp_index_offset = se();
    pps.deblocking_filter_control_present_flag = get_flag();
    pps.constrained_intra_pred_flag = get_flag();
    pps.redundant_pic_cnt_present_flag = get_flag();
    pps.scaling = sps.scaling;
    if (!more_rbsp_data()) {
        return;
    }
    pps.transform_8x8_mode_flag = get_flag();
    pps.pic_scaling_matrix_present_flag = get_flag();
    if (pps.pic_scaling_matrix_present_flag) {
        const unsigned count8x8 = sps.chroma_format_idc == 3 ? 6 : 2;
        read_scaling_lists(pps.scaling, pps.transform_8x8_mode_flag ? count8x8 : 0,
                           sps.seq_scaling_matrix_present_flag ? sps.scaling : default_scaling_lists());
    }
    pps.second_chroma_qp_index_offset = se();
}

void AVCHeadersBitstream::read_slice_groups(AVCPicParamSet& pps, std::uint32_t area, std::uint32_t width) {
    pps.slice_group_map_type = ue(6);
    const std::uint32_t last = pps.num_slice_groups - 1;
    switch (pps.slice_group_map_type) {
        case 0:  // interleaved
            for (std::uint32_t i = 0; i <= last; ++i) {
                pps.run_length[i] = 1 + ue();
                require(pps.run_length[i] <= area);
            }
            break;
        case 2:  // rectangles in front of a background
            for (std::uint32_t i = 0; i < last; ++i) {
                pps.top_left[i] = ue();
                pps.bottom_right[i] = ue();
                require(pps.top_left[i] <= pps.bottom_right[i] && pps.bottom_right[i] < area);
                require(pps.top_left[i] % width <= pps.bottom_right[i] % width);
            }
            break;
        case 3:
        case 4:
        case 5:  // evolving
            require(pps.num_slice_groups == 2);
            pps.slice_group_change_direction_flag = get_flag();
            pps.slice_group_change_rate = 1 + ue();
            require(pps.slice_group_change_rate <= area);
            break;
        case 6: read_slice_group_ids(pps, area); break;
        default:  // 1, dispersed, has no parameters
            break;
    }
}

void AVCHeadersBitstream::read_slice_group_ids(AVCPicParamSet& pps, std::uint32_t area) {
    require(std::uint64_t{ue()} + 1 == area);
    const unsigned bits = static_cast<unsigned>(std::bit_width(pps.num_slice_groups - 1));
    require(bits_left() >= std::uint64_t{area} * bits);  // before room is made for what a few bytes can claim
    pps.slice_group_id.resize(area);
    for (std::uint8_t& id : pps.slice_group_id) {
        id = static_cast<std::uint8_t>(get_bits(bits));
        require(id < pps.num_slice_groups);
    }
}

}  // namespace ProtectedLibrary
