// Parameter sets in the sequence header of an MPEG2VIDEOINFO, where video with length prefixes carries them.
#pragma once

#include "VideoIO/FilterUtil/MediaTypes/MediaTypeBuilders.h"

namespace qz_DSFilters {

/// SPS and PPS of `AVC1`, or VPS, SPS and PPS of `HVC1`, in stored order; records of other kinds are passed over and a
/// record that the block cuts short ends the walk. The list is emptied first. E_INVALIDARG for any other type, a block
/// that is too short, and a NAL prefix length that is not 1, 2 or 4.
HRESULT GetAVCParameterSets(const AM_MEDIA_TYPE& type, ParameterSets& parameterSets);

/// The same as one Annex B stream, each set behind 00 00 00 01, and the length in bytes of the NAL prefixes of the
/// samples. Both are reset first (empty, 0).
HRESULT GetAVCConfig(const AM_MEDIA_TYPE& type, std::vector<BYTE>& config, DWORD& naluPrefixLength);

}  // namespace qz_DSFilters
