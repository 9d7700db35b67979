// The decoder configuration of MPEG-4 Systems (ISO/IEC 14496-1) that `mp4v` and `mp4a` entries carry in their `esds`.
#pragma once

#include "Platform/Com/Results.h"
#include "VideoIO/StreamFilters/Container/es_descriptors.h"
#include "VideoIO/StreamFilters/Container/sample_entries.h"

#include <cstdint>
#include <memory>
#include <span>

namespace vio::mp4 {
class mp4_parser;
}

namespace Norvane::MediaKit::Filters::details {

using DecoderConfiguration = std::shared_ptr<const vio::es::DecoderConfigDescriptor>;

/// From the entry's `esds`, or from the one in its `wave`, where QuickTime audio has it. E_FAIL (logged) when there is
/// none or its descriptors tell no configuration. Throws core::exception for boxes that cannot be read.
HRESULT FindDecoderConfiguration(vio::mp4::mp4_parser& parser, const vio::mp4::sample_entry& entry,
                                 DecoderConfiguration& configuration);

/// Empty without specific info. The bytes are the descriptor's.
inline std::span<const std::uint8_t> SpecificInfo(const vio::es::DecoderConfigDescriptor& configuration) {
    if (configuration.dec_specific_info == nullptr) return {};
    return configuration.dec_specific_info->data;
}

}  // namespace Norvane::MediaKit::Filters::details
