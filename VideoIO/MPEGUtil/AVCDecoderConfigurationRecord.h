// The decoder configuration record of H.264 in ISO files (`avcC`), ISO/IEC 14496-15 clause 5.3.3.
#pragma once

#include "Platform/DirectShow/MediaType.h"
#include "VideoIO/FilterUtil/MediaTypes/StreamRate.h"
#include "VideoIO/MPEGUtil/ConfigurationRecordReader.h"
#include "VideoIO/MPEGUtil/DataBuffer.h"
#include "VideoIO/MPEGUtil/H264PayloadParser.h"

#include <cstddef>
#include <vector>

namespace qz_MPEGUtil {

/// Parses the payload of `avcC` into parameter sets and makes the stream's media type from them. Parse
/// before CreateMediaType; a record may be parsed over. One thread at a time. Not copyable: the parser
/// works on the record's own buffer.
class AVCDecoderConfigurationRecord {
public:
    using NalUnit = std::vector<BYTE>;

    AVCDecoderConfigurationRecord();

    /// QZ_E_BAD_DATA for less than 5 bytes, which change nothing. E_FAIL for a record that is no such
    /// record or is cut short, and what the parse of the first sequence parameter set gives; the lists
    /// then hold what was read before it, and there is no media type.
    HRESULT Parse(const BYTE* buffer, std::size_t bufferSize);

    /// An `AVC1` media type with the record's profile, level and parameter sets, and the sizes of the
    /// first sequence parameter set.
    HRESULT CreateMediaType(CMediaType& type);

    /// Frame rate to use when the parameter sets tell none; 0 / 1 is unknown.
    qz_DSFilters::StreamRate m_streamRate{0, 1};
    BYTE configurationVersion = 0;
    BYTE AVCProfileIndication = 0;
    BYTE profile_compatibility = 0;
    BYTE AVCLevelIndication = 0;
    BYTE lengthSizeMinusOne = 0;
    std::vector<NalUnit> m_sps;
    std::vector<NalUnit> m_pps;
    std::vector<NalUnit> m_spsExt;
    BYTE chroma_format = 0;
    BYTE bit_depth_luma_minus8 = 0;
    BYTE bit_depth_chroma_minus8 = 0;

private:
    HRESULT ReadSequenceParameterSets(ConfigurationRecordReader& reader);
    HRESULT ReadPictureParameterSets(ConfigurationRecordReader& reader);
    HRESULT ReadExtension(ConfigurationRecordReader& reader);
    HRESULT ParseFirstSequenceParameterSet();

    DataBuffer m_buffer;
    H264PayloadParser m_parser;
};

}  // namespace qz_MPEGUtil
