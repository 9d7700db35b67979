// Between a media sample and the bytes of a track: one handler per track knows the codec's framing.
#pragma once

#include "MediaKit/IRecordingPolicy.h"
#include "Platform/DirectShow/IMediaSample.h"
#include "Platform/DirectShow/MediaType.h"
#include "VideoIO/StreamFilters/Container/byte_stream.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Norvane::MediaKit::Filters::details {

/// What became of a sample in the file.
struct WrittenSample {
    std::uint64_t offset = 0;  ///< position of the first byte in the stream
    std::uint32_t size = 0;    ///< bytes written; may be 0 or differ from the sample's length
    bool isSync = false;
};

/// The handler of a codec without framing of its own; codecs that have one derive from it.
///
/// Threads: no lock; a handler belongs to one track and is called under its filter's lock. Samples and
/// streams are borrowed for the call. The operations keep this order.
class byte_stream_handler {
public:
    explicit byte_stream_handler(const CMediaType& mediaType) : m_mediaType(mediaType) {}
    byte_stream_handler(const byte_stream_handler&) = delete;
    byte_stream_handler& operator=(const byte_stream_handler&) = delete;

    virtual ~byte_stream_handler() = default;

    /// Fills `sample` with the bytes of the stream that the sample's start and stop time name (they are byte
    /// positions here, not times) and sets its actual length. E_INVALIDARG for a range that runs backwards,
    /// VFW_E_BUFFER_OVERFLOW for one that the sample's buffer does not hold, E_FAIL when the stream ends before.
    virtual HRESULT read(IMediaSample& sample, vio::byte_stream& stream);

    /// Appends the sample's payload to the stream. E_FAIL when the stream refuses; `written` is then void.
    virtual HRESULT write(IMediaSample& sample, vio::byte_stream& stream, WrittenSample& written);

    /// The record for `avcC` or `hvcC`; empty for a codec without one.
    virtual HRESULT decoder_configuration(std::vector<std::uint8_t>& record);

    /// The media type of the track as written.
    virtual HRESULT media_type(CMediaType& mediaType);

protected:
    const CMediaType& input_type() const { return m_mediaType; }

    /// The sample's valid bytes, which stay the sample's.
    static HRESULT payload_of(IMediaSample& sample, std::span<const std::uint8_t>& payload);

private:
    const CMediaType m_mediaType;
};

/// Big-endian 16-bit samples of QuickTime files: swapped on reading.
class pcm16be_byte_stream_handler : public byte_stream_handler {
public:
    using byte_stream_handler::byte_stream_handler;
    HRESULT read(IMediaSample& sample, vio::byte_stream& stream) override;
};

/// The handler for a media type. `firstSample`, when there is one, may give parameter sets that the type lacks. Never
/// null today: a type without framing of its own has the plain handler.
std::unique_ptr<byte_stream_handler> create_byte_stream_handler(const CMediaType& mediaType, IMediaSample* firstSample,
                                                                const RecordingOptions& options = {});

}  // namespace Norvane::MediaKit::Filters::details
