// Reading H.264 parameter sets, slice headers and SEI messages from words made by to_rbsp.
#pragma once

#include "VideoIO/MPEGUtil/AVCBaseBitstream.h"
#include "VideoIO/MPEGUtil/AVCHeaders.h"

namespace ProtectedLibrary {

/// Each operation reads from where the one before ended, gives 0 or a negative AVCStatus and throws nothing. A record
/// that could not be read whole holds what was read.
class AVCHeadersBitstream : public AVCBaseBitstream {
public:
    using AVCBaseBitstream::AVCBaseBitstream;

    /// The header byte, and the extension behind it for types 14 and 20.
    std::int32_t get_nal_header(AVCNalHeader& header);

    std::int32_t get_seq_param_set(AVCSeqParamSet& sps);
    std::int32_t get_seq_param_set_extension(AVCSeqParamSetExtension& extension);

    /// The two ids, which must be known before the set can be read on.
    std::int32_t get_pic_param_set_ids(AVCPicParamSet& pps);
    std::int32_t get_pic_param_set(AVCPicParamSet& pps, const AVCSeqParamSet& sps);

    /// Up to the id of the picture parameter set. `slice.nal_unit_type` and its like must be set.
    std::int32_t get_slice_header_start(AVCSliceHeader& slice);
    /// The rest, up to the slice data; byte aligned for CABAC.
    std::int32_t get_slice_header(AVCSliceHeader& slice, const AVCSeqParamSet& sps, const AVCPicParamSet& pps);

    /// One SEI message. `sps` gives the sizes of the fields that depend on it.
    std::int32_t get_sei_message(AVCSEIPayLoad& sei, const AVCSeqParamSet& sps);

private:
    std::uint32_t ue();
    std::uint32_t ue(std::uint32_t limit);
    std::int32_t se();

    void read_seq_param_set(AVCSeqParamSet& sps);
    void read_chroma_and_scaling(AVCSeqParamSet& sps);
    void read_order_count(AVCSeqParamSet& sps);
    void read_picture_size(AVCSeqParamSet& sps);
    void read_vui(AVCSeqParamSet& sps);
    void read_signal_type(AVCSeqParamSet& sps);
    void read_bitstream_restriction(AVCSeqParamSet& sps);
    void read_hrd(AVCHrdParameters& hrd);

    /// Lists that the stream leaves out take `fall_back` where the standard's rule A or B asks for one, or the list
    /// before of their kind.
    void read_scaling_lists(AVCScalingLists& lists, unsigned count8x8, const AVCScalingLists& fall_back);
    template <std::size_t Size>
    bool read_scaling_list(std::array<std::uint8_t, Size>& list);

    void read_pic_param_set(AVCPicParamSet& pps, const AVCSeqParamSet& sps);
    void read_slice_groups(AVCPicParamSet& pps, std::uint32_t area, std::uint32_t width);
    void read_slice_group_ids(AVCPicParamSet& pps, std::uint32_t area);

    void read_slice_header(AVCSliceHeader& slice, const AVCSeqParamSet& sps, const AVCPicParamSet& pps);
    void read_order_count(AVCSliceHeader& slice, const AVCSeqParamSet& sps, const AVCPicParamSet& pps);
    void read_ref_list_modification(const AVCSliceHeader& slice);
    void skip_one_list_modification(bool multi_view);
    void skip_pred_weight_table(const AVCSliceHeader& slice, const AVCSeqParamSet& sps);
    void skip_ref_pic_marking(const AVCSliceHeader& slice);

    void read_sei_message(AVCSEIPayLoad& sei, const AVCSeqParamSet& sps);
    std::uint32_t read_sei_number();
    void read_buffering_period(AVCSEIPayLoad& sei, const AVCSeqParamSet& sps);
    void read_pic_timing(AVCSEIPayLoad& sei, const AVCSeqParamSet& sps);
    void read_recovery_point(AVCSEIPayLoad& sei);
};

/// Flat lists, which stand where a stream has none.
AVCScalingLists flat_scaling_lists();
/// The default lists of ITU-T H.264, tables 7-3 and 7-4.
const AVCScalingLists& default_scaling_lists();

/// Ends the reading of a header: its syntax is bad.
[[noreturn]] void throw_bad_syntax();
inline void require(bool condition) {
    if (!condition) {
        throw_bad_syntax();
    }
}

/// Runs a reading step and turns its exception into the status.
template <class Step>
std::int32_t status_of(Step&& step) {
    try {
        step();
        return AVC_OK;
    } catch (const AVC_exception& exception) {
        return exception.status();
    }
}

}  // namespace ProtectedLibrary
