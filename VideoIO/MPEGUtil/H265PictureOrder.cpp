#include "VideoIO/MPEGUtil/PictureOrder.h"

namespace qz_MPEGUtil {
namespace {

bool Between(std::uint8_t type, std::uint8_t first, std::uint8_t last) { return type >= first && type <= last; }

/// Table 7-1: the even types up to RASL_N, which no picture of their sub-layer refers to.
bool IsSubLayerNonReference(std::uint8_t type) { return type <= H265_NAL_RASL_N && type % 2 == 0; }

}  // namespace

void H265PictureOrder::Reset() {
    H265ParameterSetTables sets = std::move(m_sets);
    *this = H265PictureOrder();
    m_sets = std::move(sets);
}

const H265SequenceParameterSet* H265PictureOrder::ActiveSequence() const {
    return m_started ? m_sets.Sequence(m_activeSequence) : nullptr;
}

/// Clause 8.3.1. Sums in 64 bits, so that a hostile stream overflows nothing.
std::int32_t H265PictureOrder::CountPicture(const H265SliceHeader& slice, const H265SequenceParameterSet& sps,
                                            bool starts_sequence) const {
    const std::int64_t max_lsb = std::int64_t{1} << (sps.log2_max_pic_order_cnt_lsb_minus4 + 4);
    const std::int64_t lsb = slice.slice_pic_order_cnt_lsb;
    if (starts_sequence) {
        return static_cast<std::int32_t>(lsb);
    }
    const std::int64_t prev_lsb = m_prevTid0PicOrderCnt & (max_lsb - 1);
    std::int64_t msb = m_prevTid0PicOrderCnt - prev_lsb;
    if (lsb < prev_lsb && prev_lsb - lsb >= max_lsb / 2) {
        msb += max_lsb;
    } else if (lsb > prev_lsb && lsb - prev_lsb > max_lsb / 2) {
        msb -= max_lsb;
    }
    return static_cast<std::int32_t>(msb + lsb);
}

std::optional<PictureInfo> H265PictureOrder::AddPicture(std::span<const std::uint8_t> nal) {
    const auto slice = ReadH265SliceHeader(nal, m_sets);
    if (!slice || slice->dependent_slice_segment_flag) {
        return std::nullopt;
    }
    const H265SequenceParameterSet& sps = *m_sets.Sequence(slice->seq_parameter_set_id);
    const std::uint8_t type = slice->nal.nal_unit_type;
    PictureInfo picture;
    picture.nal_unit_type = type;
    picture.temporal_id = slice->nal.temporal_id;
    picture.reference = !IsSubLayerNonReference(type);
    picture.nal_ref_idc = picture.reference ? 1 : 0;
    picture.idr = Between(type, H265_NAL_IDR_W_RADL, H265_NAL_IDR_N_LP);
    picture.random_access = Between(type, H265_NAL_BLA_W_LP, H265_NAL_CRA);
    // NoRaslOutputFlag, clause 8.1.3: of IDR and BLA pictures always, of CRA pictures behind a start.
    picture.starts_sequence = picture.random_access && (type <= H265_NAL_IDR_N_LP || m_firstInSequence);
    picture.rasl = Between(type, H265_NAL_RASL_N, H265_NAL_RASL_R);
    picture.radl = Between(type, H265_NAL_RADL_N, H265_NAL_RADL_R);
    picture.leading = picture.rasl || picture.radl;
    if (picture.random_access) {
        m_noRaslOutput = picture.starts_sequence;
        m_firstInSequence = false;
    }
    picture.output = slice->pic_output_flag && !(picture.rasl && m_noRaslOutput);
    picture.picture_order_count = CountPicture(*slice, sps, picture.starts_sequence);
    if (slice->nal.temporal_id == 0 && picture.reference && !picture.leading) {
        m_prevTid0PicOrderCnt = picture.picture_order_count;
    }

    m_sequence += m_started && picture.starts_sequence ? 1 : 0;
    picture.sequence = m_sequence;
    if (!m_started || picture.starts_sequence || m_activeSequence != slice->seq_parameter_set_id) {
        m_activeSequence = slice->seq_parameter_set_id;
        m_reorderDepth = sps.ReorderDepth();
    }
    m_started = true;
    return picture;
}

}  // namespace qz_MPEGUtil
