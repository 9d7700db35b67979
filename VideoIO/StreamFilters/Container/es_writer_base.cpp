#include "VideoIO/StreamFilters/Container/es_writer_base.h"

#include "VideoIO/StreamFilters/Container/field_writer.h"
#include "VideoIO/StreamFilters/Container/size_byte_stream.h"

namespace vio::es {
namespace {

constexpr unsigned group_bits = 7;
constexpr std::uint8_t group_mask = 0x7F;
constexpr std::uint8_t more_groups = 0x80;

/// Bytes that an expandable size takes (ISO/IEC 14496-1, 8.3.3).
std::uint32_t length_of_size(std::uint32_t size) {
    std::uint32_t bytes = 1;
    while (size >>= group_bits) ++bytes;
    return bytes;
}

/// Writes are not checked.
mp4::field_writer body(byte_stream& stream) {
    mp4::field_writer out(stream);
    out.unchecked();
    return out;
}

}  // namespace

void es_writer_base::add(std::shared_ptr<BaseDescriptor> descriptor, BaseDescriptor* parent) {
    entries.push_back({parent, std::move(descriptor)});
}

void es_writer_base::write(std::shared_ptr<byte_stream> target) {
    measure();
    if (target == nullptr) return;
    stream = std::move(target);
    for (const item& entry : entries) entry.object->accept(*this);
}

void es_writer_base::measure() {
    stream = std::make_shared<size_byte_stream>();
    for (const item& entry : entries) entry.object->size = 0;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        BaseDescriptor& descriptor = *entry->object;
        descriptor.accept(*this);
        descriptor.size += static_cast<std::uint32_t>(stream->tell());
        if (entry->parent != nullptr) entry->parent->size += descriptor.size + 1 + length_of_size(descriptor.size);
        stream->seek(0);
    }
}

void es_writer_base::write_header(const BaseDescriptor& descriptor) {
    if (dynamic_cast<const size_byte_stream*>(stream.get()) != nullptr) return;
    auto out = body(*stream);
    out(static_cast<std::uint8_t>(descriptor.tag));
    if (descriptor.size == 0) return out.zeros(4);
    for (std::uint32_t rest = descriptor.size; rest != 0; rest >>= group_bits) {
        const bool more = (rest >> group_bits) != 0;
        out(static_cast<std::uint8_t>((rest & group_mask) | (more ? more_groups : 0)));
    }
}

void es_writer_base::write_fields(const SLConfigDescriptor& descriptor) { body (*stream)(descriptor.predefined); }

void es_writer_base::write_fields(const DecoderSpecificInfo& descriptor) { body(*stream).table(descriptor.data); }

void es_writer_base::write_fields(const DecoderConfigDescriptor& descriptor) {
    auto out = body(*stream);
    out(descriptor.object_type_indication);
    out(static_cast<std::uint8_t>(descriptor.stream_type << 2 | (descriptor.up_stream != 0) << 1 |
                                  (descriptor.reserved != 0)));
    out.zeros(3);
    out(descriptor.max_bitrate, descriptor.avg_bitrate);
    if (descriptor.dec_specific_info != nullptr)
        static_cast<const DecoderSpecificInfo&>(*descriptor.dec_specific_info).accept(*this);
}

void es_writer_base::write_fields(const ES_Descriptor& descriptor) {
    auto out = body(*stream);
    out(descriptor.ES_ID);
    out(static_cast<std::uint8_t>((descriptor.stream_dependence_flag != 0) | (descriptor.url_flag != 0) << 1 |
                                  (descriptor.ocr_stream_flag != 0) << 2 | descriptor.stream_priority << 3));
    if (descriptor.stream_dependence_flag != 0) out(descriptor.depends_on_ES_ID);
    if (descriptor.url_flag != 0) {
        out(descriptor.url_length);
        out.bytes(descriptor.url_string.data(), descriptor.url_string.size());
    }
    if (descriptor.ocr_stream_flag != 0) out(descriptor.OCR_ES_ID);
}

void es_writer_base::write_fields(const InitialObjectDescriptor& descriptor) {
    auto out = body(*stream);
    out(static_cast<std::uint16_t>(descriptor.object_descriptor_id << 6 | (descriptor.url_flag != 0) << 5 |
                                   (descriptor.include_inline_profile_level_flag != 0) << 4 | 0xF));
    out(descriptor.od_profile_level, descriptor.scene_profile_level, descriptor.audio_profile_level,
        descriptor.visual_profile_level, descriptor.graphics_profile_level);
}

void es_writer_base::write_fields(const ES_ID_Inc& descriptor) { body (*stream)(descriptor.track_ID); }

}  // namespace vio::es
