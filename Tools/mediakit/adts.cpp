#include "Tools/mediakit/adts.h"

#include <algorithm>

namespace mediakit_tool {

namespace {

// ISO/IEC 14496-3, table 1.18
constexpr std::array<std::uint32_t, 13> kSampleRates = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                        22050, 16000, 12000, 11025, 8000,  7350};
// ISO/IEC 14496-3, table 1.19: configuration 7 is 7.1
constexpr std::array<std::uint32_t, 8> kChannels = {0, 1, 2, 3, 4, 5, 6, 8};

constexpr unsigned kProgramConfigElement = 5;  // syntactic element id, ISO/IEC 14496-3, table 4.85

constexpr unsigned kEscapedObjectType = 31;
constexpr unsigned kSbr = 5, kParametricStereo = 29;  // audio object types, ISO/IEC 14496-3, table 1.17
constexpr unsigned kLastAdtsObjectType = 4;           // what the header's two bits of profile reach
constexpr unsigned kExplicitFrequency = 15;

/// Bits of a byte range, first the most significant; past the end it gives zeros and says so.
class BitReader {
public:
    explicit BitReader(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    unsigned Read(unsigned count) {
        unsigned value = 0;
        while (count-- > 0) value = value << 1 | ReadBit();
        return value;
    }
    void AlignToByte() { m_position = (m_position + 7) / 8 * 8; }
    bool Overrun() const { return m_position > m_bytes.size() * 8; }

private:
    unsigned ReadBit() {
        const std::size_t byte = m_position / 8;
        const unsigned shift = 7 - m_position % 8;
        ++m_position;
        return byte < m_bytes.size() ? m_bytes[byte] >> shift & 1u : 0u;
    }

    std::span<const std::uint8_t> m_bytes;
    std::size_t m_position = 0;
};

class BitWriter {
public:
    void Write(unsigned value, unsigned count) {
        while (count-- > 0) {
            if (m_bits % 8 == 0) m_bytes.push_back(0);
            m_bytes.back() = static_cast<std::uint8_t>(m_bytes.back() | (value >> count & 1u) << (7 - m_bits % 8));
            ++m_bits;
        }
    }
    void AlignToByte() { m_bits = m_bytes.size() * 8; }
    std::vector<std::uint8_t> Take() { return std::move(m_bytes); }

private:
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_bits = 0;
};

/// Copies a program_config_element (ISO/IEC 14496-3, table 4.2) and counts its channels.
class ProgramConfigCopy {
public:
    ProgramConfigCopy(BitReader& from, BitWriter& to) : m_from(from), m_to(to) {}

    /// The number of channels, 0 when the element is cut short.
    unsigned Run() {
        Copy(4 + 2 + 4);  // element_instance_tag, object_type, sampling_frequency_index
        const unsigned front = Copy(4), side = Copy(4), back = Copy(4);
        const unsigned lfe = Copy(2);
        const unsigned data = Copy(3), coupling = Copy(4);
        if (Copy(1)) Copy(4);      // mono_mixdown_element_number
        if (Copy(1)) Copy(4);      // stereo_mixdown_element_number
        if (Copy(1)) Copy(2 + 1);  // matrix_mixdown_idx, pseudo_surround_enable
        const unsigned channels = CopyElements(front + side + back) + lfe;
        for (unsigned i = 0; i < lfe + data; ++i) Copy(4);
        for (unsigned i = 0; i < coupling; ++i) Copy(1 + 4);
        m_from.AlignToByte();
        m_to.AlignToByte();
        for (unsigned comment = Copy(8); comment > 0; --comment) Copy(8);
        return m_from.Overrun() ? 0 : channels;
    }

private:
    unsigned Copy(unsigned count) {
        const unsigned value = m_from.Read(count);
        m_to.Write(value, count);
        return value;
    }
    /// Single elements have one channel, pairs two.
    unsigned CopyElements(unsigned count) {
        unsigned channels = 0;
        for (unsigned i = 0; i < count; ++i) {
            channels += 1 + Copy(1);
            Copy(4);
        }
        return channels;
    }

    BitReader& m_from;
    BitWriter& m_to;
};

unsigned ReadObjectType(BitReader& from) {
    const unsigned type = from.Read(5);
    return type == kEscapedObjectType ? 32 + from.Read(6) : type;
}

/// The index of the sampling frequency; the number of indices for one that has none.
std::size_t ReadFrequencyIndex(BitReader& from) {
    const unsigned index = from.Read(4);
    if (index != kExplicitFrequency) return std::min<std::size_t>(index, kSampleRates.size());
    const auto found = std::ranges::find(kSampleRates, from.Read(24));
    return static_cast<std::size_t>(found - kSampleRates.begin());
}

}  // namespace

std::uint32_t AdtsHeader::SampleRate() const { return kSampleRates[frequencyIndex]; }
std::uint32_t AdtsHeader::Channels() const { return kChannels[channelConfiguration]; }

bool AdtsHeader::SameStream(const AdtsHeader& other) const {
    return objectType == other.objectType && frequencyIndex == other.frequencyIndex &&
           channelConfiguration == other.channelConfiguration;
}

std::optional<AdtsHeader> ReadAdtsHeader(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < AdtsHeader::kSize) return std::nullopt;
    // syncword, then ID (either), layer 00, protection_absent (either)
    if (bytes[0] != 0xFF || (bytes[1] & 0xF6) != 0xF0) return std::nullopt;
    AdtsHeader header;
    header.objectType = static_cast<std::uint8_t>((bytes[2] >> 6) + 1);
    header.frequencyIndex = bytes[2] >> 2 & 0x0F;
    header.channelConfiguration = static_cast<std::uint8_t>((bytes[2] & 1) << 2 | bytes[3] >> 6);
    header.frameSize = (bytes[3] & 3u) << 11 | bytes[4] << 3u | bytes[5] >> 5u;
    header.blocks = static_cast<std::uint8_t>((bytes[6] & 3) + 1);
    header.headerSize = AdtsHeader::kSize + ((bytes[1] & 1) == 0 ? 2 : 0);
    if (header.frequencyIndex >= kSampleRates.size() || header.frameSize < header.headerSize) return std::nullopt;
    return header;
}

std::optional<AacConfig> MakeAacConfig(const AdtsHeader& header, std::span<const std::uint8_t> frame) {
    BitWriter config;
    config.Write(header.objectType, 5);
    config.Write(header.frequencyIndex, 4);
    config.Write(header.channelConfiguration, 4);
    config.Write(0, 3);  // frameLengthFlag 1024, no core coder, no extension
    unsigned channels = header.Channels();
    if (header.channelConfiguration == 0) {
        if (frame.size() < header.headerSize) return std::nullopt;
        BitReader data(frame.subspan(header.headerSize));
        if (data.Read(3) != kProgramConfigElement) return std::nullopt;
        channels = ProgramConfigCopy(data, config).Run();
        if (channels == 0) return std::nullopt;
    }
    return AacConfig{config.Take(), header.SampleRate(), channels};
}

// syncword, MPEG-4, layer 0, no checksum; profile, frequency, channels; length; variable bit rate, one block
std::array<std::uint8_t, AdtsHeader::kSize> AdtsHeader::Bytes(std::size_t dataSize) const {
    const std::size_t length = dataSize + kSize;
    const auto byte = [](std::size_t value) { return static_cast<std::uint8_t>(value); };
    return {0xFF,
            0xF1,
            byte((objectType - 1u) << 6 | frequencyIndex << 2u | channelConfiguration >> 2u),
            byte((channelConfiguration & 3u) << 6 | length >> 11),
            byte(length >> 3),
            byte((length & 7) << 5 | 0x1F),
            0xFC};
}

AdtsStream ReadSpecificConfig(std::span<const std::uint8_t> config) {
    AdtsStream stream;
    BitReader from(config);
    unsigned objectType = ReadObjectType(from);
    const std::size_t frequencyIndex = ReadFrequencyIndex(from);
    const unsigned channels = from.Read(4);
    if (objectType == kSbr || objectType == kParametricStereo) {
        ReadFrequencyIndex(from);
        objectType = ReadObjectType(from);
    }
    const bool shortFrames = from.Read(1) != 0;
    if (from.Read(1) != 0) from.Read(14);  // coreCoderDelay
    from.Read(1);                          // extensionFlag
    if (from.Overrun())
        stream.refusal = "the AAC configuration is cut short";
    else if (objectType < 1 || objectType > kLastAdtsObjectType)
        stream.refusal = "ADTS cannot tell audio object type " + std::to_string(objectType);
    else if (frequencyIndex >= kSampleRates.size())
        stream.refusal = "ADTS cannot tell the sampling frequency";
    else if (channels >= kChannels.size())
        stream.refusal = "ADTS cannot tell channel configuration " + std::to_string(channels);
    else if (shortFrames)
        stream.refusal = "ADTS cannot tell frames of 960 samples";
    if (!stream.refusal.empty()) return stream;
    stream.header.objectType = static_cast<std::uint8_t>(objectType);
    stream.header.frequencyIndex = static_cast<std::uint8_t>(frequencyIndex);
    stream.header.channelConfiguration = static_cast<std::uint8_t>(channels);
    if (channels == 0) {
        BitWriter element;
        element.Write(kProgramConfigElement, 3);
        // A configuration without it leaves the element to the frames.
        if (ProgramConfigCopy(from, element).Run() != 0) stream.programConfig = element.Take();
    }
    return stream;
}

bool BeginsWithProgramConfig(std::span<const std::uint8_t> data) {
    return !data.empty() && data[0] >> 5 == kProgramConfigElement;
}

}  // namespace mediakit_tool
