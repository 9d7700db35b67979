#include "VideoIO/MPEGUtil/H264PayloadParser.h"

#include "Logging/Checks.h"
#include "MediaKit/Results.h"

namespace qz_MPEGUtil {

void H264PayloadParser::Reset() {
    m_reader.Reset();
    m_sps.Reset();
}

HRESULT H264PayloadParser::ReadNalHeader() {
    H26xSyntaxCursor cursor(m_reader);
    const std::uint32_t forbidden_zero_bit = cursor.Bits(1);
    if (cursor.Failed()) {
        return cursor.Result();
    }
    QZCheckCondition(forbidden_zero_bit == 0, E_UNEXPECTED);
    const std::uint32_t nal_ref_idc = cursor.Bits(2);
    const std::uint32_t nal_unit_type = cursor.Bits(5);
    QZCheckCondition(nal_unit_type == 7, E_UNEXPECTED);
    QZCheckCondition(nal_ref_idc != 0, E_UNEXPECTED);
    return S_OK;
}

HRESULT H264PayloadParser::ParseSPS() {
    H26xSyntaxReader::Position start;
    QZCheckHRESULT(m_reader.SavePosition(start));
    HRESULT hr = ReadNalHeader();
    if (hr == S_OK) {
        hr = m_sps.Parse(m_reader);
    }
    if (hr == QZ_E_MORE_DATA) {
        m_reader.RestorePosition(start);
        return hr;
    }
    QZCheckHRESULT(hr);
    return S_OK;
}

HRESULT H264PayloadParser::GetIdentifiedMediaType(CMediaType& type) const {
    QZCheckCondition(HasIdentifiedMediaType(), E_UNEXPECTED);
    return m_sps.GetIdentifiedMediaType(type);
}

}  // namespace qz_MPEGUtil
