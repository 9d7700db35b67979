#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

#include <limits>

namespace ProtectedLibrary {

void throw_bad_syntax() { throw AVC_exception(AVC_ERR_INVALID_STREAM); }

std::uint32_t AVCHeadersBitstream::ue() {
    const std::int32_t value = get_ue();
    require(value >= 0);
    return static_cast<std::uint32_t>(value);
}

std::uint32_t AVCHeadersBitstream::ue(std::uint32_t limit) {
    const std::uint32_t value = ue();
    require(value <= limit);
    return value;
}

std::int32_t AVCHeadersBitstream::se() {
    const std::int32_t value = get_se();
    require(value != std::numeric_limits<std::int32_t>::min());
    return value;
}

std::int32_t AVCHeadersBitstream::get_nal_header(AVCNalHeader& header) {
    skip_bits(1);  // forbidden_zero_bit
    header.nal_ref_idc = get_bits(2);
    header.nal_unit_type = get_bits(5);
    if (header.nal_unit_type != AVC_NAL_PREFIX && header.nal_unit_type != AVC_NAL_SLICE_EXTENSION) {
        return AVC_OK;
    }
    header.svc_extension_flag = get_flag();
    if (header.svc_extension_flag) {
        header.idr_flag = get_flag();
        header.priority_id = get_bits(6);
        skip_bits(1);  // no_inter_layer_pred_flag
        header.dependency_id = get_bits(3);
        header.quality_id = get_bits(4);
        header.temporal_id = get_bits(3);
        skip_bits(5);  // use_ref_base_pic_flag, discardable_flag, output_flag, reserved
    } else {
        header.idr_flag = !get_flag();
        header.priority_id = get_bits(6);
        header.view_id = get_bits(10);
        header.temporal_id = get_bits(3);
        header.anchor_pic_flag = get_flag();
        header.inter_view_flag = get_flag();
        skip_bits(1);  // reserved
    }
    return AVC_OK;
}

std::int32_t AVCHeadersBitstream::get_seq_param_set(AVCSeqParamSet& sps) {
    return status_of([&] { read_seq_param_set(sps); });
}

std::int32_t AVCHeadersBitstream::get_seq_param_set_extension(AVCSeqParamSetExtension& extension) {
    return status_of([&] {
        extension.seq_parameter_set_id = ue(kNoParameterSet - 1);
        extension.aux_format_idc = ue(3);
        if (extension.aux_format_idc != 0) {
            extension.bit_depth_aux = 8 + ue(4);
            extension.alpha_incr_flag = get_flag();
            extension.alpha_opaque_value = get_bits(extension.bit_depth_aux + 1);
            extension.alpha_transparent_value = get_bits(extension.bit_depth_aux + 1);
        }
        extension.additional_extension_flag = get_flag();
    });
}

std::int32_t AVCHeadersBitstream::get_pic_param_set_ids(AVCPicParamSet& pps) {
    return status_of([&] {
        pps.pic_parameter_set_id = ue(255);
        pps.seq_parameter_set_id = ue(kNoParameterSet - 1);
    });
}

std::int32_t AVCHeadersBitstream::get_pic_param_set(AVCPicParamSet& pps, const AVCSeqParamSet& sps) {
    return status_of([&] { read_pic_param_set(pps, sps); });
}

std::int32_t AVCHeadersBitstream::get_slice_header_start(AVCSliceHeader& slice) {
    return status_of([&] {
        slice.first_mb_in_slice = ue();
        slice.slice_type = ue(9) % 5;
        require(slice.slice_type < AVC_SP_SLICE);
        slice.pic_parameter_set_id = ue(255);
    });
}

std::int32_t AVCHeadersBitstream::get_slice_header(AVCSliceHeader& slice, const AVCSeqParamSet& sps,
                                                   const AVCPicParamSet& pps) {
    return status_of([&] { read_slice_header(slice, sps, pps); });
}

std::int32_t AVCHeadersBitstream::get_sei_message(AVCSEIPayLoad& sei, const AVCSeqParamSet& sps) {
    return status_of([&] { read_sei_message(sei, sps); });
}

}  // namespace ProtectedLibrary
