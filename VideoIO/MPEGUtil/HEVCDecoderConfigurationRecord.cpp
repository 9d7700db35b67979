#include "VideoIO/MPEGUtil/HEVCDecoderConfigurationRecord.h"

#include "Logging/Checks.h"
#include "MediaKit/Results.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeBuilders.h"
#include "VideoIO/MPEGUtil/H265ParameterSets.h"

#include <algorithm>
#include <array>

namespace qz_MPEGUtil {
namespace {

constexpr BYTE max_bit_depth_minus8 = 7;  // of a field of 3 bits; a sequence parameter set may hold 8

constexpr std::array<BYTE, 3> written_kinds = {H265_NAL_VPS, H265_NAL_SPS, H265_NAL_PPS};

BYTE KindOf(std::span<const BYTE> nal) { return nal.empty() ? BYTE{0} : static_cast<BYTE>(nal[0] >> 1 & 0x3F); }

class BigEndianWriter {
public:
    void Put(std::uint64_t value, unsigned bytes) {
        while (bytes > 0) {
            m_bytes.push_back(static_cast<BYTE>(value >> (8 * --bytes)));
        }
    }
    void Put(const std::vector<BYTE>& bytes) { m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end()); }
    std::vector<BYTE> Take() { return std::move(m_bytes); }

private:
    std::vector<BYTE> m_bytes;
};

}  // namespace

void HEVCDecoderConfigurationRecord::Parse(const BYTE* buffer, std::size_t bufferSize) {
    ParseRecord(buffer, bufferSize);
}

HRESULT HEVCDecoderConfigurationRecord::ParseRecord(const BYTE* buffer, std::size_t bufferSize) {
    QZCheckCondition(bufferSize >= 5, QZ_E_BAD_DATA);
    m_nalUnits.clear();
    ConfigurationRecordReader reader({buffer, bufferSize});
    ReadFields(reader);
    for (unsigned array = 0; array < numOfArrays; ++array) {
        if (!ReadArray(reader)) {
            break;
        }
    }
    return S_OK;
}

void HEVCDecoderConfigurationRecord::ReadFields(ConfigurationRecordReader& reader) {
    const auto byte = [&reader](unsigned bits) { return static_cast<BYTE>(reader.Bits(bits)); };
    configurationVersion = byte(8);
    general_profile_space = byte(2);
    general_tier_flag = byte(1);
    general_profile_idc = byte(5);
    general_profile_compatibility_flags = reader.Bits(32);
    general_constraint_indicator_flags_high = reader.Bits(32);
    general_constraint_indicator_flags_low = static_cast<std::uint16_t>(reader.Bits(16));
    general_level_idc = byte(8);
    reader.Bits(4);
    min_spatial_segmentation_idc = static_cast<std::uint16_t>(reader.Bits(12));
    reader.Bits(6);
    parallelismType = byte(2);
    reader.Bits(6);
    chromaFormat = byte(2);
    reader.Bits(5);
    bitDepthLumaMinus8 = byte(3);
    reader.Bits(5);
    bitDepthChromaMinus8 = byte(3);
    avgFrameRate = static_cast<std::uint16_t>(reader.Bits(16));
    constantFrameRate = byte(2);
    numTemporalLayers = byte(3);
    temporalIdNested = byte(1);
    lengthSizeMinusOne = byte(2);
    numOfArrays = byte(8);
}

/// False at the end of the data.
bool HEVCDecoderConfigurationRecord::ReadArray(ConfigurationRecordReader& reader) {
    reader.Bits(8);  // array_completeness, reserved, NAL_unit_type
    const std::uint32_t numNalus = reader.Bits(16) & 0xFF;
    for (std::uint32_t i = 0; i < numNalus; ++i) {
        const std::uint32_t nalUnitLength = reader.Bits(16);
        if (reader.Exhausted() || nalUnitLength > reader.BytesLeft()) {
            return false;
        }
        const auto bytes = reader.Bytes(nalUnitLength);
        m_nalUnits.emplace_back(bytes.begin(), bytes.end());
    }
    return !reader.Exhausted();
}

HRESULT HEVCDecoderConfigurationRecord::CreateMediaType(const SIZE& size, const SIZE& aspectRatio, DWORD interlaceFlags,
                                                        REFERENCE_TIME avgTimePerFrame, DWORD bitRate, DWORD profile,
                                                        DWORD level, CMediaType& type) const {
    return qz_DSFilters::BuildHVC1MediaType(size, aspectRatio, interlaceFlags, avgTimePerFrame, bitRate, profile, level,
                                            m_nalUnits, lengthSizeMinusOne + 1u, type);
}

bool HEVCDecoderConfigurationRecord::AddParameterSet(std::span<const BYTE> nal) {
    const BYTE kind = KindOf(nal);
    if (nal.size() > 0xFFFF || std::find(written_kinds.begin(), written_kinds.end(), kind) == written_kinds.end()) {
        return false;
    }
    const auto same_kind = [kind](const NalUnit& unit) { return KindOf(unit) == kind; };
    if (kind == H265_NAL_SPS && std::none_of(m_nalUnits.begin(), m_nalUnits.end(), same_kind)) {
        TakeFieldsFrom(nal);
    }
    m_nalUnits.emplace_back(nal.begin(), nal.end());
    return true;
}

void HEVCDecoderConfigurationRecord::TakeFieldsFrom(std::span<const BYTE> nal) {
    const auto sps = ReadH265SequenceParameterSet(nal);
    if (!sps) {
        return;
    }
    const H265ProfileTierLevel& profile = sps->profile_tier_level;
    general_profile_space = profile.general_profile_space;
    general_tier_flag = profile.general_tier_flag;
    general_profile_idc = profile.general_profile_idc;
    general_profile_compatibility_flags = profile.general_profile_compatibility_flags;
    general_constraint_indicator_flags_high =
        static_cast<std::uint32_t>(profile.general_constraint_indicator_flags >> 16);
    general_constraint_indicator_flags_low = static_cast<std::uint16_t>(profile.general_constraint_indicator_flags);
    general_level_idc = profile.general_level_idc;
    chromaFormat = static_cast<BYTE>(sps->chroma_format_idc);
    bitDepthLumaMinus8 = static_cast<BYTE>(sps->bit_depth_luma_minus8);
    bitDepthChromaMinus8 = static_cast<BYTE>(sps->bit_depth_chroma_minus8);
    numTemporalLayers = static_cast<BYTE>(sps->sps_max_sub_layers_minus1 + 1);
    temporalIdNested = sps->sps_temporal_id_nesting_flag ? 1 : 0;
}

std::vector<BYTE> HEVCDecoderConfigurationRecord::Serialize() const {
    BigEndianWriter out;
    out.Put(configurationVersion, 1);
    out.Put(general_profile_space << 6 | general_tier_flag << 5 | general_profile_idc, 1);
    out.Put(general_profile_compatibility_flags, 4);
    out.Put(general_constraint_indicator_flags_high, 4);
    out.Put(general_constraint_indicator_flags_low, 2);
    out.Put(general_level_idc, 1);
    out.Put(0xF000 | min_spatial_segmentation_idc, 2);
    out.Put(0xFC | parallelismType, 1);
    out.Put(0xFC | chromaFormat, 1);
    out.Put(0xF8 | std::min(bitDepthLumaMinus8, max_bit_depth_minus8), 1);
    out.Put(0xF8 | std::min(bitDepthChromaMinus8, max_bit_depth_minus8), 1);
    out.Put(avgFrameRate, 2);
    out.Put(constantFrameRate << 6 | numTemporalLayers << 3 | temporalIdNested << 2 | lengthSizeMinusOne, 1);

    const auto count_of = [this](BYTE kind) {
        return std::count_if(m_nalUnits.begin(), m_nalUnits.end(),
                             [kind](const NalUnit& unit) { return KindOf(unit) == kind; });
    };
    out.Put(static_cast<std::uint64_t>(std::count_if(written_kinds.begin(), written_kinds.end(),
                                                     [&](BYTE kind) { return count_of(kind) > 0; })),
            1);
    for (const BYTE kind : written_kinds) {
        const auto count = count_of(kind);
        if (count == 0) {
            continue;
        }
        out.Put(0x80u | kind, 1);  // array_completeness
        out.Put(static_cast<std::uint64_t>(count), 2);
        for (const NalUnit& unit : m_nalUnits) {
            if (KindOf(unit) == kind) {
                out.Put(unit.size(), 2);
                out.Put(unit);
            }
        }
    }
    return out.Take();
}

}  // namespace qz_MPEGUtil
