// The configuration of an MPEG-4 audio decoder as it stands in an `esds`, ISO/IEC 14496-3 clause 1.6.2.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace qz_MPEGUtil {

/// samplingFrequencyIndex of ISO/IEC 14496-3, in Hz. 15, which is not in the table, stands for an explicit frequency.
inline constexpr std::array<std::uint32_t, 13> sampling_frequencies = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                                       22050, 16000, 12000, 11025, 8000,  7350};

struct AudioSpecificConfig {
    std::uint32_t objectType = 0;        ///< 2 is AAC LC; 5 and 29 say that SBR, and PS, follow
    std::uint32_t samplesPerSecond = 0;  ///< of the core where SBR doubles it
    std::uint32_t channels = 0;          ///< 1 to 6, or 8
};

/// Nothing for a configuration that is cut short, has no frequency, or leaves the channels to be told elsewhere.
std::optional<AudioSpecificConfig> ReadAudioSpecificConfig(std::span<const std::uint8_t> bytes);

}  // namespace qz_MPEGUtil
