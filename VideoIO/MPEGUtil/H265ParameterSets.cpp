#include "VideoIO/MPEGUtil/H265ParameterSets.h"

#include "VideoIO/MPEGUtil/H265SyntaxParts.h"
#include "VideoIO/MPEGUtil/RbspReader.h"

namespace qz_MPEGUtil {
namespace {

/// The two header bytes are those of a base layer NAL unit of that type.
bool IsBaseLayer(std::span<const std::uint8_t> nal, H265NalUnitType type) {
    const auto header = ReadH265NalHeader(nal);
    return header && header->nal_unit_type == type && header->nuh_layer_id == 0;
}

std::uint32_t SubWidth(const H265SequenceParameterSet& sps) {
    return sps.chroma_format_idc == 1 || sps.chroma_format_idc == 2 ? 2 : 1;
}

std::uint32_t SubHeight(const H265SequenceParameterSet& sps) { return sps.chroma_format_idc == 1 ? 2 : 1; }

bool WindowFits(std::uint32_t side, std::uint64_t first, std::uint64_t second, std::uint32_t unit) {
    return (first + second) * unit < side;
}

/// Level 6.2 has pictures of 8192 x 4320; no level allows sides beyond the root of 8 times its picture
/// size. The bound is wider and keeps products in 32 bits.
bool SizeInRange(const H265SequenceParameterSet& sps) {
    constexpr std::uint32_t max_side = 65535;
    const H265Window& window = sps.conformance_window;
    return sps.pic_width_in_luma_samples <= max_side && sps.pic_height_in_luma_samples <= max_side &&
           WindowFits(sps.pic_width_in_luma_samples, window.left_offset, window.right_offset, SubWidth(sps)) &&
           WindowFits(sps.pic_height_in_luma_samples, window.top_offset, window.bottom_offset, SubHeight(sps));
}

void ReadFormat(RbspReader& reader, H265SequenceParameterSet& sps) {
    sps.chroma_format_idc = reader.UE();
    sps.separate_colour_plane_flag = sps.chroma_format_idc == 3 && reader.Flag();
    sps.pic_width_in_luma_samples = reader.UE();
    sps.pic_height_in_luma_samples = reader.UE();
    if (reader.Flag()) {
        sps.conformance_window = ReadWindow(reader);
    }
    sps.bit_depth_luma_minus8 = reader.UE();
    sps.bit_depth_chroma_minus8 = reader.UE();
    sps.log2_max_pic_order_cnt_lsb_minus4 = reader.UE();
}

bool FormatInRange(const H265SequenceParameterSet& sps) {
    return sps.sps_seq_parameter_set_id <= 15 && sps.chroma_format_idc <= 3 && sps.bit_depth_luma_minus8 <= 8 &&
           sps.bit_depth_chroma_minus8 <= 8 && sps.log2_max_pic_order_cnt_lsb_minus4 <= 12 && SizeInRange(sps);
}

/// Block sizes and coding tools; false when the sizes are out of range.
bool ReadCodingTools(RbspReader& reader, H265SequenceParameterSet& sps) {
    sps.log2_min_luma_coding_block_size_minus3 = reader.UE();
    sps.log2_diff_max_min_luma_coding_block_size = reader.UE();
    if (sps.log2_min_luma_coding_block_size_minus3 > 3 || sps.log2_diff_max_min_luma_coding_block_size > 3) {
        return false;
    }
    reader.UE();  // log2_min_luma_transform_block_size_minus2
    reader.UE();  // log2_diff_max_min_luma_transform_block_size
    reader.UE();  // max_transform_hierarchy_depth_inter
    reader.UE();  // max_transform_hierarchy_depth_intra
    const bool scaling_list_enabled = reader.Flag();
    if (scaling_list_enabled && reader.Flag()) {
        SkipScalingListData(reader);
    }
    reader.Bits(2);       // amp_enabled_flag, sample_adaptive_offset_enabled_flag
    if (reader.Flag()) {  // pcm_enabled_flag
        reader.Bits(8);   // bit depths
        reader.UE();      // log2_min_pcm_luma_coding_block_size_minus3
        reader.UE();      // log2_diff_max_min_pcm_luma_coding_block_size
        reader.Bits(1);   // pcm_loop_filter_disabled_flag
    }
    return true;
}

bool ReadReferencePictures(RbspReader& reader, H265SequenceParameterSet& sps) {
    const std::uint32_t short_term_sets = reader.UE();
    if (short_term_sets > 64) {
        return false;
    }
    sps.short_term_ref_pic_sets.reserve(short_term_sets);
    for (std::uint32_t i = 0; i < short_term_sets; ++i) {
        const H265ShortTermRefPicSet* const previous = i > 0 ? &sps.short_term_ref_pic_sets.back() : nullptr;
        const auto set = ReadShortTermRefPicSet(reader, previous);
        if (!set || reader.Failed()) {
            return false;
        }
        sps.short_term_ref_pic_sets.push_back(*set);
    }
    sps.long_term_ref_pics_present_flag = reader.Flag();
    const std::uint32_t long_term = sps.long_term_ref_pics_present_flag ? reader.UE() : 0;
    if (long_term > 32) {
        return false;
    }
    for (std::uint32_t i = 0; i < long_term; ++i) {
        sps.lt_ref_pic_poc_lsb_sps.push_back(reader.Bits(sps.log2_max_pic_order_cnt_lsb_minus4 + 4));
        reader.Bits(1);  // used_by_curr_pic_lt_sps_flag
    }
    return true;
}

bool OrderingInRange(const H265SequenceParameterSet& sps) {
    for (const H265SubLayerOrdering& layer : sps.sub_layer_ordering) {
        if (layer.max_dec_pic_buffering_minus1 > 15 ||
            layer.max_num_reorder_pics > layer.max_dec_pic_buffering_minus1) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::optional<H265NalHeader> ReadH265NalHeader(std::span<const std::uint8_t> nal) {
    if (nal.size() < 2 || (nal[0] & 0x80) != 0 || (nal[1] & 7) == 0) {
        return std::nullopt;
    }
    H265NalHeader header;
    header.nal_unit_type = (nal[0] >> 1) & 0x3F;
    header.nuh_layer_id = static_cast<std::uint8_t>((nal[0] & 1) << 5 | nal[1] >> 3);
    header.temporal_id = static_cast<std::uint8_t>((nal[1] & 7) - 1);
    return header;
}

std::optional<H265VideoParameterSet> ReadH265VideoParameterSet(std::span<const std::uint8_t> nal) {
    if (!IsBaseLayer(nal, H265_NAL_VPS)) {
        return std::nullopt;
    }
    RbspReader reader(nal.subspan(2));
    H265VideoParameterSet vps;
    vps.vps_video_parameter_set_id = reader.Bits(4);
    reader.Bits(2);  // vps_base_layer_internal_flag, vps_base_layer_available_flag
    vps.vps_max_layers_minus1 = reader.Bits(6);
    vps.vps_max_sub_layers_minus1 = reader.Bits(3);
    vps.vps_temporal_id_nesting_flag = reader.Flag();
    reader.Bits(16);  // vps_reserved_0xffff_16bits
    if (vps.vps_max_sub_layers_minus1 > 6) {
        return std::nullopt;
    }
    vps.profile_tier_level = ReadProfileTierLevel(reader, vps.vps_max_sub_layers_minus1);
    ReadSubLayerOrdering(reader, vps.vps_max_sub_layers_minus1);
    const std::uint32_t layer_ids = reader.Bits(6) + 1;  // vps_max_layer_id
    const std::uint32_t layer_sets_minus1 = reader.UE();
    if (layer_sets_minus1 > 1023) {
        return std::nullopt;
    }
    reader.Skip(layer_ids * layer_sets_minus1);  // layer_id_included_flag
    if (reader.Flag()) {
        vps.timing = ReadTimingInfo(reader);
    }
    return reader.Failed() ? std::nullopt : std::optional(vps);
}

std::optional<H265SequenceParameterSet> ReadH265SequenceParameterSet(std::span<const std::uint8_t> nal) {
    if (!IsBaseLayer(nal, H265_NAL_SPS)) {
        return std::nullopt;
    }
    RbspReader reader(nal.subspan(2));
    H265SequenceParameterSet sps;
    sps.sps_video_parameter_set_id = reader.Bits(4);
    sps.sps_max_sub_layers_minus1 = reader.Bits(3);
    sps.sps_temporal_id_nesting_flag = reader.Flag();
    if (sps.sps_max_sub_layers_minus1 > 6) {
        return std::nullopt;
    }
    sps.profile_tier_level = ReadProfileTierLevel(reader, sps.sps_max_sub_layers_minus1);
    sps.sps_seq_parameter_set_id = reader.UE();
    ReadFormat(reader, sps);
    sps.sub_layer_ordering = ReadSubLayerOrdering(reader, sps.sps_max_sub_layers_minus1);
    if (reader.Failed() || !FormatInRange(sps) || !OrderingInRange(sps) || !ReadCodingTools(reader, sps) ||
        !ReadReferencePictures(reader, sps)) {
        return std::nullopt;
    }
    sps.sps_temporal_mvp_enabled_flag = reader.Flag();
    reader.Bits(1);  // strong_intra_smoothing_enabled_flag
    if (reader.Flag()) {
        sps.vui = ReadVui(reader, sps.sps_max_sub_layers_minus1);
    }
    return reader.Failed() ? std::nullopt : std::optional(std::move(sps));
}

std::optional<H265PictureParameterSet> ReadH265PictureParameterSet(std::span<const std::uint8_t> nal) {
    if (!IsBaseLayer(nal, H265_NAL_PPS)) {
        return std::nullopt;
    }
    RbspReader reader(nal.subspan(2));
    H265PictureParameterSet pps;
    pps.pps_pic_parameter_set_id = reader.UE();
    pps.pps_seq_parameter_set_id = reader.UE();
    pps.dependent_slice_segments_enabled_flag = reader.Flag();
    pps.output_flag_present_flag = reader.Flag();
    pps.num_extra_slice_header_bits = reader.Bits(3);
    if (reader.Failed() || pps.pps_pic_parameter_set_id > 63 || pps.pps_seq_parameter_set_id > 15) {
        return std::nullopt;
    }
    return pps;
}

std::uint32_t H265SequenceParameterSet::Width() const {
    return pic_width_in_luma_samples -
           SubWidth(*this) * (conformance_window.left_offset + conformance_window.right_offset);
}

std::uint32_t H265SequenceParameterSet::Height() const {
    return pic_height_in_luma_samples -
           SubHeight(*this) * (conformance_window.top_offset + conformance_window.bottom_offset);
}

std::uint32_t H265SequenceParameterSet::ReorderDepth() const {
    return sub_layer_ordering[sps_max_sub_layers_minus1].max_num_reorder_pics;
}

std::uint32_t H265SequenceParameterSet::PictureSizeInCtbs() const {
    const std::uint32_t log2_size =
        log2_min_luma_coding_block_size_minus3 + 3 + log2_diff_max_min_luma_coding_block_size;
    const auto blocks = [log2_size](std::uint32_t side) { return ((side - 1) >> log2_size) + 1; };
    return blocks(pic_width_in_luma_samples) * blocks(pic_height_in_luma_samples);
}

bool H265ParameterSetTables::Add(std::span<const std::uint8_t> nal) {
    if (const auto pps = ReadH265PictureParameterSet(nal)) {
        m_pictures[pps->pps_pic_parameter_set_id] = pps;
        return true;
    }
    if (auto sps = ReadH265SequenceParameterSet(nal)) {
        const std::uint32_t id = sps->sps_seq_parameter_set_id;
        m_sequences[id] = std::make_unique<H265SequenceParameterSet>(*std::move(sps));
        return true;
    }
    if (const auto vps = ReadH265VideoParameterSet(nal)) {
        m_video = vps;
        return true;
    }
    return false;
}

void H265ParameterSetTables::Clear() {
    m_video.reset();
    m_sequences = {};
    m_pictures = {};
}

const H265VideoParameterSet* H265ParameterSetTables::Video() const { return m_video ? &*m_video : nullptr; }

const H265SequenceParameterSet* H265ParameterSetTables::Sequence(std::uint32_t id) const {
    return id < m_sequences.size() ? m_sequences[id].get() : nullptr;
}

const H265PictureParameterSet* H265ParameterSetTables::Picture(std::uint32_t id) const {
    return id < m_pictures.size() && m_pictures[id] ? &*m_pictures[id] : nullptr;
}

}  // namespace qz_MPEGUtil
