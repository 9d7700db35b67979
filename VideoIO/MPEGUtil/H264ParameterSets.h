// The parameter sets of H.264 as plain records, named after the syntax elements of ITU-T H.264
// clause 7.3.2 and Annex E, and the values that follow from them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace qz_MPEGUtil {

/// hrd_parameters, clause E.1.2. Entries behind cpb_cnt_minus1 are 0.
struct H264HrdParameters {
    static constexpr unsigned max_cpb_count = 32;
    std::uint32_t cpb_cnt_minus1 = 0;
    std::uint32_t bit_rate_scale = 0;
    std::uint32_t cpb_size_scale = 0;
    std::array<std::uint32_t, max_cpb_count> bit_rate_value_minus1{};
    std::array<std::uint32_t, max_cpb_count> cpb_size_value_minus1{};
    std::array<std::uint32_t, max_cpb_count> cbr_flag{};
    std::uint32_t initial_cpb_removal_delay_length_minus1 = 0;
    std::uint32_t cpb_removal_delay_length_minus1 = 0;
    std::uint32_t dpb_output_delay_length_minus1 = 0;
    std::uint32_t time_offset_length = 0;
};

/// vui_parameters, clause E.1.1. Fields that are not present hold 0, or what clause E.2.1 infers.
struct H264VuiParameters {
    std::uint32_t aspect_ratio_info_present_flag = 0;
    std::int32_t aspect_ratio_idc = 0;
    std::uint32_t sar_width = 0;
    std::uint32_t sar_height = 0;
    std::uint32_t overscan_info_present_flag = 0;
    std::uint32_t overscan_appropriate_flag = 0;
    std::uint32_t video_signal_type_present_flag = 0;
    std::uint32_t video_format = 5;
    std::uint32_t video_full_range_flag = 0;
    std::uint32_t colour_description_present_flag = 0;
    std::uint32_t colour_primaries = 2;
    std::uint32_t transfer_characteristics = 2;
    std::uint32_t matrix_coefficients = 2;
    std::uint32_t chroma_loc_info_present_flag = 0;
    std::uint32_t chroma_sample_loc_type_top_field = 0;
    std::uint32_t chroma_sample_loc_type_bottom_field = 0;
    std::uint32_t timing_info_present_flag = 0;
    std::uint32_t num_units_in_tick = 0;
    std::uint32_t time_scale = 0;
    std::uint32_t fixed_frame_rate_flag = 0;
    std::uint32_t nal_hrd_parameters_present_flag = 0;
    H264HrdParameters nal_hrd_parameters;
    std::uint32_t vcl_hrd_parameters_present_flag = 0;
    H264HrdParameters vcl_hrd_parameters;
    std::uint32_t low_delay_hrd_flag = 0;
    std::uint32_t pic_struct_present_flag = 0;
    std::uint32_t bitstream_restriction_flag = 0;
    std::uint32_t motion_vectors_over_pic_boundaries_flag = 0;
    std::uint32_t max_bytes_per_pic_denom = 0;
    std::uint32_t max_bits_per_mb_denom = 0;
    std::uint32_t log2_max_mv_length_horizontal = 0;
    std::uint32_t log2_max_mv_length_vertical = 0;
    std::uint32_t max_num_reorder_frames = 0;
    std::uint32_t max_dec_frame_buffering = 0;
};

/// seq_parameter_set_data, clause 7.3.2.1.1.
struct H264SequenceSyntax {
    std::uint32_t profile_idc = 0;
    std::uint32_t constraint_set0_flag = 0;
    std::uint32_t constraint_set1_flag = 0;
    std::uint32_t constraint_set2_flag = 0;
    std::uint32_t constraint_set3_flag = 0;
    std::uint32_t constraint_set4_flag = 0;
    std::uint32_t constraint_set5_flag = 0;
    std::uint32_t reserved_zero_2bits = 0;
    std::uint32_t level_idc = 0;
    std::uint32_t seq_parameter_set_id = 0;
    std::uint32_t chroma_format_idc = 1;
    std::uint32_t separate_colour_plane_flag = 0;
    std::uint32_t bit_depth_luma_minus8 = 0;
    std::uint32_t bit_depth_chroma_minus8 = 0;
    std::uint32_t qpprime_y_zero_transform_bypass_flag = 0;
    std::uint32_t seq_scaling_matrix_present_flag = 0;
    std::uint32_t log2_max_frame_num_minus4 = 0;
    std::uint32_t log2_max_pic_order_cnt_lsb_minus4 = 0;
    std::uint32_t pic_order_cnt_type = 0;
    std::uint32_t max_num_ref_frames = 0;
    std::uint32_t num_ref_frames_in_pic_order_cnt_cycle = 0;
    std::vector<std::int32_t> offset_for_ref_frame = std::vector<std::int32_t>(1);
    std::uint32_t frame_mbs_only_flag = 0;
    std::uint32_t delta_pic_order_always_zero_flag = 0;
    std::uint32_t gaps_in_frame_num_value_allowed_flag = 0;
    std::uint32_t pic_width_in_mbs_minus1 = 0;
    std::uint32_t pic_height_in_map_units_minus1 = 0;
    std::uint32_t mb_adaptive_frame_field_flag = 0;
    std::uint32_t direct_8x8_inference_flag = 0;
    std::uint32_t frame_cropping_flag = 0;
    std::uint32_t frame_crop_left_offset = 0;
    std::uint32_t frame_crop_right_offset = 0;
    std::uint32_t frame_crop_top_offset = 0;
    std::uint32_t frame_crop_bottom_offset = 0;
    std::int32_t offset_for_non_ref_pic = 0;
    std::int32_t offset_for_top_to_bottom_field = 0;
    std::uint32_t vui_parameters_present_flag = 0;
    H264VuiParameters vui_parameters;
};

/// pic_parameter_set_rbsp, clause 7.3.2.2, as far as the header of a slice depends on it.
struct H264PictureParameterSet {
    std::uint32_t pic_parameter_set_id = 0;
    std::uint32_t seq_parameter_set_id = 0;
    std::uint32_t entropy_coding_mode_flag = 0;
    std::uint32_t bottom_field_pic_order_in_frame_present_flag = 0;
    std::uint32_t num_slice_groups_minus1 = 0;
    std::uint32_t num_ref_idx_l0_default_active_minus1 = 0;
    std::uint32_t num_ref_idx_l1_default_active_minus1 = 0;
    std::uint32_t weighted_pred_flag = 0;
    std::uint32_t weighted_bipred_idc = 0;
    std::int32_t pic_init_qp_minus26 = 0;
    std::int32_t pic_init_qs_minus26 = 0;
    std::int32_t chroma_qp_index_offset = 0;
    std::uint32_t deblocking_filter_control_present_flag = 0;
    std::uint32_t constrained_intra_pred_flag = 0;
    std::uint32_t redundant_pic_cnt_present_flag = 0;
};

/// Reads a sequence parameter set NAL unit (type 7, or 15 for the data it shares with 7), with its
/// header byte and emulation prevention and without a start code. All profiles, 4:4:4 scaling lists
/// included. Nothing for truncated data, for ids, sizes and counts out of their range.
std::optional<H264SequenceSyntax> ReadH264SequenceParameterSet(std::span<const std::uint8_t> nal);

/// Reads a picture parameter set NAL unit (type 8) in the same form.
std::optional<H264PictureParameterSet> ReadH264PictureParameterSet(std::span<const std::uint8_t> nal);

/// ChromaArrayType, clause 7.4.2.1.1: 0 when the colour planes are coded separately.
std::uint32_t ChromaArrayType(const H264SequenceSyntax& sps);

/// Size in samples of the luma picture as coded, and of what is left of it behind the cropping window
/// in the units of clause 7.4.2.1.1 (SubWidthC, SubHeightC, doubled in height for field coding).
struct H264PictureSize {
    std::uint32_t coded_width = 0;
    std::uint32_t coded_height = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};
H264PictureSize PictureSize(const H264SequenceSyntax& sps);

/// MaxDpbFrames, clause A.3.1 with table A-1: how many frames the decoded picture buffer of the
/// stream's level holds, 16 at most. An unknown level counts as the next higher known one.
std::uint32_t MaxDpbFrames(const H264SequenceSyntax& sps);

/// How many frames at most precede any frame in decoding order and follow it in output order: from
/// bitstream_restriction when the stream has it, otherwise as clause E.2.1 infers it; 0 for
/// pic_order_cnt_type 2, whose output order is the decoding order.
std::uint32_t ReorderDepth(const H264SequenceSyntax& sps);

/// The parameter sets of a stream by their ids, as they stand at a point of it.
class H264ParameterSetTables {
public:
    /// Takes a NAL unit of type 7 or 8; a set of the same id is replaced. False for other types and
    /// for a set that cannot be read, which changes nothing.
    bool Add(std::span<const std::uint8_t> nal);
    void Clear();

    /// Null when the id is unknown. Valid until the next Add or Clear.
    const H264SequenceSyntax* Sequence(std::uint32_t id) const;
    const H264PictureParameterSet* Picture(std::uint32_t id) const;

private:
    std::array<std::unique_ptr<H264SequenceSyntax>, 32> m_sequences;
    std::array<std::optional<H264PictureParameterSet>, 256> m_pictures;
};

}  // namespace qz_MPEGUtil
