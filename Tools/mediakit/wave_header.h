// The head of a WAVE file: RIFF, or RF64 (EBU Tech 3306) when 32 bits cannot hold its sizes.
#pragma once

#include <cstdint>
#include <vector>

namespace mediakit_tool {

struct WaveFormat {
    std::uint16_t channels = 0;
    std::uint32_t samplesPerSecond = 0;
    std::uint16_t bitsPerSample = 0;  ///< whole bytes

    std::uint32_t BlockAlign() const { return channels * (bitsPerSample / 8u); }
};

/// Which of the two forms a file takes is told by the bytes of sound that are expected, and stays when there turn out
/// to be fewer: the head is as long for any `dataBytes` up to them.
std::vector<std::uint8_t> WaveHeader(const WaveFormat& format, std::uint64_t expectedBytes, std::uint64_t dataBytes);

}  // namespace mediakit_tool
