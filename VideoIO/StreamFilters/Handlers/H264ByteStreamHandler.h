// Tracks of H.264.
#pragma once

#include "VideoIO/StreamFilters/Handlers/AVCSplitter.h"
#include "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler.h"

namespace Norvane::MediaKit::Filters::details {

/// Samples with start codes (subtype `H264`), written with lengths. Pictures and parameter sets go to the file; SEI,
/// delimiters and what else there is do not, unless they are a sample's last unit.
class H264_byte_stream_handler : public byte_stream_handler, private AVCSplitter {
public:
    /// Captures the parameter sets of the first sample, which may be null.
    H264_byte_stream_handler(const CMediaType& mediaType, IMediaSample* firstSample);

    HRESULT write(IMediaSample& sample, vio::byte_stream& stream, WrittenSample& written) override;
    HRESULT decoder_configuration(std::vector<std::uint8_t>& record) override;
    /// An `AVC1` type made from the captured parameter sets; E_FAIL before there are any.
    HRESULT media_type(CMediaType& mediaType) override;
};

/// Samples that hold lengths already (subtype `AVC1`): written as they are. The parameter sets are the media type's.
class avc1_byte_stream_handler : public byte_stream_handler, private AVCSplitter {
public:
    explicit avc1_byte_stream_handler(const CMediaType& mediaType);

    HRESULT decoder_configuration(std::vector<std::uint8_t>& record) override;
};

}  // namespace Norvane::MediaKit::Filters::details
