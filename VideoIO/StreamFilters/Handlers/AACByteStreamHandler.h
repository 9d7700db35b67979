// Tracks of AAC.
#pragma once

#include "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler.h"

#include <span>

namespace Norvane::MediaKit::Filters::details {

/// Frames with an ADTS header lose it, since the track's configuration says the same; others are written whole.
class AAC_byte_stream_handler : public byte_stream_handler {
public:
    using byte_stream_handler::byte_stream_handler;

    HRESULT write(IMediaSample& sample, vio::byte_stream& stream, WrittenSample& written) override;
    /// The input's type, as raw frames.
    HRESULT media_type(CMediaType& mediaType) override;
};

/// Bytes of the ADTS header (ISO/IEC 13818-7, clause 6.2) with which the frame begins: 7, or 9 with a CRC; 0 when it
/// begins with none.
std::uint32_t adts_header_length(std::span<const std::uint8_t> frame);

}  // namespace Norvane::MediaKit::Filters::details
