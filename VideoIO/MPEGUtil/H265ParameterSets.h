// The parameter sets of H.265 as plain records, named after the syntax elements of ITU-T H.265
// clause 7.3.2 and Annex E. Kept is what a recorder needs: sizes, profile, timing, output order.
// What lies in between is read past with all its conditions.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace qz_MPEGUtil {

/// NAL unit types of ITU-T H.265 table 7-1 that the reader of a stream acts upon.
enum H265NalUnitType : std::uint8_t {
    H265_NAL_RADL_N = 6,
    H265_NAL_RADL_R = 7,
    H265_NAL_RASL_N = 8,
    H265_NAL_RASL_R = 9,
    H265_NAL_BLA_W_LP = 16,
    H265_NAL_BLA_N_LP = 18,
    H265_NAL_IDR_W_RADL = 19,
    H265_NAL_IDR_N_LP = 20,
    H265_NAL_CRA = 21,
    H265_NAL_VPS = 32,
    H265_NAL_SPS = 33,
    H265_NAL_PPS = 34,
    H265_NAL_AUD = 35,
    H265_NAL_EOS = 36,
    H265_NAL_EOB = 37,
    H265_NAL_PREFIX_SEI = 39,
};

/// nal_unit_header, clause 7.3.1.2: two bytes.
struct H265NalHeader {
    std::uint8_t nal_unit_type = 0;
    std::uint8_t nuh_layer_id = 0;
    std::uint8_t temporal_id = 0;  // nuh_temporal_id_plus1 - 1
};

/// Nothing for fewer than two bytes, a set forbidden bit or a nuh_temporal_id_plus1 of 0.
std::optional<H265NalHeader> ReadH265NalHeader(std::span<const std::uint8_t> nal);

/// The general part of profile_tier_level, clause 7.3.3, as 14496-15 carries it too.
struct H265ProfileTierLevel {
    std::uint8_t general_profile_space = 0;
    std::uint8_t general_tier_flag = 0;
    std::uint8_t general_profile_idc = 0;
    std::uint32_t general_profile_compatibility_flags = 0;  // flag 0 in the top bit
    std::uint64_t general_constraint_indicator_flags = 0;   // 48 bits, progressive_source in the top one
    std::uint8_t general_level_idc = 0;                     // 30 times the level
};

/// Sizes of the decoded picture buffer of one temporal sub-layer.
struct H265SubLayerOrdering {
    std::uint32_t max_dec_pic_buffering_minus1 = 0;
    std::uint32_t max_num_reorder_pics = 0;
    std::uint32_t max_latency_increase_plus1 = 0;
};

/// Timing of a video parameter set or of VUI; a picture lasts num_units_in_tick / time_scale seconds.
struct H265TimingInfo {
    std::uint32_t num_units_in_tick = 0;
    std::uint32_t time_scale = 0;
    bool poc_proportional_to_timing_flag = false;
    std::uint32_t num_ticks_poc_diff_one_minus1 = 0;
};

/// video_parameter_set_rbsp, clause 7.3.2.1.
struct H265VideoParameterSet {
    std::uint32_t vps_video_parameter_set_id = 0;
    std::uint32_t vps_max_layers_minus1 = 0;
    std::uint32_t vps_max_sub_layers_minus1 = 0;
    bool vps_temporal_id_nesting_flag = false;
    H265ProfileTierLevel profile_tier_level;
    std::optional<H265TimingInfo> timing;
};

/// A rectangle cut from the sides, in units of the syntax (chroma samples, clause 7.4.3.2.1).
struct H265Window {
    std::uint32_t left_offset = 0;
    std::uint32_t right_offset = 0;
    std::uint32_t top_offset = 0;
    std::uint32_t bottom_offset = 0;
};

/// vui_parameters, clause E.2.1.
struct H265VuiParameters {
    bool aspect_ratio_info_present_flag = false;
    std::uint32_t aspect_ratio_idc = 0;
    std::uint32_t sar_width = 0;   // from table E-1 too when aspect_ratio_idc is not 255
    std::uint32_t sar_height = 0;  // 0 for an unspecified ratio
    bool video_signal_type_present_flag = false;
    std::uint32_t video_format = 5;
    bool video_full_range_flag = false;
    std::uint32_t colour_primaries = 2;
    std::uint32_t transfer_characteristics = 2;
    std::uint32_t matrix_coeffs = 2;
    bool field_seq_flag = false;
    bool frame_field_info_present_flag = false;
    std::optional<H265Window> default_display_window;
    std::optional<H265TimingInfo> timing;
    std::uint32_t min_spatial_segmentation_idc = 0;
};

/// st_ref_pic_set, clause 7.4.8, as derived: differences of picture order count to the current picture.
struct H265ShortTermRefPicSet {
    static constexpr unsigned max_pictures = 16;
    std::uint8_t num_negative_pics = 0;
    std::uint8_t num_positive_pics = 0;
    std::array<std::int32_t, max_pictures> delta_poc_s0{};
    std::array<std::int32_t, max_pictures> delta_poc_s1{};
    std::array<bool, max_pictures> used_by_curr_pic_s0{};
    std::array<bool, max_pictures> used_by_curr_pic_s1{};
};

/// seq_parameter_set_rbsp, clause 7.3.2.2.
struct H265SequenceParameterSet {
    std::uint32_t sps_video_parameter_set_id = 0;
    std::uint32_t sps_max_sub_layers_minus1 = 0;
    bool sps_temporal_id_nesting_flag = false;
    H265ProfileTierLevel profile_tier_level;
    std::uint32_t sps_seq_parameter_set_id = 0;
    std::uint32_t chroma_format_idc = 1;
    bool separate_colour_plane_flag = false;
    std::uint32_t pic_width_in_luma_samples = 0;
    std::uint32_t pic_height_in_luma_samples = 0;
    H265Window conformance_window;
    std::uint32_t bit_depth_luma_minus8 = 0;
    std::uint32_t bit_depth_chroma_minus8 = 0;
    std::uint32_t log2_max_pic_order_cnt_lsb_minus4 = 0;
    std::array<H265SubLayerOrdering, 8> sub_layer_ordering;  // one entry a sub-layer, all filled
    std::uint32_t log2_min_luma_coding_block_size_minus3 = 0;
    std::uint32_t log2_diff_max_min_luma_coding_block_size = 0;
    std::vector<H265ShortTermRefPicSet> short_term_ref_pic_sets;
    bool long_term_ref_pics_present_flag = false;
    std::vector<std::uint32_t> lt_ref_pic_poc_lsb_sps;
    bool sps_temporal_mvp_enabled_flag = false;
    std::optional<H265VuiParameters> vui;

    /// Picture size behind the conformance window.
    std::uint32_t Width() const;
    std::uint32_t Height() const;
    /// The pictures that may be waiting in the decoded picture buffer for their turn in output order.
    std::uint32_t ReorderDepth() const;
    /// PicSizeInCtbsY, clause 7.4.3.2.1: the number of coding tree blocks of a picture.
    std::uint32_t PictureSizeInCtbs() const;
};

/// pic_parameter_set_rbsp, clause 7.3.2.3, as far as the start of a slice header depends on it.
struct H265PictureParameterSet {
    std::uint32_t pps_pic_parameter_set_id = 0;
    std::uint32_t pps_seq_parameter_set_id = 0;
    bool dependent_slice_segments_enabled_flag = false;
    bool output_flag_present_flag = false;
    std::uint32_t num_extra_slice_header_bits = 0;
};

/// Readers of whole NAL units, with their two header bytes and emulation prevention and without a
/// start code. Nothing for another NAL unit type, truncated data, and values out of their range.
std::optional<H265VideoParameterSet> ReadH265VideoParameterSet(std::span<const std::uint8_t> nal);
std::optional<H265SequenceParameterSet> ReadH265SequenceParameterSet(std::span<const std::uint8_t> nal);
std::optional<H265PictureParameterSet> ReadH265PictureParameterSet(std::span<const std::uint8_t> nal);

/// The parameter sets of a stream's base layer by their ids, as they stand at a point of it.
class H265ParameterSetTables {
public:
    /// Takes a NAL unit of type 33 or 34 (and 32, which no slice needs and of which only the last is
    /// kept); a set of the same id is replaced. False for other types, for another layer than 0, and
    /// for a set that cannot be read, which changes nothing.
    bool Add(std::span<const std::uint8_t> nal);
    void Clear();

    /// Null when unknown. Valid until the next Add or Clear.
    const H265VideoParameterSet* Video() const;
    const H265SequenceParameterSet* Sequence(std::uint32_t id) const;
    const H265PictureParameterSet* Picture(std::uint32_t id) const;

private:
    std::optional<H265VideoParameterSet> m_video;
    std::array<std::unique_ptr<H265SequenceParameterSet>, 16> m_sequences;
    std::array<std::optional<H265PictureParameterSet>, 64> m_pictures;
};

}  // namespace qz_MPEGUtil
