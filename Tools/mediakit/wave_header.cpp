#include "Tools/mediakit/wave_header.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace mediakit_tool {

namespace {

constexpr std::uint32_t kUnknownSize = 0xFFFFFFFF;  // in RF64: the `ds64` chunk tells
constexpr std::uint16_t kPcm = 1;
constexpr std::uint32_t kFormatBytes = 16;
constexpr std::uint32_t kLargeSizesBytes = 28;  // of `ds64` without a table
constexpr std::uint32_t kChunkHead = 8;

class LittleEndian {
public:
    LittleEndian& Text(std::string_view text) {
        m_bytes.insert(m_bytes.end(), text.begin(), text.end());
        return *this;
    }
    template <class Unsigned>
    LittleEndian& Number(Unsigned value) {
        for (unsigned shift = 0; shift < 8 * sizeof value; shift += 8)
            m_bytes.push_back(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }
    std::vector<std::uint8_t> Take() { return std::move(m_bytes); }

private:
    std::vector<std::uint8_t> m_bytes;
};

}  // namespace

std::vector<std::uint8_t> WaveHeader(const WaveFormat& format, std::uint64_t expectedBytes, std::uint64_t dataBytes) {
    // From the form type to the end of the data, with the byte that makes the data's length even.
    std::uint64_t riffBytes = 4 + kChunkHead + kFormatBytes + kChunkHead + dataBytes + dataBytes % 2;
    const bool large = expectedBytes > std::numeric_limits<std::uint32_t>::max() - 64;
    if (large) riffBytes += kChunkHead + kLargeSizesBytes;
    const auto size = [large](std::uint64_t bytes) { return large ? kUnknownSize : static_cast<std::uint32_t>(bytes); };

    LittleEndian head;
    head.Text(large ? "RF64" : "RIFF").Number(size(riffBytes)).Text("WAVE");
    const std::uint32_t blockAlign = format.BlockAlign();
    if (large) {
        head.Text("ds64").Number(kLargeSizesBytes).Number(riffBytes).Number(dataBytes);
        head.Number(dataBytes / std::max(blockAlign, 1u)).Number(std::uint32_t{0});
    }
    head.Text("fmt ").Number(kFormatBytes).Number(kPcm).Number(format.channels).Number(format.samplesPerSecond);
    head.Number(blockAlign * format.samplesPerSecond).Number(static_cast<std::uint16_t>(blockAlign));
    head.Number(format.bitsPerSample).Text("data").Number(size(dataBytes));
    return head.Take();
}

}  // namespace mediakit_tool
