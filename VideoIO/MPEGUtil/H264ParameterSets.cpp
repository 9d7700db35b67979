#include "VideoIO/MPEGUtil/H264ParameterSets.h"

#include "VideoIO/MPEGUtil/H264SequenceReading.h"
#include "VideoIO/MPEGUtil/RbspReader.h"
#include "VideoIO/MPEGUtil/SliceHeaders.h"

namespace qz_MPEGUtil {
namespace {

constexpr std::uint8_t subset_sequence_parameter_set = 15;
// No level of table A-1 has more than 139264 macroblocks in a frame, or a side above the root of 8 times
// that. The bound here is wider, so that encoders beyond the levels still pass; products stay in 32 bits.
constexpr std::uint32_t max_side_in_macroblocks = 4096;
constexpr std::uint32_t max_sequence_id = 31;
constexpr std::uint32_t max_picture_id = 255;

std::uint8_t NalType(std::span<const std::uint8_t> nal) {
    return nal.empty() || (nal[0] & 0x80) != 0 ? 0 : nal[0] & 0x1F;
}

/// Clause 7.4.2.1.1: the cropping units of a chroma format, for frames or for pairs of fields.
struct CropUnits {
    std::uint64_t x;
    std::uint64_t y;
};

CropUnits CropUnitsOf(const H264SequenceSyntax& sps) {
    const std::uint32_t chroma = ChromaArrayType(sps);
    return {chroma == 1 || chroma == 2 ? 2u : 1u, (chroma == 1 ? 2u : 1u) * (2 - sps.frame_mbs_only_flag)};
}

/// Something is left of the picture behind the cropping.
bool CropInRange(const H264SequenceSyntax& sps) {
    const CropUnits units = CropUnitsOf(sps);
    const std::uint64_t columns = std::uint64_t{sps.frame_crop_left_offset} + sps.frame_crop_right_offset;
    const std::uint64_t rows = std::uint64_t{sps.frame_crop_top_offset} + sps.frame_crop_bottom_offset;
    return columns * units.x < (sps.pic_width_in_mbs_minus1 + 1) * 16 &&
           rows * units.y < (sps.pic_height_in_map_units_minus1 + 1) * 16 * (2 - sps.frame_mbs_only_flag);
}

bool InRange(const H264SequenceSyntax& sps) {
    return sps.seq_parameter_set_id <= max_sequence_id && sps.chroma_format_idc <= 3 &&
           sps.bit_depth_luma_minus8 <= 6 && sps.bit_depth_chroma_minus8 <= 6 && sps.log2_max_frame_num_minus4 <= 12 &&
           sps.log2_max_pic_order_cnt_lsb_minus4 <= 12 && sps.pic_order_cnt_type <= 2 && sps.max_num_ref_frames <= 16 &&
           sps.pic_width_in_mbs_minus1 < max_side_in_macroblocks &&
           sps.pic_height_in_map_units_minus1 < max_side_in_macroblocks && CropInRange(sps);
}

/// Clause 7.3.2.2: the slice group map is read past.
void SkipSliceGroups(RbspReader& reader, std::uint32_t groups_minus1) {
    const std::uint32_t type = reader.UE();
    if (type == 0) {
        for (std::uint32_t group = 0; group <= groups_minus1; ++group) {
            reader.UE();  // run_length_minus1
        }
    } else if (type == 2) {
        for (std::uint32_t group = 0; group < groups_minus1; ++group) {
            reader.UE();  // top_left
            reader.UE();  // bottom_right
        }
    } else if (type >= 3 && type <= 5) {
        reader.Bits(1);  // slice_group_change_direction_flag
        reader.UE();     // slice_group_change_rate_minus1
    } else if (type == 6) {
        const unsigned id_bits = groups_minus1 > 3 ? 3 : groups_minus1 > 1 ? 2 : 1;
        const std::uint32_t units_minus1 = reader.UE();
        for (std::uint32_t unit = 0; unit <= units_minus1 && !reader.Failed(); ++unit) {
            reader.Bits(id_bits);
        }
    }
}

/// Table A-1, MaxDpbMbs, by level_idc; 9 is level 1b.
struct LevelLimit {
    std::uint32_t level_idc;
    std::uint32_t max_dpb_mbs;
};
constexpr std::array<LevelLimit, 20> level_limits = {{
    {9, 396},     {10, 396},    {11, 900},    {12, 2376},   {13, 2376},   {20, 2376},   {21, 4752},
    {22, 8100},   {30, 8100},   {31, 18000},  {32, 20480},  {40, 32768},  {41, 32768},  {42, 34816},
    {50, 110400}, {51, 184320}, {52, 184320}, {60, 696320}, {61, 696320}, {62, 696320},
}};

std::uint32_t MaxDpbMbs(const H264SequenceSyntax& sps) {
    const bool level_1b_by_constraint = sps.level_idc == 11 && sps.constraint_set3_flag != 0 &&
                                        (sps.profile_idc == 66 || sps.profile_idc == 77 || sps.profile_idc == 88);
    if (level_1b_by_constraint) {
        return level_limits.front().max_dpb_mbs;
    }
    for (const LevelLimit& limit : level_limits) {
        if (limit.level_idc >= sps.level_idc) {
            return limit.max_dpb_mbs;
        }
    }
    return level_limits.back().max_dpb_mbs;
}

bool IntraOnlyProfile(const H264SequenceSyntax& sps) {
    switch (sps.profile_idc) {
        case 44:
        case 86:
        case 100:
        case 110:
        case 122:
        case 244: return sps.constraint_set3_flag != 0;
        default: return false;
    }
}

}  // namespace

std::optional<H264SequenceSyntax> ReadH264SequenceParameterSet(std::span<const std::uint8_t> nal) {
    const std::uint8_t type = NalType(nal);
    if (type != H264_NAL_SPS && type != subset_sequence_parameter_set) {
        return std::nullopt;
    }
    RbspReader reader(nal.subspan(1));
    H264SequenceSyntax sps;
    if (ReadH264SequenceSyntax(reader, H264SequenceRules::published, sps) != S_OK || !InRange(sps)) {
        return std::nullopt;
    }
    return sps;
}

std::optional<H264PictureParameterSet> ReadH264PictureParameterSet(std::span<const std::uint8_t> nal) {
    if (NalType(nal) != H264_NAL_PPS) {
        return std::nullopt;
    }
    RbspReader reader(nal.subspan(1));
    H264PictureParameterSet pps;
    pps.pic_parameter_set_id = reader.UE();
    pps.seq_parameter_set_id = reader.UE();
    pps.entropy_coding_mode_flag = reader.Bits(1);
    pps.bottom_field_pic_order_in_frame_present_flag = reader.Bits(1);
    pps.num_slice_groups_minus1 = reader.UE();
    if (pps.num_slice_groups_minus1 > 7) {
        return std::nullopt;
    }
    if (pps.num_slice_groups_minus1 > 0) {
        SkipSliceGroups(reader, pps.num_slice_groups_minus1);
    }
    pps.num_ref_idx_l0_default_active_minus1 = reader.UE();
    pps.num_ref_idx_l1_default_active_minus1 = reader.UE();
    pps.weighted_pred_flag = reader.Bits(1);
    pps.weighted_bipred_idc = reader.Bits(2);
    pps.pic_init_qp_minus26 = reader.SE();
    pps.pic_init_qs_minus26 = reader.SE();
    pps.chroma_qp_index_offset = reader.SE();
    pps.deblocking_filter_control_present_flag = reader.Bits(1);
    pps.constrained_intra_pred_flag = reader.Bits(1);
    pps.redundant_pic_cnt_present_flag = reader.Bits(1);
    if (reader.Failed() || pps.pic_parameter_set_id > max_picture_id || pps.seq_parameter_set_id > max_sequence_id ||
        pps.num_ref_idx_l0_default_active_minus1 > 31 || pps.num_ref_idx_l1_default_active_minus1 > 31) {
        return std::nullopt;
    }
    return pps;
}

std::uint32_t ChromaArrayType(const H264SequenceSyntax& sps) {
    return sps.separate_colour_plane_flag != 0 ? 0 : sps.chroma_format_idc;
}

H264PictureSize PictureSize(const H264SequenceSyntax& sps) {
    const CropUnits units = CropUnitsOf(sps);
    H264PictureSize size;
    size.coded_width = (sps.pic_width_in_mbs_minus1 + 1) * 16;
    size.coded_height = (sps.pic_height_in_map_units_minus1 + 1) * 16 * (2 - sps.frame_mbs_only_flag);
    const std::uint32_t columns = sps.frame_crop_left_offset + sps.frame_crop_right_offset;
    const std::uint32_t rows = sps.frame_crop_top_offset + sps.frame_crop_bottom_offset;
    size.width = size.coded_width - columns * static_cast<std::uint32_t>(units.x);
    size.height = size.coded_height - rows * static_cast<std::uint32_t>(units.y);
    return size;
}

std::uint32_t MaxDpbFrames(const H264SequenceSyntax& sps) {
    const H264PictureSize size = PictureSize(sps);
    const std::uint32_t macroblocks = (size.coded_width / 16) * (size.coded_height / 16);
    return std::min(MaxDpbMbs(sps) / std::max(macroblocks, 1u), 16u);
}

std::uint32_t ReorderDepth(const H264SequenceSyntax& sps) {
    if (sps.pic_order_cnt_type == 2) {
        return 0;
    }
    if (sps.vui_parameters.bitstream_restriction_flag != 0) {
        return std::min(sps.vui_parameters.max_num_reorder_frames, 16u);
    }
    return IntraOnlyProfile(sps) ? 0 : MaxDpbFrames(sps);
}

bool H264ParameterSetTables::Add(std::span<const std::uint8_t> nal) {
    if (NalType(nal) == H264_NAL_PPS) {
        const auto pps = ReadH264PictureParameterSet(nal);
        if (pps) {
            m_pictures[pps->pic_parameter_set_id] = pps;
        }
        return pps.has_value();
    }
    if (NalType(nal) != H264_NAL_SPS) {
        return false;
    }
    auto sps = ReadH264SequenceParameterSet(nal);
    if (sps) {
        const std::uint32_t id = sps->seq_parameter_set_id;
        m_sequences[id] = std::make_unique<H264SequenceSyntax>(*std::move(sps));
    }
    return sps.has_value();
}

void H264ParameterSetTables::Clear() {
    m_sequences = {};
    m_pictures = {};
}

const H264SequenceSyntax* H264ParameterSetTables::Sequence(std::uint32_t id) const {
    return id < m_sequences.size() ? m_sequences[id].get() : nullptr;
}

const H264PictureParameterSet* H264ParameterSetTables::Picture(std::uint32_t id) const {
    return id < m_pictures.size() && m_pictures[id] ? &*m_pictures[id] : nullptr;
}

}  // namespace qz_MPEGUtil
