#include "VideoIO/MPEGUtil/RbspReader.h"
#include "VideoIO/MPEGUtil/SliceHeaders.h"

#include <bit>

namespace qz_MPEGUtil {
namespace {

bool IsIrap(std::uint8_t type) { return type >= H265_NAL_BLA_W_LP && type <= H265_NAL_CRA; }
bool IsIdr(std::uint8_t type) { return type == H265_NAL_IDR_W_RADL || type == H265_NAL_IDR_N_LP; }

bool IsBaseLayerSlice(const H265NalHeader& header) {
    return header.nuh_layer_id == 0 && H265IsSliceSegment(header.nal_unit_type);
}

/// The part that dependent slice segments take from the slice before them.
void ReadIndependentPart(RbspReader& reader, const H265PictureParameterSet& pps, const H265SequenceParameterSet& sps,
                         H265SliceHeader& slice) {
    reader.Bits(pps.num_extra_slice_header_bits);  // slice_reserved_flag
    slice.slice_type = reader.UE();
    if (pps.output_flag_present_flag) {
        slice.pic_output_flag = reader.Flag();
    }
    if (sps.separate_colour_plane_flag) {
        reader.Bits(2);  // colour_plane_id
    }
    if (!IsIdr(slice.nal.nal_unit_type)) {
        slice.slice_pic_order_cnt_lsb = reader.Bits(sps.log2_max_pic_order_cnt_lsb_minus4 + 4);
    }
}

}  // namespace

std::optional<H265SliceHeader> ReadH265SliceHeader(std::span<const std::uint8_t> nal,
                                                   const H265ParameterSetTables& sets) {
    const auto header = ReadH265NalHeader(nal);
    if (!header || !IsBaseLayerSlice(*header)) {
        return std::nullopt;
    }
    RbspReader reader(nal.subspan(2));
    H265SliceHeader slice;
    slice.nal = *header;
    slice.first_slice_segment_in_pic_flag = reader.Flag();
    if (IsIrap(header->nal_unit_type)) {
        slice.no_output_of_prior_pics_flag = reader.Flag();
    }
    slice.pic_parameter_set_id = reader.UE();
    const H265PictureParameterSet* const pps = sets.Picture(slice.pic_parameter_set_id);
    const H265SequenceParameterSet* const sps = pps != nullptr ? sets.Sequence(pps->pps_seq_parameter_set_id) : nullptr;
    if (sps == nullptr) {
        return std::nullopt;
    }
    slice.seq_parameter_set_id = pps->pps_seq_parameter_set_id;
    if (!slice.first_slice_segment_in_pic_flag) {
        slice.dependent_slice_segment_flag = pps->dependent_slice_segments_enabled_flag && reader.Flag();
        reader.Bits(static_cast<unsigned>(std::bit_width(sps->PictureSizeInCtbs() - 1)));  // slice_segment_address
    }
    if (!slice.dependent_slice_segment_flag) {
        ReadIndependentPart(reader, *pps, *sps, slice);
    }
    return reader.Failed() || slice.slice_type > 2 ? std::nullopt : std::optional(slice);
}

std::optional<bool> ReadFirstSliceSegmentInPicFlag(std::span<const std::uint8_t> nal) {
    const auto header = ReadH265NalHeader(nal);
    if (!header || !IsBaseLayerSlice(*header) || nal.size() < 3) {
        return std::nullopt;
    }
    return (nal[2] & 0x80) != 0;
}

bool StartsNewPicture(const H265SliceHeader& previous, const H265SliceHeader& next) {
    if (next.first_slice_segment_in_pic_flag) {
        return true;
    }
    // The first segment was lost: the picture shows by what all its slices share.
    return !previous.dependent_slice_segment_flag && !next.dependent_slice_segment_flag &&
           (previous.slice_pic_order_cnt_lsb != next.slice_pic_order_cnt_lsb ||
            previous.nal.nal_unit_type != next.nal.nal_unit_type);
}

}  // namespace qz_MPEGUtil
