#include "VideoIO/StreamFilters/Handlers/AACByteStreamHandler.h"

#include "Logging/Checks.h"
#include "Platform/DirectShow/WaveFormatTags.h"
#include "VideoIO/FilterUtil/MediaTypes/FormatBlock.h"

namespace Norvane::MediaKit::Filters::details {

namespace {

constexpr std::uint32_t kHeaderLength = 7;  // 28 fixed and 28 variable bits
constexpr std::uint32_t kCrcLength = 2;

}  // namespace

std::uint32_t adts_header_length(std::span<const std::uint8_t> frame) {
    if (frame.size() < kHeaderLength) {
        return 0;
    }
    const bool is_sync = frame[0] == 0xFF && (frame[1] & 0xF0) == 0xF0;
    const bool is_layer_0 = (frame[1] & 0x06) == 0;
    if (!is_sync || !is_layer_0) {
        return 0;
    }
    const bool protection_absent = (frame[1] & 0x01) != 0;
    return kHeaderLength + (protection_absent ? 0 : kCrcLength);
}

HRESULT AAC_byte_stream_handler::write(IMediaSample& sample, vio::byte_stream& stream, WrittenSample& written) {
    std::span<const std::uint8_t> frame;
    QZCheckHRESULT(payload_of(sample, frame));
    written = {.offset = stream.tell(), .isSync = sample.IsSyncPoint() == S_OK};
    const std::uint32_t header = adts_header_length(frame);
    if (header >= frame.size()) {
        return S_OK;
    }
    frame = frame.subspan(header);
    written.size = static_cast<std::uint32_t>(frame.size());
    return stream.write(frame.data(), written.size) ? S_OK : E_FAIL;
}

HRESULT AAC_byte_stream_handler::media_type(CMediaType& mediaType) {
    QZCheckHRESULT(byte_stream_handler::media_type(mediaType));
    if (mediaType.subtype == MEDIASUBTYPE_MPEG_ADTS_AAC) {
        mediaType.subtype = MEDIASUBTYPE_RAW_AAC1;
    }
    if (mediaType.formattype == FORMAT_WaveFormatEx) {
        if (auto* format = qz_DSFilters::FormatBlock<WAVEFORMATEX>(mediaType)) {
            format->wFormatTag = WAVE_FORMAT_RAW_AAC1;
        }
    }
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters::details
