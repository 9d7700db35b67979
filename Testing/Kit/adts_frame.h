// AAC frames behind ADTS headers (ISO/IEC 13818-7). What lies in them is the caller's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mediakit_test {

struct adts_options {
    unsigned profile = 1;     ///< object type less 1: 1 is low complexity
    unsigned rate_index = 3;  ///< 3: 48000, 4: 44100
    unsigned channels = 2;
    bool crc = false;    ///< two more bytes in the header
    unsigned layer = 0;  ///< any other is wrong
};

inline std::vector<std::uint8_t> adts_frame(const std::vector<std::uint8_t>& payload, const adts_options& o = {}) {
    const std::size_t header_size = o.crc ? 9 : 7;
    const std::size_t length = header_size + payload.size();
    std::vector<std::uint8_t> frame = {
        0xFF,
        static_cast<std::uint8_t>(0xF0 | o.layer << 1 | (o.crc ? 0 : 1)),
        static_cast<std::uint8_t>(o.profile << 6 | o.rate_index << 2 | o.channels >> 2),
        static_cast<std::uint8_t>((o.channels & 3) << 6 | length >> 11),
        static_cast<std::uint8_t>(length >> 3),
        static_cast<std::uint8_t>((length & 7) << 5 | 0x1F),
        0xFC,
    };
    frame.resize(header_size, 0x5A);
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

/// The AudioSpecificConfig (ISO/IEC 14496-3) of the same stream.
inline std::vector<std::uint8_t> audio_specific_config(const adts_options& o = {}) {
    const unsigned object_type = o.profile + 1;
    return {static_cast<std::uint8_t>(object_type << 3 | o.rate_index >> 1),
            static_cast<std::uint8_t>((o.rate_index & 1) << 7 | o.channels << 3)};
}

}  // namespace mediakit_test
