#include "VideoIO/MPEGUtil/RbspReader.h"
#include "VideoIO/MPEGUtil/SliceHeaders.h"

namespace qz_MPEGUtil {
namespace {

enum SliceType : std::uint32_t { P = 0, B = 1, I = 2, SP = 3, SI = 4 };

bool IsIntra(const H264SliceHeader& slice) { return slice.slice_type == I || slice.slice_type == SI; }

bool HasSliceHeader(std::span<const std::uint8_t> nal) {
    if (nal.empty() || (nal[0] & 0x80) != 0) {
        return false;
    }
    const unsigned type = nal[0] & 0x1F;
    return type == H264_NAL_SLICE || type == H264_NAL_PARTITION_A || type == H264_NAL_IDR_SLICE;
}

struct Sets {
    const H264PictureParameterSet* pps = nullptr;
    const H264SequenceSyntax* sps = nullptr;
};

void ReadPictureOrder(RbspReader& reader, const Sets& sets, H264SliceHeader& slice) {
    const bool both_fields = sets.pps->bottom_field_pic_order_in_frame_present_flag != 0 && !slice.field_pic_flag;
    if (sets.sps->pic_order_cnt_type == 0) {
        slice.pic_order_cnt_lsb = reader.Bits(sets.sps->log2_max_pic_order_cnt_lsb_minus4 + 4);
        if (both_fields) {
            slice.delta_pic_order_cnt_bottom = reader.SE();
        }
    } else if (sets.sps->pic_order_cnt_type == 1 && sets.sps->delta_pic_order_always_zero_flag == 0) {
        slice.delta_pic_order_cnt[0] = reader.SE();
        if (both_fields) {
            slice.delta_pic_order_cnt[1] = reader.SE();
        }
    }
}

/// The NAL unit header, then first_mb_in_slice to redundant_pic_cnt; leaves the reader behind that and
/// in `sets` those that the slice names.
bool ReadStart(std::span<const std::uint8_t> nal, const H264ParameterSetTables& tables, RbspReader& reader, Sets& sets,
               H264SliceHeader& slice) {
    if (!HasSliceHeader(nal)) {
        return false;
    }
    reader = RbspReader(nal.subspan(1));
    slice.nal_ref_idc = (nal[0] >> 5) & 3;
    slice.nal_unit_type = nal[0] & 0x1F;
    slice.idr = slice.nal_unit_type == H264_NAL_IDR_SLICE;
    slice.first_mb_in_slice = reader.UE();
    const std::uint32_t slice_type = reader.UE();
    slice.pic_parameter_set_id = reader.UE();
    sets.pps = tables.Picture(slice.pic_parameter_set_id);
    sets.sps = sets.pps != nullptr ? tables.Sequence(sets.pps->seq_parameter_set_id) : nullptr;
    if (sets.sps == nullptr || slice_type > 9) {
        return false;
    }
    slice.slice_type = slice_type % 5;
    slice.seq_parameter_set_id = sets.pps->seq_parameter_set_id;
    slice.pic_order_cnt_type = sets.sps->pic_order_cnt_type;
    if (sets.sps->separate_colour_plane_flag != 0) {
        reader.Bits(2);  // colour_plane_id
    }
    slice.frame_num = reader.Bits(sets.sps->log2_max_frame_num_minus4 + 4);
    if (sets.sps->frame_mbs_only_flag == 0) {
        slice.field_pic_flag = reader.Flag();
        slice.bottom_field_flag = slice.field_pic_flag && reader.Flag();
    }
    if (slice.idr) {
        slice.idr_pic_id = reader.UE();
    }
    ReadPictureOrder(reader, sets, slice);
    if (sets.pps->redundant_pic_cnt_present_flag != 0) {
        slice.redundant_pic_cnt = reader.UE();
    }
    return !reader.Failed();
}

/// Number of entries of both reference lists, the second 0 but for B slices.
using ListSizes = std::array<std::uint32_t, 2>;

ListSizes ReadListSizes(RbspReader& reader, const Sets& sets, const H264SliceHeader& slice) {
    ListSizes sizes{};
    if (IsIntra(slice)) {
        return sizes;
    }
    const bool two_lists = slice.slice_type == B;
    if (two_lists) {
        reader.Bits(1);  // direct_spatial_mv_pred_flag
    }
    sizes[0] = sets.pps->num_ref_idx_l0_default_active_minus1 + 1;
    sizes[1] = two_lists ? sets.pps->num_ref_idx_l1_default_active_minus1 + 1 : 0;
    if (reader.Flag()) {  // num_ref_idx_active_override_flag
        for (std::uint32_t list = 0; list < (two_lists ? 2u : 1u); ++list) {
            const std::uint32_t minus1 = reader.UE();
            if (minus1 > 31) {
                reader.Refuse();
            }
            sizes[list] = minus1 + 1;
        }
    }
    return sizes;
}

/// ref_pic_list_modification, clause 7.3.3.1.
void SkipListModification(RbspReader& reader, const ListSizes& sizes) {
    for (const std::uint32_t size : sizes) {
        if (size == 0 || !reader.Flag()) {
            continue;
        }
        while (!reader.Failed() && reader.UE() != 3) {
            reader.UE();  // abs_diff_pic_num_minus1 or long_term_pic_num
        }
    }
}

/// pred_weight_table, clause 7.3.3.2.
void SkipWeights(RbspReader& reader, const ListSizes& sizes, bool chroma) {
    reader.UE();  // luma_log2_weight_denom
    if (chroma) {
        reader.UE();  // chroma_log2_weight_denom
    }
    const auto skip_pairs = [&reader](int pairs) {
        if (reader.Flag()) {
            for (int value = 0; value < 2 * pairs; ++value) {
                reader.SE();
            }
        }
    };
    for (const std::uint32_t size : sizes) {
        for (std::uint32_t entry = 0; entry < size && !reader.Failed(); ++entry) {
            skip_pairs(1);
            if (chroma) {
                skip_pairs(2);
            }
        }
    }
}

/// dec_ref_pic_marking of a picture that is no IDR, clause 7.3.3.3; whether operation 5 is among it.
bool ReadMarking(RbspReader& reader) {
    if (!reader.Flag()) {  // adaptive_ref_pic_marking_mode_flag
        return false;
    }
    bool operation_5 = false;
    while (!reader.Failed()) {
        const std::uint32_t operation = reader.UE();
        switch (operation) {
            case 0: return operation_5;
            case 1:
            case 2:
            case 4:
            case 6: reader.UE(); break;
            case 3:
                reader.UE();
                reader.UE();
                break;
            case 5: operation_5 = true; break;
            default: reader.Refuse();
        }
    }
    return operation_5;
}

}  // namespace

std::optional<H264SliceHeader> ReadH264SliceHeader(std::span<const std::uint8_t> nal,
                                                   const H264ParameterSetTables& sets) {
    RbspReader reader;
    Sets used;
    H264SliceHeader slice;
    return ReadStart(nal, sets, reader, used, slice) ? std::optional(slice) : std::nullopt;
}

std::optional<H264SliceHeader> ReadH264SliceHeaderWithMarking(std::span<const std::uint8_t> nal,
                                                              const H264ParameterSetTables& sets) {
    RbspReader reader;
    Sets used;
    H264SliceHeader slice;
    if (!ReadStart(nal, sets, reader, used, slice)) {
        return std::nullopt;
    }
    if (slice.nal_ref_idc == 0 || slice.idr) {
        return slice;
    }
    const ListSizes sizes = ReadListSizes(reader, used, slice);
    SkipListModification(reader, sizes);
    const bool weighted = slice.slice_type == B ? used.pps->weighted_bipred_idc == 1
                                                : !IsIntra(slice) && used.pps->weighted_pred_flag != 0;
    if (weighted) {
        SkipWeights(reader, sizes, ChromaArrayType(*used.sps) != 0);
    }
    slice.memory_management_control_operation_5 = ReadMarking(reader);
    return reader.Failed() ? std::nullopt : std::optional(slice);
}

std::optional<std::uint32_t> ReadFirstMbInSlice(std::span<const std::uint8_t> nal) {
    if (!HasSliceHeader(nal)) {
        return std::nullopt;
    }
    RbspReader reader(nal.subspan(1));
    const std::uint32_t first = reader.UE();
    return reader.Failed() ? std::nullopt : std::optional(first);
}

bool StartsNewPicture(const H264SliceHeader& previous, const H264SliceHeader& next) {
    if (next.redundant_pic_cnt > 0) {
        return false;
    }
    return previous.frame_num != next.frame_num || previous.pic_parameter_set_id != next.pic_parameter_set_id ||
           previous.seq_parameter_set_id != next.seq_parameter_set_id ||
           previous.field_pic_flag != next.field_pic_flag || previous.bottom_field_flag != next.bottom_field_flag ||
           (previous.nal_ref_idc == 0) != (next.nal_ref_idc == 0) ||
           previous.pic_order_cnt_type != next.pic_order_cnt_type ||
           previous.pic_order_cnt_lsb != next.pic_order_cnt_lsb ||
           previous.delta_pic_order_cnt_bottom != next.delta_pic_order_cnt_bottom ||
           previous.delta_pic_order_cnt != next.delta_pic_order_cnt || previous.idr != next.idr ||
           previous.idr_pic_id != next.idr_pic_id;
}

}  // namespace qz_MPEGUtil
