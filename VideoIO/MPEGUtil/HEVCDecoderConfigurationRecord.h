// The decoder configuration record of H.265 in ISO files (`hvcC`), ISO/IEC 14496-15 clause 8.3.3.
#pragma once

#include "Platform/DirectShow/MediaType.h"
#include "VideoIO/MPEGUtil/ConfigurationRecordReader.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qz_MPEGUtil {

/// Reads and writes the payload of `hvcC`. A record to be written starts from its default values
/// (version 1, NAL lengths of 4 bytes) and takes the parameter sets one by one.
class HEVCDecoderConfigurationRecord {
public:
    using NalUnit = std::vector<BYTE>;

    /// Has no result: a caller finds an empty list of NAL units. Less than 5 bytes leave the record as
    /// it was; the units of a record that is cut short are read as far as they are whole.
    void Parse(const BYTE* buffer, std::size_t bufferSize);

    /// An `HVC1` media type with the NAL units as its sequence header; the rest as given.
    HRESULT CreateMediaType(const SIZE& size, const SIZE& aspectRatio, DWORD interlaceFlags,
                            REFERENCE_TIME avgTimePerFrame, DWORD bitRate, DWORD profile, DWORD level,
                            CMediaType& type) const;

    /// Appends a video, sequence or picture parameter set, with its NAL header and without a start code.
    /// The first sequence parameter set also sets profile, tier, level, formats and sub-layers, without
    /// which players refuse a record. False, and nothing happens, for other NAL units and for more bytes
    /// than the record's lengths can tell (65535).
    bool AddParameterSet(std::span<const BYTE> nal);

    /// The payload of `hvcC`: the fields, then an array for each kind of parameter set there is, in the
    /// order VPS, SPS, PPS, each marked complete (no more of its kind in the samples are needed).
    std::vector<BYTE> Serialize() const;

    std::vector<NalUnit> m_nalUnits;  // those of all arrays, in order
    BYTE configurationVersion = 1;
    BYTE general_profile_space = 0;
    BYTE general_tier_flag = 0;
    BYTE general_profile_idc = 0;
    std::uint32_t general_profile_compatibility_flags = 0;
    std::uint32_t general_constraint_indicator_flags_high = 0;  // upper 32 of 48 bits
    std::uint16_t general_constraint_indicator_flags_low = 0;
    BYTE general_level_idc = 0;
    std::uint16_t min_spatial_segmentation_idc = 0;
    BYTE parallelismType = 0;
    BYTE chromaFormat = 0;
    BYTE bitDepthLumaMinus8 = 0;
    BYTE bitDepthChromaMinus8 = 0;
    std::uint16_t avgFrameRate = 0;  // frames in 256 seconds
    BYTE constantFrameRate = 0;
    BYTE numTemporalLayers = 0;
    BYTE temporalIdNested = 0;
    BYTE lengthSizeMinusOne = 3;
    BYTE numOfArrays = 0;

private:
    HRESULT ParseRecord(const BYTE* buffer, std::size_t bufferSize);
    void ReadFields(ConfigurationRecordReader& reader);
    bool ReadArray(ConfigurationRecordReader& reader);
    void TakeFieldsFrom(std::span<const BYTE> sps);
};

}  // namespace qz_MPEGUtil
