// H.264 headers as the access unit splitter keeps them. Fields are named after the syntax elements of ITU-T H.264.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace ProtectedLibrary {

/// The count stands ready for sharing; the tables own their records outright and never use it.
class RefCounter {
public:
    void AddReference() { ++m_refCount; }
    std::uint32_t RemoveReference() { return --m_refCount; }

protected:
    ~RefCounter() = default;

private:
    std::uint32_t m_refCount = 0;
};

/// A record that a table owns.
class HeapObject : public RefCounter {
public:
    HeapObject() = default;
    HeapObject(const HeapObject&) = default;
    HeapObject& operator=(const HeapObject&) = default;
    virtual void Free() {}
    virtual ~HeapObject() = default;
    /// Back to the state of a new record.
    virtual void reset() {}
};

enum AVCSliceType : std::uint32_t {
    AVC_P_SLICE = 0,
    AVC_B_SLICE = 1,
    AVC_I_SLICE = 2,
    AVC_SP_SLICE = 3,
    AVC_SI_SLICE = 4
};

enum AVCNalType : std::uint32_t {
    AVC_NAL_SLICE = 1,
    AVC_NAL_IDR_SLICE = 5,
    AVC_NAL_SEI = 6,
    AVC_NAL_SPS = 7,
    AVC_NAL_PPS = 8,
    AVC_NAL_AUD = 9,
    AVC_NAL_END_OF_SEQUENCE = 10,
    AVC_NAL_END_OF_STREAM = 11,
    AVC_NAL_SPS_EXTENSION = 13,
    AVC_NAL_PREFIX = 14,
    AVC_NAL_SUBSET_SPS = 15,
    AVC_NAL_SLICE_EXTENSION = 20,
};

inline constexpr std::uint32_t kNoParameterSet = 32;  ///< the first id that no sequence parameter set can have

/// The eight lists of 4:2:0 and 4:2:2, and the four more of 4:4:4; flat where the stream has none.
struct AVCScalingLists {
    std::array<std::array<std::uint8_t, 16>, 6> lists4x4;
    std::array<std::array<std::uint8_t, 64>, 6> lists8x8;
    bool operator==(const AVCScalingLists&) const = default;
};

struct AVCHrdParameters {
    std::uint32_t cpb_cnt = 0;
    std::uint8_t bit_rate_scale = 0;
    std::uint8_t cpb_size_scale = 0;
    std::array<std::uint32_t, 32> bit_rate_value{};
    std::array<std::uint32_t, 32> cpb_size_value{};
    std::array<bool, 32> cbr_flag{};
    std::uint8_t initial_cpb_removal_delay_length = 24;
    std::uint8_t cpb_removal_delay_length = 24;
    std::uint8_t dpb_output_delay_length = 24;
    std::uint8_t time_offset_length = 24;
};

struct AVCVuiParameters {
    bool aspect_ratio_info_present_flag = false;
    std::uint8_t aspect_ratio_idc = 0;
    std::uint16_t sar_width = 0;
    std::uint16_t sar_height = 0;
    bool overscan_info_present_flag = false;
    bool overscan_appropriate_flag = false;
    bool video_signal_type_present_flag = false;
    std::uint8_t video_format = 5;
    bool video_full_range_flag = false;
    bool colour_description_present_flag = false;
    std::uint8_t colour_primaries = 2;
    std::uint8_t transfer_characteristics = 2;
    std::uint8_t matrix_coefficients = 2;
    bool chroma_loc_info_present_flag = false;
    std::uint32_t chroma_sample_loc_type_top_field = 0;
    std::uint32_t chroma_sample_loc_type_bottom_field = 0;
    bool timing_info_present_flag = false;
    std::uint32_t num_units_in_tick = 0;
    std::uint32_t time_scale = 0;
    bool fixed_frame_rate_flag = false;
    bool nal_hrd_parameters_present_flag = false;
    AVCHrdParameters nal_hrd;
    bool vcl_hrd_parameters_present_flag = false;
    AVCHrdParameters vcl_hrd;
    bool low_delay_hrd_flag = false;
    bool pic_struct_present_flag = false;
    bool bitstream_restriction_flag = false;
    bool motion_vectors_over_pic_boundaries_flag = true;
    std::uint32_t max_bytes_per_pic_denom = 2;
    std::uint32_t max_bits_per_mb_denom = 1;
    std::uint32_t log2_max_mv_length_horizontal = 16;
    std::uint32_t log2_max_mv_length_vertical = 16;
    std::uint32_t num_reorder_frames = 0;
    std::uint32_t max_dec_frame_buffering = 0;
};

struct AVCSeqParamSetBase : AVCVuiParameters {
    std::uint8_t profile_idc = 0;
    std::uint8_t constraint_flags = 0;  // the byte behind the profile as it stands
    std::uint8_t level_idc = 0;
    std::uint32_t seq_parameter_set_id = kNoParameterSet;
    std::uint32_t chroma_format_idc = 1;
    std::uint32_t bit_depth_luma = 8;
    std::uint32_t bit_depth_chroma = 8;
    bool qpprime_y_zero_transform_bypass_flag = false;
    bool seq_scaling_matrix_present_flag = false;
    AVCScalingLists scaling{};
    std::uint32_t log2_max_frame_num = 4;
    std::uint32_t pic_order_cnt_type = 0;
    std::uint32_t log2_max_pic_order_cnt_lsb = 4;
    bool delta_pic_order_always_zero_flag = false;
    std::int32_t offset_for_non_ref_pic = 0;
    std::int32_t offset_for_top_to_bottom_field = 0;
    std::vector<std::int32_t> offset_for_ref_frame;
    std::uint32_t num_ref_frames = 0;
    bool gaps_in_frame_num_value_allowed_flag = false;
    std::uint32_t frame_width_in_mbs = 0;
    std::uint32_t frame_height_in_mbs = 0;  // of the frame, also for field coding
    bool frame_mbs_only_flag = false;
    bool mb_adaptive_frame_field_flag = false;
    bool direct_8x8_inference_flag = false;
    bool frame_cropping_flag = false;
    std::uint32_t frame_crop_left_offset = 0;
    std::uint32_t frame_crop_right_offset = 0;
    std::uint32_t frame_crop_top_offset = 0;
    std::uint32_t frame_crop_bottom_offset = 0;
    bool vui_parameters_present_flag = false;

    std::uint32_t picture_area() const { return frame_width_in_mbs * frame_height_in_mbs; }
};

struct AVCSeqParamSet : HeapObject, AVCSeqParamSetBase {
    std::uint32_t id() const { return seq_parameter_set_id; }
    void reset() override { static_cast<AVCSeqParamSetBase&>(*this) = {}; }
};

struct AVCSeqParamSetExtension {
    std::uint32_t seq_parameter_set_id = kNoParameterSet;
    std::uint32_t aux_format_idc = 0;
    std::uint32_t bit_depth_aux = 8;
    bool alpha_incr_flag = false;
    std::uint32_t alpha_opaque_value = 0;
    std::uint32_t alpha_transparent_value = 0;
    bool additional_extension_flag = false;

    std::uint32_t id() const { return seq_parameter_set_id; }
};

struct AVCPicParamSetBase {
    std::uint32_t pic_parameter_set_id = 256;
    std::uint32_t seq_parameter_set_id = kNoParameterSet;
    bool entropy_coding_mode_flag = false;
    bool bottom_field_pic_order_in_frame_present_flag = false;
    std::uint32_t num_slice_groups = 1;
    std::uint32_t slice_group_map_type = 0;
    std::array<std::uint32_t, 8> run_length{};
    std::array<std::uint32_t, 8> top_left{};
    std::array<std::uint32_t, 8> bottom_right{};
    bool slice_group_change_direction_flag = false;
    std::uint32_t slice_group_change_rate = 1;  // in map units, never 0
    std::vector<std::uint8_t> slice_group_id;
    std::uint32_t num_ref_idx_l0_active = 1;
    std::uint32_t num_ref_idx_l1_active = 1;
    bool weighted_pred_flag = false;
    std::uint32_t weighted_bipred_idc = 0;
    std::int32_t pic_init_qp_minus26 = 0;
    std::int32_t pic_init_qs_minus26 = 0;
    std::int32_t chroma_qp_index_offset = 0;
    std::int32_t second_chroma_qp_index_offset = 0;
    bool deblocking_filter_control_present_flag = false;
    bool constrained_intra_pred_flag = false;
    bool redundant_pic_cnt_present_flag = false;
    bool transform_8x8_mode_flag = false;
    bool pic_scaling_matrix_present_flag = false;
    AVCScalingLists scaling{};
};

struct AVCPicParamSet : HeapObject, AVCPicParamSetBase {
    std::uint32_t id() const { return pic_parameter_set_id; }
    void reset() override { static_cast<AVCPicParamSetBase&>(*this) = {}; }
};

/// payload_type values (ITU-T H.264, clause D.1).
inline constexpr std::uint32_t kSeiBufferingPeriod = 0;
inline constexpr std::uint32_t kSeiPicTiming = 1;
inline constexpr std::uint32_t kSeiRecoveryPoint = 6;
inline constexpr std::uint32_t kSeiNothingRead = 19;  ///< marks a record into which nothing was read

struct AVCSEIPayLoadBase {
    std::uint32_t payload_type = kSeiNothingRead;
    std::vector<std::uint8_t> payload;  // the bytes of the message, whatever its type

    struct BufferingPeriod {
        std::uint32_t seq_parameter_set_id = kNoParameterSet;
        std::array<std::uint32_t, 32> nal_initial_cpb_removal_delay{};
        std::array<std::uint32_t, 32> nal_initial_cpb_removal_delay_offset{};
        std::array<std::uint32_t, 32> vcl_initial_cpb_removal_delay{};
        std::array<std::uint32_t, 32> vcl_initial_cpb_removal_delay_offset{};
    } buffering_period;

    struct PicTiming {
        std::uint32_t cpb_removal_delay = 0;
        std::uint32_t dpb_output_delay = 0;
        std::uint32_t pic_struct = 0;
    } pic_timing;

    struct RecoveryPoint {
        std::uint32_t recovery_frame_cnt = 0;
        bool exact_match_flag = false;
        bool broken_link_flag = false;
        std::uint32_t changing_slice_group_idc = 0;
    } recovery_point;
};

struct AVCSEIPayLoad : HeapObject, AVCSEIPayLoadBase {
    std::uint32_t id() const { return payload_type; }
    void reset() override { static_cast<AVCSEIPayLoadBase&>(*this) = {}; }
};

/// nal_unit_header, with the extension that types 14 and 20 carry (clauses 7.3.1, F.7.3.1.1 and G.7.3.1.1).
struct AVCNalHeader {
    std::uint32_t nal_ref_idc = 0;
    std::uint32_t nal_unit_type = 0;
    bool svc_extension_flag = false;
    bool idr_flag = false;  // of scalable coding; of multi-view coding the opposite of its non_idr_flag
    std::uint32_t priority_id = 0;
    std::uint32_t view_id = 0;
    std::uint32_t temporal_id = 0;
    bool anchor_pic_flag = false;
    bool inter_view_flag = false;
    std::uint32_t dependency_id = 0;
    std::uint32_t quality_id = 0;
};

/// What of a slice header tells pictures apart, and what the reading of its rest depends on.
struct AVCSliceHeader : AVCNalHeader {
    std::uint32_t first_mb_in_slice = 0;
    std::uint32_t slice_type = AVC_I_SLICE;
    std::uint32_t pic_parameter_set_id = 0;
    std::uint32_t frame_num = 0;
    bool field_pic_flag = false;
    bool bottom_field_flag = false;
    std::uint32_t idr_pic_id = 0;
    std::uint32_t pic_order_cnt_lsb = 0;
    std::int32_t delta_pic_order_cnt_bottom = 0;
    std::array<std::int32_t, 2> delta_pic_order_cnt{};
    std::uint32_t redundant_pic_cnt = 0;
    std::uint32_t num_ref_idx_l0_active = 0;
    std::uint32_t num_ref_idx_l1_active = 0;
    std::uint32_t cabac_init_idc = 0;
    std::int32_t slice_qp_delta = 0;
    std::uint32_t disable_deblocking_filter_idc = 0;
    std::uint32_t slice_group_change_cycle = 0;

    bool is_idr() const {
        return nal_unit_type == AVC_NAL_IDR_SLICE || (nal_unit_type == AVC_NAL_SLICE_EXTENSION && idr_flag);
    }
};

}  // namespace ProtectedLibrary
