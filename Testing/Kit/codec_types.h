// Media types of the streams that the generators of this folder make.
#pragma once

#include "Testing/Kit/adts_frame.h"
#include "Testing/Kit/h265_units.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"

namespace mediakit_test {

/// Annex B video of a subtype. Time per frame in 100 ns.
inline CMediaType annex_b_type(const GUID& subtype, unsigned width, unsigned height, REFERENCE_TIME time_per_frame) {
    const SIZE size{static_cast<LONG>(width), static_cast<LONG>(height)};
    CMediaType type;
    qz_DSFilters::BuildVideoInfo2MediaType(size, size, 0, subtype, time_per_frame, 0, nullptr, 0, type);
    return type;
}

inline CMediaType h264_type(const h264_units& units, REFERENCE_TIME time_per_frame = 400000) {
    return annex_b_type(MEDIASUBTYPE_H264, units.width(), units.height(), time_per_frame);
}

inline CMediaType h265_type(const h265_units& units, REFERENCE_TIME time_per_frame = 400000) {
    return annex_b_type(MEDIASUBTYPE_H265, units.width(), units.height(), time_per_frame);
}

/// Length-prefixed video with its parameter sets in the format block.
inline CMediaType avc1_type(const h264_units& units, REFERENCE_TIME time_per_frame = 400000) {
    const SIZE size{static_cast<LONG>(units.width()), static_cast<LONG>(units.height())};
    byte_vector sets = units.sps();
    append(sets, units.pps());
    CMediaType type;
    qz_DSFilters::BuildAVC1MediaType(size, size, 0, time_per_frame, 0, 77, 10, split_annex_b(sets), 4, type);
    return type;
}

inline CMediaType hvc1_type(const h265_units& units, REFERENCE_TIME time_per_frame = 400000) {
    const SIZE size{static_cast<LONG>(units.width()), static_cast<LONG>(units.height())};
    byte_vector sets = units.vps();
    append(sets, units.sps());
    append(sets, units.pps());
    CMediaType type;
    qz_DSFilters::BuildHVC1MediaType(size, size, 0, time_per_frame, 0, 1, 93, split_annex_b(sets), 4, type);
    return type;
}

/// AAC with the tag 0xFF (raw frames) or 0x1600 (ADTS), and its specific configuration behind the wave format.
inline CMediaType aac_type(WORD tag = 0xFF, DWORD samples_per_second = 48000, const adts_options& o = {}) {
    const std::vector<std::uint8_t> config = audio_specific_config(o);
    CMediaType type;
    qz_DSFilters::BuildPCMMediaType(tag, static_cast<WORD>(o.channels), samples_per_second, 16, 16000, config.data(),
                                    static_cast<DWORD>(config.size()), type);
    return type;
}

}  // namespace mediakit_test
