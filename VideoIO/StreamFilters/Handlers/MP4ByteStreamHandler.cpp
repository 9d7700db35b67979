#include "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypePredicates.h"
#include "VideoIO/StreamFilters/Handlers/AACByteStreamHandler.h"
#include "VideoIO/StreamFilters/Handlers/H264ByteStreamHandler.h"
#include "VideoIO/StreamFilters/Handlers/H265ByteStreamHandler.h"

#include <algorithm>
#include <utility>

namespace Norvane::MediaKit::Filters::details {

HRESULT byte_stream_handler::payload_of(IMediaSample& sample, std::span<const std::uint8_t>& payload) {
    BYTE* data = nullptr;
    QZCheckHRESULT(sample.GetPointer(&data));
    payload = {data, static_cast<std::size_t>(std::max<LONG>(sample.GetActualDataLength(), 0))};
    return S_OK;
}

HRESULT byte_stream_handler::read(IMediaSample& sample, vio::byte_stream& stream) {
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    QZCheckHRESULT(sample.GetTime(&start, &stop));
    QZCheckCondition(start >= 0 && start <= stop, E_INVALIDARG);
    QZCheckCondition(stop - start <= sample.GetSize(), VFW_E_BUFFER_OVERFLOW);
    const auto length = static_cast<LONG>(stop - start);
    BYTE* data = nullptr;
    QZCheckHRESULT(sample.GetPointer(&data));
    QZCheckCondition(stream.seek(static_cast<std::uint64_t>(start)), E_FAIL);
    QZCheckCondition(stream.read(data, static_cast<std::uint32_t>(length)), E_FAIL);
    return sample.SetActualDataLength(length);
}

HRESULT byte_stream_handler::write(IMediaSample& sample, vio::byte_stream& stream, WrittenSample& written) {
    std::span<const std::uint8_t> payload;
    QZCheckHRESULT(payload_of(sample, payload));
    written = {.offset = stream.tell(),
               .size = static_cast<std::uint32_t>(payload.size()),
               .isSync = sample.IsSyncPoint() == S_OK};
    return payload.empty() || stream.write(payload.data(), written.size) ? S_OK : E_FAIL;
}

HRESULT byte_stream_handler::decoder_configuration(std::vector<std::uint8_t>& record) {
    record.clear();
    return S_OK;
}

HRESULT byte_stream_handler::media_type(CMediaType& mediaType) { return mediaType.Set(m_mediaType); }

HRESULT pcm16be_byte_stream_handler::read(IMediaSample& sample, vio::byte_stream& stream) {
    QZCheckHRESULT(byte_stream_handler::read(sample, stream));
    BYTE* data = nullptr;
    QZCheckHRESULT(sample.GetPointer(&data));
    for (LONG pairs = sample.GetActualDataLength() / 2; pairs > 0; --pairs, data += 2) {
        std::swap(data[0], data[1]);
    }
    return S_OK;
}

std::unique_ptr<byte_stream_handler> create_byte_stream_handler(const CMediaType& mediaType, IMediaSample* firstSample,
                                                                const RecordingOptions& options) {
    if (mediaType.subtype == MEDIASUBTYPE_H264) {
        return std::make_unique<H264_byte_stream_handler>(mediaType, firstSample);
    }
    if (mediaType.subtype == MEDIASUBTYPE_AVC1) {
        return std::make_unique<avc1_byte_stream_handler>(mediaType);
    }
    if (mediaType.subtype == MEDIASUBTYPE_H265) {
        return std::make_unique<H265_byte_stream_handler>(mediaType, options);
    }
    if (qz_DSFilters::IsAACSubtype(mediaType.subtype)) {
        return std::make_unique<AAC_byte_stream_handler>(mediaType);
    }
    return std::make_unique<byte_stream_handler>(mediaType);
}

}  // namespace Norvane::MediaKit::Filters::details
