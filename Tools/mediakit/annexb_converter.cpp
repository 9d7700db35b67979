#include "Tools/mediakit/annexb_converter.h"

#include "Platform/Com/Results.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"

#include <algorithm>

namespace mediakit_tool {

namespace {

constexpr std::uint8_t kStartCode[] = {0, 0, 0, 1};
constexpr std::size_t kInPlace = sizeof kStartCode;  ///< a prefix as long as a start code

// nal_unit_type of ISO/IEC 14496-10, table 7-1, and ISO/IEC 23008-2, table 7-1
constexpr unsigned kAvcSets = 7, kAvcDelimiter = 9;      // SPS, PPS
constexpr unsigned kHevcSets = 32, kHevcDelimiter = 35;  // VPS, SPS, PPS

unsigned UnitType(std::uint8_t firstByte, bool hevc) { return hevc ? firstByte >> 1 & 0x3F : firstByte & 0x1F; }

std::size_t ReadLength(const std::uint8_t* bytes, std::size_t size) {
    std::size_t length = 0;
    for (std::size_t i = 0; i < size; ++i) length = length << 8 | bytes[i];
    return length;
}

}  // namespace

bool AnnexBConverter::Open(const AM_MEDIA_TYPE& type) {
    DWORD lengthSize = 0;
    qz_DSFilters::ParameterSets sets;
    if (FAILED(qz_DSFilters::GetAVCConfig(type, m_sets, lengthSize))) return false;
    if (FAILED(qz_DSFilters::GetAVCParameterSets(type, sets))) return false;
    m_lengthSize = lengthSize;
    m_hevc = type.subtype == MEDIASUBTYPE_HVC1;
    m_first = true;
    m_kinds = 0;
    for (const auto& set : sets) m_kinds |= KindOf(set.front());
    return true;
}

std::uint32_t AnnexBConverter::KindOf(std::uint8_t firstByte) const {
    const unsigned first = m_hevc ? kHevcSets : kAvcSets;
    const unsigned end = m_hevc ? kHevcDelimiter : kAvcDelimiter;
    const unsigned type = UnitType(firstByte, m_hevc);
    return type >= first && type < end ? 1u << (type - first) : 0;
}

bool AnnexBConverter::IsDelimiter(std::uint8_t firstByte) const {
    return UnitType(firstByte, m_hevc) == (m_hevc ? kHevcDelimiter : kAvcDelimiter);
}

AnnexBSample AnnexBConverter::Convert(std::span<std::uint8_t> sample, bool sync) {
    const bool inPlace = m_lengthSize == kInPlace;
    m_copy.clear();
    AnnexBSample result;
    std::uint32_t kinds = 0;
    std::size_t at = 0, delimiter = 0;
    while (at < sample.size()) {
        const std::size_t room = sample.size() - at;
        const std::size_t length = room < m_lengthSize ? room : ReadLength(&sample[at], m_lengthSize);
        result.broken = room < m_lengthSize || length > room - m_lengthSize;
        if (result.broken) break;
        const std::span<std::uint8_t> unit = sample.subspan(at + m_lengthSize, length);
        if (inPlace) {
            std::copy(std::begin(kStartCode), std::end(kStartCode), &sample[at]);
            if (length == 0) sample[at + 3] = 0;  // nothing follows: zeros behind the unit before, which count for none
        } else if (length != 0) {
            m_copy.insert(m_copy.end(), std::begin(kStartCode), std::end(kStartCode));
            m_copy.insert(m_copy.end(), unit.begin(), unit.end());
        }
        at += m_lengthSize + length;
        if (length == 0) continue;
        kinds |= KindOf(unit[0]);
        if (at == m_lengthSize + length && IsDelimiter(unit[0])) delimiter = kInPlace + length;
    }
    const std::span<const std::uint8_t> all = inPlace ? std::span<const std::uint8_t>(sample.first(at)) : m_copy;
    result.delimiter = all.first(delimiter);
    result.units = all.subspan(delimiter);
    if (!result.units.empty() && (sync || m_first)) {
        if ((m_kinds & ~kinds) != 0) result.parameterSets = m_sets;
        m_first = false;
    }
    return result;
}

}  // namespace mediakit_tool
