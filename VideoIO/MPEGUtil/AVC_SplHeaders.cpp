// The headers that the frame splitter keeps and reads.
#include "VideoIO/MPEGUtil/AVC_Spl.h"

#include <algorithm>
#include <limits>

namespace ProtectedLibrary {

namespace {

constexpr std::uint32_t kLastSeiType = 255;  // messages of larger types are read and not kept

// Profiles of multi-view coding, the only ones whose subset parameter sets are used.
constexpr std::uint8_t kMultiviewHigh = 118;
constexpr std::uint8_t kStereoHigh = 128;

}  // namespace

AVCHeadersBitstream AVC_Spl::open_unit(Bytes unit, AVCNalHeader& header) {
    AVCHeadersBitstream bits(to_rbsp(m_rbsp, unit));
    bits.get_nal_header(header);
    return bits;
}

std::uint32_t AVC_Spl::max_unit_size(const AVCSeqParamSet& sps) {
    // Bytes of a macroblock as plain samples of 8 bits.
    static constexpr std::array<std::uint32_t, 4> macroblock = {256, 384, 512, 768};
    if (sps.chroma_format_idc >= macroblock.size()) {
        return 0;
    }
    const std::uint64_t size = std::uint64_t{sps.picture_area()} * macroblock[sps.chroma_format_idc];
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, std::numeric_limits<std::uint32_t>::max()));
}

const AVC_Spl::Slice* AVC_Spl::read_slice(Bytes unit) {
    Slice& slice = m_slices.emplace_back();
    if (!read_slice_into(slice, unit)) {
        m_slices.pop_back();
        return nullptr;
    }
    return &slice;
}

bool AVC_Spl::read_slice_into(Slice& slice, Bytes unit) {
    AVCSliceHeader& header = slice.header;
    AVCHeadersBitstream bits = open_unit(unit, header);
    if (header.svc_extension_flag || bits.get_slice_header_start(header) != AVC_OK) {
        return false;
    }
    const AVCPicParamSet* pps = m_pps.find(header.pic_parameter_set_id);
    if (pps == nullptr) {
        return false;
    }
    const auto& sequences = header.nal_unit_type == AVC_NAL_SLICE_EXTENSION ? m_subset_sps : m_sps;
    const AVCSeqParamSet* sps = sequences.find(pps->seq_parameter_set_id);
    if (sps == nullptr) {
        return false;
    }
    const bool is_intra = header.slice_type == AVC_I_SLICE;
    if (m_waiting_for_sps && !is_intra && m_sei.find(kSeiRecoveryPoint) == nullptr) {
        return false;
    }
    if (bits.get_slice_header(header, *sps, *pps) != AVC_OK) {
        return false;
    }
    slice.header_bits = bits.bits_read();
    if (!is_intra) {
        m_sei.remove(kSeiRecoveryPoint);
    }
    m_waiting_for_sps = false;
    return true;
}

void AVC_Spl::read_header_nal(Bytes unit) {
    AVCNalHeader header;
    AVCHeadersBitstream bits = open_unit(unit, header);
    switch (header.nal_unit_type) {
        case AVC_NAL_SPS:
        case AVC_NAL_SUBSET_SPS: read_seq_param_set(bits, header.nal_unit_type); break;
        case AVC_NAL_PPS: read_pic_param_set(bits); break;
        case AVC_NAL_SPS_EXTENSION: {
            AVCSeqParamSetExtension extension;
            if (bits.get_seq_param_set_extension(extension) == AVC_OK) {
                m_sps_extensions.store(extension);
            }
            break;
        }
        case AVC_NAL_PREFIX: m_prefix = header; break;
        default: break;
    }
}

void AVC_Spl::read_seq_param_set(AVCHeadersBitstream& bits, std::uint32_t nal_type) {
    AVCSeqParamSet sps;
    if (bits.get_seq_param_set(sps) != AVC_OK) {
        return;
    }
    m_scanner->raise_max_unit_size(max_unit_size(sps));
    if (nal_type == AVC_NAL_SPS) {
        m_sps.store(std::move(sps));
    } else if (sps.profile_idc == kMultiviewHigh || sps.profile_idc == kStereoHigh) {
        m_subset_sps.store(std::move(sps));
    }
}

void AVC_Spl::read_pic_param_set(AVCHeadersBitstream& bits) {
    AVCPicParamSet pps;
    if (bits.get_pic_param_set_ids(pps) != AVC_OK) {
        return;
    }
    const std::uint32_t sequence = pps.seq_parameter_set_id;
    const AVCSeqParamSet* sps = m_sps.find(sequence);
    if (sps == nullptr) {
        sps = m_subset_sps.find(sequence);
    }
    if (sps != nullptr && bits.get_pic_param_set(pps, *sps) == AVC_OK) {
        m_pps.store(std::move(pps));
    }
    m_sps.set_current(sequence);
}

void AVC_Spl::read_sei(Bytes unit) {
    const AVCSeqParamSet* sps = m_sps.current();
    if (sps == nullptr) {
        return;
    }
    AVCNalHeader header;
    AVCHeadersBitstream bits = open_unit(unit, header);
    AVCSEIPayLoad message;
    do {
        if (bits.get_sei_message(message, *sps) != AVC_OK) {
            return;
        }
        if (message.payload_type != kSeiNothingRead && message.payload_type <= kLastSeiType) {
            m_sei.store(message);
        }
    } while (bits.more_rbsp_data());
}

}  // namespace ProtectedLibrary
