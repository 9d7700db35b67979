#include "VideoIO/StreamFilters/Container/mp4_writer.h"

namespace vio::mp4 {
namespace {

/// The compressor name's place: a length byte and 31 bytes (ISO/IEC 14496-12, 12.1.3).
constexpr std::uint32_t name_field_size = 32;

}  // namespace

void mp4_writer::visit(const sample_entry& box) {
    write_box_header(box);
    field_writer out = payload();
    out.zeros(6);
    out(box.data_reference_index);
}

void mp4_writer::visit(const visual_sample_entry& box) {
    visit(static_cast<const sample_entry&>(box));
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

void mp4_writer::visit(const audio_sample_entry& box) {
    // Versions 1 and 2 are QuickTime's and are only read.
    core::require(box.version == 0);
    visit(static_cast<const sample_entry&>(box));
    field_writer out = payload();
    out(box.version, box.revision_level, box.vendor, box.out_channelcount, box.out_samplesize);
    out.zeros(4);
    out(box.out_samplerate);
}

void mp4_writer::visit(const avc_sample_entry& box) { visit(static_cast<const visual_sample_entry&>(box)); }
void mp4_writer::visit(const avc2_sample_entry& box) { visit(static_cast<const visual_sample_entry&>(box)); }
void mp4_writer::visit(const hevc_sample_entry& box) { visit(static_cast<const visual_sample_entry&>(box)); }
void mp4_writer::visit(const mp4_visual_sample_entry& box) { visit(static_cast<const visual_sample_entry&>(box)); }
void mp4_writer::visit(const mp4_audio_sample_entry& box) { visit(static_cast<const audio_sample_entry&>(box)); }

void mp4_writer::visit(const avc_configuration_box& box) {
    write_box_header(box);
    payload().table(box.record);
}

void mp4_writer::visit(const hevc_configuration_box& box) {
    write_box_header(box);
    payload().table(box.record);
}

void mp4_writer::visit(const esd_box& box) {
    write_full_box_header(box);
    payload(on_failure::ignored).table(box.data);
}

void mp4_writer::visit(const field_Image_Description_Extension& box) {
    write_box_header(box);
    payload()(box.field_count, box.field_ordering);
}

}  // namespace vio::mp4
