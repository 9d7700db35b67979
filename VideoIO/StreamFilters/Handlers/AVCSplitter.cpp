#include "VideoIO/StreamFilters/Handlers/AVCSplitter.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Handlers/UnitWriter.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters::details {

using namespace ProtectedLibrary;

namespace {

// What the fields of the record can tell.
constexpr std::size_t kMostSps = 31;
constexpr std::size_t kMostOthers = 255;
constexpr std::size_t kLongestUnit = 65535;

constexpr std::array<std::uint8_t, 4> kProfilesWithExtensions = {100, 110, 122, 144};

void append_unit(AVCSplitter::UnitBytes& record, AVCSplitter::Unit unit) {
    record.push_back(static_cast<std::uint8_t>(unit.size() >> 8));
    record.push_back(static_cast<std::uint8_t>(unit.size()));
    record.insert(record.end(), unit.begin(), unit.end());
}

}  // namespace

void AVCSplitter::capture(std::uint32_t type, Unit unit) {
    if (unit.empty() || seen_again(type, unit)) {
        return;
    }
    switch (type) {
        case AVC_NAL_SPS: capture_sps(unit); break;
        case AVC_NAL_PPS: capture_pps(unit); break;
        case AVC_NAL_SPS_EXTENSION: capture_extension(unit); break;
        default: break;
    }
}

void AVCSplitter::capture_all(Unit stream) {
    nal_buffer data{
        .base = stream.data(), .size = static_cast<std::uint32_t>(stream.size()), .flags = nal_buffer::complete};
    nal_buffer* unit = nullptr;
    while (data.size > kLastBytes) {
        const std::uint32_t type = scanner().next_nal_unit(&data, unit);
        if (unit != nullptr) {
            capture(type, {unit->begin(), unit->size});
        }
    }
}

bool AVCSplitter::seen_again(std::uint32_t type, Unit unit) {
    for (const LastRead& set : m_lastRead) {
        if (set.type == type && std::ranges::equal(set.bytes, unit)) {
            if (type == AVC_NAL_PPS) {
                m_currentSps = set.sps;
            }
            return true;
        }
    }
    return false;
}

void AVCSplitter::remember(const LastRead& set) {
    std::erase_if(m_lastRead, [&](const LastRead& old) {
        // What a picture parameter set means depends on its sequence parameter set.
        return (old.type == set.type && old.id == set.id) ||
               (set.type == AVC_NAL_SPS && old.type == AVC_NAL_PPS && old.sps == set.id);
    });
    if (set.bytes.size() <= kLongestUnit) {
        m_lastRead.push_back(set);
    }
}

void AVCSplitter::keep_first(std::vector<FirstBytes>& list, std::uint32_t id, Unit unit) {
    const bool seen = std::ranges::any_of(list, [id](const FirstBytes& first) { return first.id == id; });
    if (!seen && unit.size() <= kLongestUnit) {
        list.push_back({id, UnitBytes(unit.begin(), unit.end())});
    }
}

void AVCSplitter::capture_sps(Unit unit) {
    AVCNalHeader header;
    AVCSeqParamSet sps;
    if (open_unit(unit, header).get_seq_param_set(sps) != AVC_OK) {
        return;
    }
    const std::uint32_t id = sps.id();
    scanner().raise_max_unit_size(max_unit_size(sps));
    m_sps.store(std::move(sps));
    keep_first(m_spsBytes, id, unit);
    remember({AVC_NAL_SPS, id, id, UnitBytes(unit.begin(), unit.end())});
}

void AVCSplitter::capture_pps(Unit unit) {
    AVCNalHeader header;
    AVCHeadersBitstream bits = open_unit(unit, header);
    AVCPicParamSet pps;
    if (bits.get_pic_param_set_ids(pps) != AVC_OK) {
        return;
    }
    const AVCSeqParamSet* sps = m_sps.find(pps.seq_parameter_set_id);
    if (sps == nullptr || bits.get_pic_param_set(pps, *sps) != AVC_OK) {
        return;
    }
    const std::uint32_t id = pps.id();
    m_currentSps = pps.seq_parameter_set_id;
    m_pps.store(std::move(pps));
    keep_first(m_ppsBytes, id, unit);
    remember({AVC_NAL_PPS, id, m_currentSps, UnitBytes(unit.begin(), unit.end())});
}

void AVCSplitter::capture_extension(Unit unit) {
    AVCNalHeader header;
    AVCSeqParamSetExtension extension;
    if (open_unit(unit, header).get_seq_param_set_extension(extension) == AVC_OK) {
        m_extensions.store(extension);
    }
    if (m_extensionBytes.size() < kMostOthers && unit.size() <= kLongestUnit) {
        m_extensionBytes.emplace_back(unit.begin(), unit.end());
    }
}

std::vector<AVCSplitter::UnitBytes> AVCSplitter::parameter_sets() const {
    std::vector<UnitBytes> sets;
    for (const FirstBytes& set : m_spsBytes) sets.push_back(set.bytes);
    for (const FirstBytes& set : m_ppsBytes) sets.push_back(set.bytes);
    return sets;
}

AVCSplitter::UnitBytes AVCSplitter::configuration_record() const {
    UnitBytes record;
    const AVCSeqParamSet* sps = m_sps.first();
    if (sps == nullptr) {
        QZReport(2, L"Failed to get SPS header");
        return record;
    }
    const std::size_t sps_count = std::min(m_spsBytes.size(), kMostSps);
    const std::size_t pps_count = std::min(m_ppsBytes.size(), kMostOthers);
    constexpr std::uint8_t profile_compatibility = 0;
    record = {1,
              sps->profile_idc,
              profile_compatibility,
              sps->level_idc,
              0xFC | (kUnitLengthSize - 1),
              static_cast<std::uint8_t>(0xE0 | sps_count)};
    for (std::size_t i = 0; i < sps_count; ++i) append_unit(record, m_spsBytes[i].bytes);
    record.push_back(static_cast<std::uint8_t>(pps_count));
    for (std::size_t i = 0; i < pps_count; ++i) append_unit(record, m_ppsBytes[i].bytes);
    if (std::ranges::find(kProfilesWithExtensions, sps->profile_idc) != kProfilesWithExtensions.end()) {
        record.push_back(static_cast<std::uint8_t>(0xFC | sps->chroma_format_idc));
        record.push_back(static_cast<std::uint8_t>(0xF8 | (sps->bit_depth_luma - 8)));
        record.push_back(static_cast<std::uint8_t>(0xF8 | (sps->bit_depth_chroma - 8)));
        record.push_back(static_cast<std::uint8_t>(m_extensionBytes.size()));
        for (const UnitBytes& extension : m_extensionBytes) append_unit(record, extension);
    }
    return record;
}

}  // namespace Norvane::MediaKit::Filters::details
