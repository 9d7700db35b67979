#include "VideoIO/MPEGUtil/PictureOrder.h"

#include <algorithm>
#include <concepts>

// Names of local values follow ITU-T H.264 clause 8.2.1. Sums are made in 64 bits and cut to 32 at the
// end, where the standard bounds them. Those of type 1 hold a product that a hostile stream takes beyond 64
// bits: they are unsigned, so that they wrap.

namespace qz_MPEGUtil {
namespace {

template <std::integral Sum>
std::int32_t Narrow(Sum value) {
    return static_cast<std::int32_t>(value);
}

std::uint64_t Wrapping(std::int32_t value) { return static_cast<std::uint64_t>(std::int64_t{value}); }

std::int64_t MaxFrameNum(const H264SequenceSyntax& sps) {
    return std::int64_t{1} << (sps.log2_max_frame_num_minus4 + 4);
}

std::uint64_t SumOf(const std::vector<std::int32_t>& offsets, std::uint32_t count) {
    std::uint64_t sum = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        sum += Wrapping(offsets[i]);
    }
    return sum;
}

}  // namespace

void H264PictureOrder::Reset() {
    H264ParameterSetTables sets = std::move(m_sets);
    *this = H264PictureOrder();
    m_sets = std::move(sets);
}

const H264SequenceSyntax* H264PictureOrder::ActiveSequence() const {
    return m_started ? m_sets.Sequence(m_activeSequence) : nullptr;
}

/// Complementary field pairs, clauses 3.30 and 3.31: consecutive fields of opposite parity and equal
/// frame_num, both used for reference or both not, the second neither IDR nor with operation 5. Two IDR
/// fields of one idr_pic_id are taken as a pair too, for separate IDR pictures must differ in it.
bool H264PictureOrder::IsSecondField(const H264SliceHeader& slice) const {
    if (!m_openField || !slice.field_pic_flag || slice.bottom_field_flag == m_previous.bottom_field_flag ||
        slice.frame_num != m_previous.frame_num || (slice.nal_ref_idc == 0) != (m_previous.nal_ref_idc == 0) ||
        slice.memory_management_control_operation_5) {
        return false;
    }
    return !slice.idr || (m_previous.idr && slice.idr_pic_id == m_previous.idr_pic_id);
}

/// Clause 8.2.1.1.
H264PictureOrder::Counts H264PictureOrder::CountType0(const H264SliceHeader& slice, const H264SequenceSyntax& sps) {
    const std::int64_t max_lsb = std::int64_t{1} << (sps.log2_max_pic_order_cnt_lsb_minus4 + 4);
    const std::int64_t lsb = slice.pic_order_cnt_lsb;
    std::int64_t msb = m_prevPicOrderCntMsb;
    if (lsb < m_prevPicOrderCntLsb && m_prevPicOrderCntLsb - lsb >= max_lsb / 2) {
        msb += max_lsb;
    } else if (lsb > m_prevPicOrderCntLsb && lsb - m_prevPicOrderCntLsb > max_lsb / 2) {
        msb -= max_lsb;
    }
    m_picOrderCntMsb = Narrow(msb);
    return {Narrow(msb + lsb), Narrow(msb + lsb + slice.delta_pic_order_cnt_bottom)};
}

std::int64_t H264PictureOrder::FrameNumOffset(const H264SliceHeader& slice, const H264SequenceSyntax& sps) const {
    if (slice.idr) {
        return 0;
    }
    return m_prevFrameNumOffset + (m_prevFrameNum > slice.frame_num ? MaxFrameNum(sps) : 0);
}

/// Clause 8.2.1.2.
H264PictureOrder::Counts H264PictureOrder::CountType1(const H264SliceHeader& slice, const H264SequenceSyntax& sps,
                                                      std::int64_t frame_num_offset) {
    const std::int64_t cycle_length = sps.num_ref_frames_in_pic_order_cnt_cycle;
    std::int64_t absFrameNum = cycle_length != 0 ? frame_num_offset + slice.frame_num : 0;
    if (slice.nal_ref_idc == 0 && absFrameNum > 0) {
        --absFrameNum;
    }
    std::uint64_t expected = 0;
    if (absFrameNum > 0) {
        const auto cycles = static_cast<std::uint64_t>((absFrameNum - 1) / cycle_length);
        const auto in_cycle = static_cast<std::uint32_t>((absFrameNum - 1) % cycle_length);
        expected = cycles * SumOf(sps.offset_for_ref_frame, static_cast<std::uint32_t>(cycle_length)) +
                   SumOf(sps.offset_for_ref_frame, in_cycle + 1);
    }
    if (slice.nal_ref_idc == 0) {
        expected += Wrapping(sps.offset_for_non_ref_pic);
    }
    const std::uint64_t top = expected + Wrapping(slice.delta_pic_order_cnt[0]);
    const std::uint64_t bottom =
        top + Wrapping(sps.offset_for_top_to_bottom_field) + Wrapping(slice.delta_pic_order_cnt[1]);
    return {Narrow(top), Narrow(bottom)};
}

/// Clause 8.2.1.3: output order is decoding order.
H264PictureOrder::Counts H264PictureOrder::CountType2(const H264SliceHeader& slice, std::int64_t frame_num_offset) {
    const std::int64_t count = slice.idr ? 0 : 2 * (frame_num_offset + slice.frame_num) - (slice.nal_ref_idc == 0);
    return {Narrow(count), Narrow(count)};
}

/// The state that the next picture's counts are based on.
void H264PictureOrder::Remember(const H264SliceHeader& slice, Counts counts, std::int64_t frame_num_offset,
                                bool second_field) {
    const bool operation_5 = slice.memory_management_control_operation_5;
    m_prevFrameNumOffset = operation_5 ? 0 : frame_num_offset;
    m_prevFrameNum = operation_5 ? 0 : slice.frame_num;
    if (operation_5) {
        m_prevPicOrderCntMsb = 0;
        m_prevPicOrderCntLsb = slice.bottom_field_flag ? 0 : counts.top;
    } else if (slice.nal_ref_idc != 0) {
        m_prevPicOrderCntMsb = m_picOrderCntMsb;
        m_prevPicOrderCntLsb = static_cast<std::int32_t>(slice.pic_order_cnt_lsb);
    }
    m_openField = slice.field_pic_flag && !second_field;
    m_previous = slice;
    if (operation_5) {
        m_previous.frame_num = 0;
    }
}

H264PictureOrder::Counts H264PictureOrder::CountPicture(const H264SliceHeader& slice, const H264SequenceSyntax& sps,
                                                        std::int64_t frame_num_offset) {
    if (slice.idr) {
        m_prevPicOrderCntMsb = 0;
        m_prevPicOrderCntLsb = 0;
    }
    switch (sps.pic_order_cnt_type) {
        case 0: return CountType0(slice, sps);
        case 1: return CountType1(slice, sps, frame_num_offset);
        default: return CountType2(slice, frame_num_offset);
    }
}

/// PicOrderCnt(picX), equation 8-1; behind operation 5 the counts start anew at this picture.
std::int32_t H264PictureOrder::PictureCount(const H264SliceHeader& slice, Counts& counts) {
    const std::int32_t count = !slice.field_pic_flag     ? std::min(counts.top, counts.bottom)
                               : slice.bottom_field_flag ? counts.bottom
                                                         : counts.top;
    if (!slice.memory_management_control_operation_5) {
        return count;
    }
    counts.top = Narrow(std::int64_t{counts.top} - count);
    counts.bottom = Narrow(std::int64_t{counts.bottom} - count);
    return 0;
}

std::optional<PictureInfo> H264PictureOrder::AddPicture(std::span<const std::uint8_t> nal) {
    const auto slice = ReadH264SliceHeaderWithMarking(nal, m_sets);
    if (!slice || slice->redundant_pic_cnt > 0) {
        return std::nullopt;
    }
    const H264SequenceSyntax& sps = *m_sets.Sequence(slice->seq_parameter_set_id);
    PictureInfo picture;
    picture.nal_unit_type = slice->nal_unit_type;
    picture.nal_ref_idc = slice->nal_ref_idc;
    picture.reference = slice->nal_ref_idc != 0;
    picture.idr = slice->idr;
    picture.random_access = slice->idr;
    picture.field = slice->field_pic_flag;
    picture.bottom_field = slice->bottom_field_flag;
    picture.second_field = IsSecondField(*slice);
    picture.starts_sequence = !picture.second_field && (slice->idr || slice->memory_management_control_operation_5);

    const std::int64_t frame_num_offset = FrameNumOffset(*slice, sps);
    Counts counts = CountPicture(*slice, sps, frame_num_offset);
    picture.picture_order_count = PictureCount(*slice, counts);
    Remember(*slice, counts, frame_num_offset, picture.second_field);

    m_sequence += m_started && picture.starts_sequence ? 1 : 0;
    picture.sequence = m_sequence;
    if (!m_started || m_activeSequence != slice->seq_parameter_set_id || slice->idr) {
        m_activeSequence = slice->seq_parameter_set_id;
        m_reorderDepth = qz_MPEGUtil::ReorderDepth(sps);
    }
    m_started = true;
    return picture;
}

}  // namespace qz_MPEGUtil
