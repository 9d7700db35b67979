// The headers of H.264 and H.265 slices, as far as access unit limits and picture order need them.
//
// All functions take one NAL unit with its header bytes and emulation prevention and without a start
// code. They touch only the bytes of the header, whatever the size of the slice.
#pragma once

#include "VideoIO/MPEGUtil/H264ParameterSets.h"
#include "VideoIO/MPEGUtil/H265ParameterSets.h"

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace qz_MPEGUtil {

/// NAL unit types of ITU-T H.264 table 7-1 that the reader of a stream acts upon.
enum H264NalUnitType : std::uint8_t {
    H264_NAL_SLICE = 1,
    H264_NAL_PARTITION_A = 2,
    H264_NAL_IDR_SLICE = 5,
    H264_NAL_SEI = 6,
    H264_NAL_SPS = 7,
    H264_NAL_PPS = 8,
    H264_NAL_AUD = 9,
    H264_NAL_END_OF_SEQUENCE = 10,
    H264_NAL_END_OF_STREAM = 11,
};

/// slice_header of ITU-T H.264, clause 7.3.3.
struct H264SliceHeader {
    std::uint8_t nal_ref_idc = 0;
    std::uint8_t nal_unit_type = 0;
    bool idr = false;
    std::uint32_t first_mb_in_slice = 0;
    std::uint32_t slice_type = 0;  // 0 P, 1 B, 2 I, 3 SP, 4 SI; 5 to 9 are folded
    std::uint32_t pic_parameter_set_id = 0;
    std::uint32_t seq_parameter_set_id = 0;  // of that picture parameter set
    std::uint32_t frame_num = 0;
    bool field_pic_flag = false;
    bool bottom_field_flag = false;
    std::uint32_t idr_pic_id = 0;
    std::uint32_t pic_order_cnt_type = 0;  // of that sequence parameter set
    std::uint32_t pic_order_cnt_lsb = 0;
    std::int32_t delta_pic_order_cnt_bottom = 0;
    std::array<std::int32_t, 2> delta_pic_order_cnt{};
    std::uint32_t redundant_pic_cnt = 0;
    /// Known only from ReadH264SliceHeaderWithMarking.
    bool memory_management_control_operation_5 = false;
};

/// The header up to redundant_pic_cnt. Nothing for NAL unit types other than 1, 2 and 5, an unknown
/// parameter set, truncated data or bad values.
std::optional<H264SliceHeader> ReadH264SliceHeader(std::span<const std::uint8_t> nal,
                                                   const H264ParameterSetTables& sets);

/// The same, and for reference pictures on through list modification and prediction weights to
/// dec_ref_pic_marking (clauses 7.3.3.1 to 7.3.3.3).
std::optional<H264SliceHeader> ReadH264SliceHeaderWithMarking(std::span<const std::uint8_t> nal,
                                                              const H264ParameterSetTables& sets);

/// first_mb_in_slice alone, for which no parameter set is needed.
std::optional<std::uint32_t> ReadFirstMbInSlice(std::span<const std::uint8_t> nal);

/// Whether `next` is the first slice of another primary coded picture than that of `previous`,
/// clause 7.4.1.2.4. A redundant slice (redundant_pic_cnt above 0) starts none.
bool StartsNewPicture(const H264SliceHeader& previous, const H264SliceHeader& next);

/// Whether a NAL unit of this type, met behind the last slice of a picture, starts the next access
/// unit before any slice is seen (clause 7.4.1.2.3: delimiter, parameter sets, SEI, types 14 to 18).
constexpr bool H264StartsAccessUnitAfterSlice(std::uint8_t nal_unit_type) {
    return (nal_unit_type >= 6 && nal_unit_type <= 9) || (nal_unit_type >= 14 && nal_unit_type <= 18);
}

/// Whether a NAL unit of this type holds a slice segment. The types that table 7-1 reserves among those of
/// slices, 10 to 15 and 22 to 31, do not: what they hold is unknown and to be ignored (clause 7.4.2.2).
constexpr bool H265IsSliceSegment(std::uint8_t nal_unit_type) {
    return nal_unit_type <= H265_NAL_RASL_R || (nal_unit_type >= H265_NAL_BLA_W_LP && nal_unit_type <= H265_NAL_CRA);
}

/// The start of slice_segment_header of ITU-T H.265, clause 7.3.6.1.
struct H265SliceHeader {
    H265NalHeader nal;
    bool first_slice_segment_in_pic_flag = false;
    bool no_output_of_prior_pics_flag = false;
    std::uint32_t pic_parameter_set_id = 0;
    std::uint32_t seq_parameter_set_id = 0;  // of that picture parameter set
    bool dependent_slice_segment_flag = false;
    /// The rest belongs to independent slice segments; 0 in dependent ones.
    std::uint32_t slice_type = 0;  // 0 B, 1 P, 2 I
    bool pic_output_flag = true;
    std::uint32_t slice_pic_order_cnt_lsb = 0;
};

/// Nothing for NAL units that are no slice segment, layers other than the base layer, an unknown parameter
/// set, truncated data or bad values.
std::optional<H265SliceHeader> ReadH265SliceHeader(std::span<const std::uint8_t> nal,
                                                   const H265ParameterSetTables& sets);

/// first_slice_segment_in_pic_flag alone, for which no parameter set is needed; a base layer slice
/// with this flag is the first of another picture (clause 7.4.2.4.5). Nothing for other layers.
std::optional<bool> ReadFirstSliceSegmentInPicFlag(std::span<const std::uint8_t> nal);

/// Whether `next` is the first slice segment of another picture than that of `previous`.
bool StartsNewPicture(const H265SliceHeader& previous, const H265SliceHeader& next);

/// Whether a base layer NAL unit of this type, met behind the last slice segment of a picture, starts
/// the next access unit (clause 7.4.2.4.4).
constexpr bool H265StartsAccessUnitAfterSlice(std::uint8_t nal_unit_type) {
    return (nal_unit_type >= H265_NAL_VPS && nal_unit_type <= H265_NAL_AUD) || nal_unit_type == H265_NAL_PREFIX_SEI ||
           (nal_unit_type >= 41 && nal_unit_type <= 44) || (nal_unit_type >= 48 && nal_unit_type <= 55);
}

}  // namespace qz_MPEGUtil
