#include "VideoIO/MPEGUtil/AVCDecoderConfigurationRecord.h"

#include "Logging/Checks.h"
#include "MediaKit/Results.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeBuilders.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeReaders.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeWriters.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"

namespace qz_MPEGUtil {
namespace {

HRESULT TakeUnit(ConfigurationRecordReader& reader, std::size_t length,
                 std::vector<AVCDecoderConfigurationRecord::NalUnit>& list) {
    QZCheckCondition(length <= reader.BytesLeft(), E_FAIL);
    const auto bytes = reader.Bytes(length);
    list.emplace_back(bytes.begin(), bytes.end());
    return S_OK;
}

/// The profiles whose records may end in chroma format, bit depths and extensions.
bool MayHaveExtension(BYTE profile) { return profile == 100 || profile == 110 || profile == 122 || profile == 144; }

}  // namespace

AVCDecoderConfigurationRecord::AVCDecoderConfigurationRecord() : m_parser(m_buffer, MEDIASUBTYPE_AVC1) {}

HRESULT AVCDecoderConfigurationRecord::Parse(const BYTE* buffer, std::size_t bufferSize) {
    QZCheckCondition(bufferSize >= 5, QZ_E_BAD_DATA);
    m_sps.clear();
    m_pps.clear();
    m_spsExt.clear();
    m_buffer.Reset();
    m_parser.Reset();
    ConfigurationRecordReader reader({buffer, bufferSize});
    configurationVersion = static_cast<BYTE>(reader.Bits(8));
    if (configurationVersion != 1) {
        QZReport(5, L"Unknown configurationVersion when parsing AVCConfig (=%d)", int{configurationVersion});
        return E_FAIL;
    }
    AVCProfileIndication = static_cast<BYTE>(reader.Bits(8));
    profile_compatibility = static_cast<BYTE>(reader.Bits(8));
    AVCLevelIndication = static_cast<BYTE>(reader.Bits(8));
    reader.Bits(6);
    lengthSizeMinusOne = static_cast<BYTE>(reader.Bits(2));
    QZCheckHRESULT(ReadSequenceParameterSets(reader));
    QZCheckHRESULT(ReadPictureParameterSets(reader));
    if (MayHaveExtension(AVCProfileIndication) && reader.BytesLeft() >= 4) {
        QZCheckHRESULT(ReadExtension(reader));
    }
    QZCheckCondition(!m_sps.empty(), E_FAIL);
    QZCheckCondition(!m_pps.empty(), E_FAIL);
    return ParseFirstSequenceParameterSet();
}

HRESULT AVCDecoderConfigurationRecord::ReadSequenceParameterSets(ConfigurationRecordReader& reader) {
    reader.Bits(3);
    const std::uint32_t numOfSequenceParameterSets = reader.Bits(5);
    QZCheckCondition(numOfSequenceParameterSets > 0, E_FAIL);
    for (std::uint32_t i = 0; i < numOfSequenceParameterSets; ++i) {
        const std::uint32_t sequenceParameterSetLength = reader.Bits(16);
        QZCheckCondition(sequenceParameterSetLength > 0, E_FAIL);
        QZCheckHRESULT(TakeUnit(reader, sequenceParameterSetLength, m_sps));
    }
    return S_OK;
}

HRESULT AVCDecoderConfigurationRecord::ReadPictureParameterSets(ConfigurationRecordReader& reader) {
    const std::uint32_t numOfPictureParameterSets = reader.Bits(8);
    for (std::uint32_t i = 0; i < numOfPictureParameterSets; ++i) {
        const std::uint32_t pictureParameterSetLength = reader.Bits(16);
        QZCheckCondition(pictureParameterSetLength > 0, E_FAIL);
        QZCheckHRESULT(TakeUnit(reader, pictureParameterSetLength, m_pps));
    }
    return S_OK;
}

HRESULT AVCDecoderConfigurationRecord::ReadExtension(ConfigurationRecordReader& reader) {
    reader.Bits(6);
    chroma_format = static_cast<BYTE>(reader.Bits(2));
    reader.Bits(5);
    bit_depth_luma_minus8 = static_cast<BYTE>(reader.Bits(3));
    reader.Bits(5);
    bit_depth_chroma_minus8 = static_cast<BYTE>(reader.Bits(3));
    const std::uint32_t numOfSequenceParameterSetExt = reader.Bits(8);
    for (std::uint32_t i = 0; i < numOfSequenceParameterSetExt; ++i) {
        const std::uint32_t sequenceParameterSetExtLength = reader.Bits(16);
        QZCheckCondition(sequenceParameterSetExtLength > 0, E_FAIL);
        QZCheckHRESULT(TakeUnit(reader, sequenceParameterSetExtLength, m_spsExt));
    }
    return S_OK;
}

HRESULT AVCDecoderConfigurationRecord::ParseFirstSequenceParameterSet() {
    const std::size_t cThis = m_buffer.Add(m_sps.front().data(), m_sps.front().size());
    QZCheckCondition(cThis == m_sps.front().size(), E_UNEXPECTED);
    QZCheckHRESULT(m_parser.ParseSPS());
    return S_OK;
}

HRESULT AVCDecoderConfigurationRecord::CreateMediaType(CMediaType& type) {
    CMediaType spsMT;
    QZCheckHRESULT(m_parser.GetIdentifiedMediaType(spsMT));
    QZCheckCondition(spsMT.formattype == FORMAT_MPEG2Video, E_UNEXPECTED);
    REFERENCE_TIME avgTimePerFrame = 0;
    QZCheckHRESULT(qz_DSFilters::GetAvgTimePerFrame(spsMT, avgTimePerFrame));
    if (avgTimePerFrame == 0) {
        QZCheckCondition(m_streamRate.m_denominator > 0, E_UNEXPECTED);
        if (m_streamRate.m_numerator > 0) {
            QZCheckHRESULT(qz_DSFilters::ToAvgTimePerFrame(m_streamRate, avgTimePerFrame));
            QZCheckHRESULT(qz_DSFilters::SetAvgTimePerFrame(spsMT, avgTimePerFrame));
        }
    }
    SIZE size{};
    SIZE aspectRatio{};
    DWORD interlaceFlags = 0;
    DWORD bitRate = 0;
    QZCheckHRESULT(qz_DSFilters::GetVideoSize(spsMT, size));
    QZCheckHRESULT(qz_DSFilters::GetAspectRatio(spsMT, aspectRatio));
    QZCheckHRESULT(qz_DSFilters::GetInterlaceFlags(spsMT, interlaceFlags));
    QZCheckHRESULT(qz_DSFilters::GetBitRate(spsMT, bitRate));
    qz_DSFilters::ParameterSets parameterSets = m_sps;
    parameterSets.insert(parameterSets.end(), m_pps.begin(), m_pps.end());
    const DWORD naluPrefixLength = (lengthSizeMinusOne & 3u) + 1;
    return qz_DSFilters::BuildAVC1MediaType(size, aspectRatio, interlaceFlags, avgTimePerFrame, bitRate,
                                            AVCProfileIndication, AVCLevelIndication, parameterSets, naluPrefixLength,
                                            type);
}

}  // namespace qz_MPEGUtil
