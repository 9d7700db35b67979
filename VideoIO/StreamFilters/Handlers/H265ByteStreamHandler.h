// Tracks of H.265.
#pragma once

#include "VideoIO/MPEGUtil/HEVCDecoderConfigurationRecord.h"
#include "VideoIO/MPEGUtil/NALUnitSplitter.h"
#include "VideoIO/StreamFilters/Handlers/MP4ByteStreamHandler.h"

#include <span>

namespace Norvane::MediaKit::Filters::details {

/// Samples with start codes (subtype `H265`), written with lengths, all units that the scanner reports. The first
/// parameter set of each kind describes the track.
class H265_byte_stream_handler : public byte_stream_handler, private qz_MPEGUtil::HEVCNALUnitSplitter {
public:
    H265_byte_stream_handler(const CMediaType& mediaType, const RecordingOptions& options);

    HRESULT write(IMediaSample& sample, vio::byte_stream& stream, WrittenSample& written) override;
    HRESULT decoder_configuration(std::vector<std::uint8_t>& record) override;

private:
    using Unit = std::span<const std::uint8_t>;

    HRESULT write_reported_units(Unit payload, vio::byte_stream& stream, WrittenSample& written);
    HRESULT write_every_unit(Unit payload, vio::byte_stream& stream, WrittenSample& written);
    bool take_unit(std::uint32_t type, Unit unit, vio::byte_stream& stream, WrittenSample& written);
    void capture(std::uint32_t type, Unit unit);
    bool is_sync(std::uint32_t type) const;

    const RecordingOptions m_options;
    qz_MPEGUtil::HEVCDecoderConfigurationRecord m_record;  // without parameter sets
    std::vector<std::uint8_t> m_vps;
    std::vector<std::uint8_t> m_sps;
    std::vector<std::uint8_t> m_pps;
};

}  // namespace Norvane::MediaKit::Filters::details
