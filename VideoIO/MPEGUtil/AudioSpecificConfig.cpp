#include "VideoIO/MPEGUtil/AudioSpecificConfig.h"

#include "VideoIO/MPEGUtil/ConfigurationRecordReader.h"

namespace qz_MPEGUtil {
namespace {

constexpr std::uint32_t explicit_frequency = 15;

/// Channels by channelConfiguration; 0 where the configuration does not tell them.
constexpr std::array<std::uint32_t, 16> configured_channels = {0, 1, 2, 3, 4, 5, 6, 8};

std::uint32_t ReadObjectType(ConfigurationRecordReader& reader) {
    const std::uint32_t type = reader.Bits(5);
    return type == 31 ? 32 + reader.Bits(6) : type;
}

/// 0 for a reserved index.
std::uint32_t ReadFrequency(ConfigurationRecordReader& reader) {
    const std::uint32_t index = reader.Bits(4);
    if (index == explicit_frequency) return reader.Bits(24);
    return index < sampling_frequencies.size() ? sampling_frequencies[index] : 0;
}

}  // namespace

std::optional<AudioSpecificConfig> ReadAudioSpecificConfig(std::span<const std::uint8_t> bytes) {
    ConfigurationRecordReader reader(bytes);
    AudioSpecificConfig config;
    config.objectType = ReadObjectType(reader);
    config.samplesPerSecond = ReadFrequency(reader);
    config.channels = configured_channels[reader.Bits(4)];
    if (reader.Exhausted() || config.samplesPerSecond == 0 || config.channels == 0) return std::nullopt;
    return config;
}

}  // namespace qz_MPEGUtil
