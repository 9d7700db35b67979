#include "VideoIO/StreamFilters/Handlers/H265ByteStreamHandler.h"

#include "Logging/Checks.h"
#include "VideoIO/MPEGUtil/AnnexBWalker.h"
#include "VideoIO/StreamFilters/Handlers/UnitWriter.h"

namespace Norvane::MediaKit::Filters::details {

namespace {

// NAL unit types of ITU-T H.265, table 7-1.
constexpr std::uint32_t kFirstRandomAccess = 16;  // BLA_W_LP
constexpr std::uint32_t kIdrWithRadl = 19;        // IDR_W_RADL
constexpr std::uint32_t kLastRandomAccess = 21;   // CRA_NUT
constexpr std::uint32_t kVps = 32;
constexpr std::uint32_t kSps = 33;
constexpr std::uint32_t kPps = 34;

constexpr std::size_t kLongestSet = 65535;  // that the configuration record can hold

}  // namespace

H265_byte_stream_handler::H265_byte_stream_handler(const CMediaType& mediaType, const RecordingOptions& options)
    : byte_stream_handler(mediaType), m_options(options) {
    m_record.configurationVersion = 1;
    m_record.lengthSizeMinusOne = kUnitLengthSize - 1;
}

HRESULT H265_byte_stream_handler::write(IMediaSample& sample, vio::byte_stream& stream, WrittenSample& written) {
    Unit payload;
    QZCheckHRESULT(payload_of(sample, payload));
    written = {.offset = stream.tell()};
    return m_options.keepEveryH265Unit ? write_every_unit(payload, stream, written)
                                       : write_reported_units(payload, stream, written);
}

HRESULT H265_byte_stream_handler::write_reported_units(Unit payload, vio::byte_stream& stream, WrittenSample& written) {
    using qz_MPEGUtil::nal_buffer;
    nal_buffer data{
        .base = payload.data(), .size = static_cast<std::uint32_t>(payload.size()), .flags = nal_buffer::complete};
    nal_buffer* unit = nullptr;
    while (data.size > kLastBytes) {
        const std::uint32_t type = next_nal_unit(&data, unit);
        if (unit != nullptr && !take_unit(type, {unit->begin(), unit->size}, stream, written)) {
            return E_FAIL;
        }
    }
    return S_OK;
}

HRESULT H265_byte_stream_handler::write_every_unit(Unit payload, vio::byte_stream& stream, WrittenSample& written) {
    qz_MPEGUtil::AnnexBWalker units(payload);
    for (Unit unit; units.next(unit);) {
        if (!take_unit(unit.front() >> 1 & 0x3F, unit, stream, written)) {
            return E_FAIL;
        }
    }
    return S_OK;
}

bool H265_byte_stream_handler::take_unit(std::uint32_t type, Unit unit, vio::byte_stream& stream,
                                         WrittenSample& written) {
    QZReport(3, L"NAL_UNIT_TYPE: %d (%d)", static_cast<int>(type), static_cast<int>(unit.size()));
    written.isSync = written.isSync || is_sync(type);
    capture(type, unit);
    return write_unit(stream, unit, written.size);
}

void H265_byte_stream_handler::capture(std::uint32_t type, Unit unit) {
    if (type < kVps || type > kPps) {
        return;
    }
    std::vector<std::uint8_t>& stored = type == kVps ? m_vps : type == kSps ? m_sps : m_pps;
    if (stored.empty() && unit.size() <= kLongestSet) {
        stored.assign(unit.begin(), unit.end());
    }
}

bool H265_byte_stream_handler::is_sync(std::uint32_t type) const {
    return m_options.everyRandomAccessPictureIsSync ? type >= kFirstRandomAccess && type <= kLastRandomAccess
                                                    : type == kIdrWithRadl;
}

HRESULT H265_byte_stream_handler::decoder_configuration(std::vector<std::uint8_t>& record) {
    qz_MPEGUtil::HEVCDecoderConfigurationRecord with_sets = m_record;
    for (const auto* set : {&m_vps, &m_sps, &m_pps}) {
        if (!set->empty()) {
            with_sets.AddParameterSet(*set);
        }
    }
    record = with_sets.Serialize();
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters::details
