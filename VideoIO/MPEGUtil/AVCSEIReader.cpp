// Supplemental enhancement information: ITU-T H.264, clauses 7.3.2.3.1 and D.1.
#include "VideoIO/MPEGUtil/AVCHeadersBitstream.h"

namespace ProtectedLibrary {

std::uint32_t AVCHeadersBitstream::read_sei_number() {
    std::uint32_t number = 0;
    std::uint32_t byte = 0;
    do {
        byte = get_bits(8);
        number += byte;
    } while (byte == 0xFF);
    return number;
}

void AVCHeadersBitstream::read_sei_message(AVCSEIPayLoad& sei, const AVCSeqParamSet& sps) {
    sei.reset();
    require(more_rbsp_data());
    const std::uint32_t type = read_sei_number();
    const std::uint32_t size = read_sei_number();
    require(bits_left() >= std::uint64_t{size} * 8);
    AVCHeadersBitstream fields = *this;  // reads within the payload, while this one steps behind it
    sei.payload.resize(size);
    for (std::uint8_t& byte : sei.payload) byte = static_cast<std::uint8_t>(get_bits(8));
    sei.payload_type = type;
    switch (type) {
        case kSeiBufferingPeriod: fields.read_buffering_period(sei, sps); break;
        case kSeiPicTiming: fields.read_pic_timing(sei, sps); break;
        case kSeiRecoveryPoint: fields.read_recovery_point(sei); break;
        default: break;
    }
}

void AVCHeadersBitstream::read_buffering_period(AVCSEIPayLoad& sei, const AVCSeqParamSet& sps) {
    AVCSEIPayLoadBase::BufferingPeriod& period = sei.buffering_period;
    period.seq_parameter_set_id = ue(kNoParameterSet - 1);
    const auto read_delays = [&](const AVCHrdParameters& hrd, auto& delays, auto& offsets) {
        for (std::uint32_t i = 0; i < hrd.cpb_cnt; ++i) {
            delays[i] = get_bits(hrd.initial_cpb_removal_delay_length);
            offsets[i] = get_bits(hrd.initial_cpb_removal_delay_length);
        }
    };
    if (sps.nal_hrd_parameters_present_flag) {
        read_delays(sps.nal_hrd, period.nal_initial_cpb_removal_delay, period.nal_initial_cpb_removal_delay_offset);
    }
    if (sps.vcl_hrd_parameters_present_flag) {
        read_delays(sps.vcl_hrd, period.vcl_initial_cpb_removal_delay, period.vcl_initial_cpb_removal_delay_offset);
    }
}

void AVCHeadersBitstream::read_pic_timing(AVCSEIPayLoad& sei, const AVCSeqParamSet& sps) {
    if (sps.nal_hrd_parameters_present_flag || sps.vcl_hrd_parameters_present_flag) {
        const AVCHrdParameters& hrd = sps.nal_hrd_parameters_present_flag ? sps.nal_hrd : sps.vcl_hrd;
        sei.pic_timing.cpb_removal_delay = get_bits(hrd.cpb_removal_delay_length);
        sei.pic_timing.dpb_output_delay = get_bits(hrd.dpb_output_delay_length);
    }
    if (sps.pic_struct_present_flag) {
        sei.pic_timing.pic_struct = get_bits(4);
    }
}

void AVCHeadersBitstream::read_recovery_point(AVCSEIPayLoad& sei) {
    sei.recovery_point.recovery_frame_cnt = ue();
    sei.recovery_point.exact_match_flag = get_flag();
    sei.recovery_point.broken_link_flag = get_flag();
    sei.recovery_point.changing_slice_group_idc = get_bits(2);
}

}  // namespace ProtectedLibrary
