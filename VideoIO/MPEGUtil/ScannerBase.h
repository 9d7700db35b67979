// Decides from the first bytes of a stream what kind of stream it is.
#pragma once

#include "Platform/Com/Types.h"

#include <cstddef>
#include <cstdint>

namespace qz_MPEGUtil {

/// Kinds of streams, as flags.
enum StreamType : std::uint32_t {
    STREAM_UNKNOWN = 0,          // or not enough data
    STREAM_OTHER_CONTAINER = 1,  // RIFF, ISO file, FLV or ASF
    STREAM_MPEG1_SYSTEM = 0x80,
    STREAM_MPEG_AUDIO = 0x220,  // or ADTS
    STREAM_PES = 0x400,
    STREAM_MPEG2_PROGRAM = 0x800,  // or an elementary MPEG video stream
    STREAM_TRANSPORT_188 = 0x1000,
    STREAM_TRANSPORT_192 = 0x2000,
    STREAM_H264 = 0x10000,
    STREAM_AC3 = 0x8000000,
};

class ScannerBase {
public:
    /// One of StreamType. Less than 588 bytes, the room of a few transport packets, tell nothing.
    static std::uint32_t DetectStreamType(const BYTE* pBuffer, std::size_t size);
};

}  // namespace qz_MPEGUtil
