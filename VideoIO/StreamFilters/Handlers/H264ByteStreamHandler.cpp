#include "VideoIO/StreamFilters/Handlers/H264ByteStreamHandler.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"
#include "VideoIO/StreamFilters/Handlers/UnitWriter.h"

namespace Norvane::MediaKit::Filters::details {

using namespace ProtectedLibrary;

namespace {

/// Slices and their partitions (1 to 5), parameter sets (7, 8, 13) and auxiliary pictures (19).
constexpr std::uint32_t kWrittenTypes = 0x000821BE;

constexpr bool is_written(std::uint32_t type) { return (kWrittenTypes >> type & 1) != 0; }

constexpr LONG kMacroblockSize = 16;

}  // namespace

H264_byte_stream_handler::H264_byte_stream_handler(const CMediaType& mediaType, IMediaSample* firstSample)
    : byte_stream_handler(mediaType) {
    std::span<const std::uint8_t> payload;
    if (firstSample != nullptr && SUCCEEDED(payload_of(*firstSample, payload))) {
        capture_all(payload);
    }
}

HRESULT H264_byte_stream_handler::write(IMediaSample& sample, vio::byte_stream& stream, WrittenSample& written) {
    std::span<const std::uint8_t> payload;
    QZCheckHRESULT(payload_of(sample, payload));
    written = {.offset = stream.tell()};
    nal_buffer data{
        .base = payload.data(), .size = static_cast<std::uint32_t>(payload.size()), .flags = nal_buffer::complete};
    nal_buffer* unit = nullptr;
    while (data.size > kLastBytes) {
        const std::uint32_t type = scanner().next_nal_unit(&data, unit);
        if (unit == nullptr) {
            continue;
        }
        const std::span<const std::uint8_t> bytes(unit->begin(), unit->size);
        capture(type, bytes);
        written.isSync = written.isSync || type == AVC_NAL_IDR_SLICE;
        // A sample's last unit is written whatever it is.
        if ((is_written(type) || scanner().unit_reached_end()) && !write_unit(stream, bytes, written.size)) {
            return E_FAIL;
        }
    }
    return S_OK;
}

HRESULT H264_byte_stream_handler::decoder_configuration(std::vector<std::uint8_t>& record) {
    record = configuration_record();
    return S_OK;
}

HRESULT H264_byte_stream_handler::media_type(CMediaType& mediaType) {
    const AVCSeqParamSet* header = current_seq_param_set();
    QZCheckCondition(header != nullptr, E_FAIL);
    const SIZE size = {static_cast<LONG>(header->frame_width_in_mbs) * kMacroblockSize,
                       static_cast<LONG>(header->frame_height_in_mbs) * kMacroblockSize};
    QZCheckHRESULT(qz_DSFilters::BuildAVC1MediaType(size, size, 0, 0, 0, header->profile_idc, header->level_idc,
                                                    parameter_sets(), kUnitLengthSize, mediaType));
    REFERENCE_TIME frame_time = 0;
    if (FAILED(qz_DSFilters::GetAvgTimePerFrame(mediaType, frame_time)) || frame_time == 0) {
        if (SUCCEEDED(qz_DSFilters::GetAvgTimePerFrame(input_type(), frame_time))) {
            QZCheckHRESULT(qz_DSFilters::SetAvgTimePerFrame(mediaType, frame_time));
        }
    }
    return S_OK;
}

avc1_byte_stream_handler::avc1_byte_stream_handler(const CMediaType& mediaType) : byte_stream_handler(mediaType) {
    std::vector<BYTE> sets;
    DWORD length_size = 0;
    if (SUCCEEDED(qz_DSFilters::GetAVCConfig(mediaType, sets, length_size)) && !sets.empty()) {
        // The start of one more unit, so that the last set ends in front of it.
        sets.insert(sets.end(), {0, 0, 0, 1, AVC_NAL_SEI});
        capture_all(sets);
    }
}

HRESULT avc1_byte_stream_handler::decoder_configuration(std::vector<std::uint8_t>& record) {
    record = configuration_record();
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters::details
