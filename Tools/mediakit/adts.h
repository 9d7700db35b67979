// AAC in ADTS framing (ISO/IEC 13818-7, 6.2; ISO/IEC 14496-3, 1.A): frame headers, and the AudioSpecificConfig of a
// stream.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mediakit_tool {

/// Fixed and variable header of one ADTS frame.
struct AdtsHeader {
    static constexpr std::size_t kSize = 7;               ///< bytes, without the checksum
    static constexpr std::size_t kLongestFrame = 0x1FFF;  ///< 13 bits
    static constexpr std::int64_t kSamplesPerBlock = 1024;

    std::uint8_t objectType = 0;            ///< MPEG-4 audio object type: profile + 1
    std::uint8_t frequencyIndex = 0;        ///< 0 to 12
    std::uint8_t channelConfiguration = 0;  ///< 0: the stream's program_config_element tells
    std::uint8_t blocks = 1;                ///< raw data blocks in the frame, 1 to 4
    std::size_t headerSize = kSize;         ///< 9 with a checksum
    std::size_t frameSize = 0;              ///< header included

    std::uint32_t SampleRate() const;
    /// 0 for channel configuration 0.
    std::uint32_t Channels() const;
    /// Whether a frame with the other header may follow in the same track.
    bool SameStream(const AdtsHeader& other) const;
    /// The header, without a checksum, of a frame of one block with that many bytes of data. Data up to kLongestFrame
    /// less kSize.
    std::array<std::uint8_t, kSize> Bytes(std::size_t dataSize) const;
};

/// The header at the start of `bytes`; nothing when there are fewer than 7 bytes or no header.
std::optional<AdtsHeader> ReadAdtsHeader(std::span<const std::uint8_t> bytes);

/// What the sample entry of an AAC track has to say.
struct AacConfig {
    std::vector<std::uint8_t> specificConfig;  ///< AudioSpecificConfig (ISO/IEC 14496-3, 1.6.2.1)
    std::uint32_t sampleRate = 0;
    std::uint32_t channels = 0;
};

/// The configuration of the stream that `frame`, a whole ADTS frame, belongs to. With channel
/// configuration 0 the channels come from the program_config_element at the start of the frame's
/// data; nothing when there is none there.
std::optional<AacConfig> MakeAacConfig(const AdtsHeader& header, std::span<const std::uint8_t> frame);

/// A stream as ADTS tells it.
struct AdtsStream {
    AdtsHeader header;
    /// With channel configuration 0: what goes in front of the first frame's data, a program_config_element.
    std::vector<std::uint8_t> programConfig;
    std::string refusal;  ///< why ADTS cannot tell the stream; empty when it can
};

/// The stream of an AudioSpecificConfig. Of one that signals spectral band replication the core is told, as is usual in
/// ADTS: decoders find the rest in the data.
AdtsStream ReadSpecificConfig(std::span<const std::uint8_t> config);

/// Whether the data of a frame begin with a program_config_element.
bool BeginsWithProgramConfig(std::span<const std::uint8_t> data);

}  // namespace mediakit_tool
