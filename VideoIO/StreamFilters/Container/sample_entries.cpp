#include "VideoIO/StreamFilters/Container/sample_entries.h"

#include "VideoIO/StreamFilters/Container/mp4_parser.h"
#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {
namespace {

/// The compressor name's place: a length byte and 31 bytes (ISO/IEC 14496-12, 12.1.3).
constexpr std::uint32_t name_field_size = 32;

}  // namespace

// The entries are read by mp4_sampleentry_parser.

void mp4_writer::write_fields(const sample_entry& box) {
    field_writer out = payload();
    out.zeros(6);
    out(box.data_reference_index);
}

void mp4_writer::write_fields(const visual_sample_entry& box) {
    write_fields(static_cast<const sample_entry&>(box));
    field_writer out = payload();
    out.require(box.compressorname.size() < name_field_size);
    out.zeros(16);
    out(box.width, box.height, box.horizresolution, box.vertresolution);
    out.zeros(4);
    out(box.frame_count);
    const auto length = static_cast<std::uint8_t>(box.compressorname.size());
    out(length);
    if (length != 0) out.bytes(box.compressorname.data(), length);
    if (length < name_field_size - 1) out.zeros(name_field_size - 1 - length);
    // The constant is -1, the value that ISO/IEC 14496-12 asks for in QuickTime's colour table id.
    out(box.depth, std::uint16_t{0xFFFF});
}

void mp4_writer::write_fields(const audio_sample_entry& box) {
    // Versions 1 and 2 are QuickTime's and are only read.
    core::require(box.version == 0);
    write_fields(static_cast<const sample_entry&>(box));
    field_writer out = payload();
    out(box.version, box.revision_level, box.vendor, box.out_channelcount, box.out_samplesize);
    out.zeros(4);
    out(box.out_samplerate);
}

// By hand: reading fails where version and flags are missing, and writing is not checked.
void mp4_parser::read_fields(esd_box& box) {
    field_reader in = payload();
    in.require(box.size >= box.header_size + 4ULL);
    in.rest(box.data);
}

void mp4_writer::write_fields(const esd_box& box) {
    field_writer out = payload();
    out.unchecked();
    out.table(box.data);
}

}  // namespace vio::mp4
