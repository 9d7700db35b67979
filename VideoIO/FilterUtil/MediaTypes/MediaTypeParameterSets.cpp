#include "VideoIO/FilterUtil/MediaTypes/MediaTypeParameterSets.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"

#include <algorithm>
#include <span>

namespace qz_DSFilters {

namespace {

/// SPS (7) and PPS (8) by the NAL type of ISO/IEC 14496-10.
bool IsAVCParameterSet(BYTE firstByte) {
    const int nalType = firstByte & 0x1F;
    return nalType == 7 || nalType == 8;
}

/// VPS, SPS and PPS (32 to 34, one bit up) by the NAL header of ISO/IEC 23008-2.
bool IsHEVCParameterSet(BYTE firstByte) {
    const int nalType = firstByte & 0x7E;
    return nalType == 64 || nalType == 66 || nalType == 68;
}

/// The sequence header's bytes, no more than the block has.
std::span<const BYTE> SequenceHeader(const AM_MEDIA_TYPE& type, const MPEG2VIDEOINFO& info) {
    const ULONG room = type.cbFormat - MPEG2VideoInfoLength;
    return {type.pbFormat + MPEG2VideoInfoLength, std::min<std::size_t>(info.cbSequenceHeader, room)};
}

/// Gives each whole record (2-byte big-endian length, bytes) that is a parameter set to `keep`.
template <class Keep>
void ForEachParameterSet(std::span<const BYTE> header, bool hevc, Keep keep) {
    while (header.size() >= 2) {
        const std::size_t length = static_cast<std::size_t>(header[0]) << 8 | header[1];
        header = header.subspan(2);
        if (length > header.size()) return;
        const auto record = header.first(length);
        header = header.subspan(length);
        if (length != 0 && (hevc ? IsHEVCParameterSet(record[0]) : IsAVCParameterSet(record[0]))) keep(record);
    }
}

template <class Keep>
HRESULT ReadParameterSets(const AM_MEDIA_TYPE& type, DWORD& prefixLength, Keep keep) {
    const bool hevc = type.subtype == MEDIASUBTYPE_HVC1;
    QZCheckCondition(type.majortype == MEDIATYPE_Video, E_INVALIDARG);
    QZCheckCondition(hevc || type.subtype == MEDIASUBTYPE_AVC1, E_INVALIDARG);
    QZCheckCondition(type.formattype == FORMAT_MPEG2Video, E_INVALIDARG);
    const auto* pMPEG2Vih = FormatBlock<MPEG2VIDEOINFO>(type, MPEG2VideoInfoLength);
    QZCheckCondition(pMPEG2Vih != 0, E_INVALIDARG);
    const DWORD naluPrefixLength = pMPEG2Vih->dwFlags;
    QZCheckCondition(naluPrefixLength == 1 || naluPrefixLength == 2 || naluPrefixLength == 4, E_INVALIDARG);
    prefixLength = naluPrefixLength;
    ForEachParameterSet(SequenceHeader(type, *pMPEG2Vih), hevc, keep);
    return S_OK;
}

}  // namespace

HRESULT GetAVCParameterSets(const AM_MEDIA_TYPE& type, ParameterSets& parameterSets) {
    parameterSets.clear();
    DWORD naluPrefixLength = 0;
    return ReadParameterSets(type, naluPrefixLength, [&](std::span<const BYTE> record) {
        parameterSets.emplace_back(record.begin(), record.end());
    });
}

HRESULT GetAVCConfig(const AM_MEDIA_TYPE& type, std::vector<BYTE>& config, DWORD& naluPrefixLength) {
    static constexpr BYTE startCode[] = {0, 0, 0, 1};
    config.clear();
    naluPrefixLength = 0;
    return ReadParameterSets(type, naluPrefixLength, [&](std::span<const BYTE> record) {
        config.insert(config.end(), std::begin(startCode), std::end(startCode));
        config.insert(config.end(), record.begin(), record.end());
    });
}

}  // namespace qz_DSFilters
