#include "VideoIO/StreamFilters/Container/es_parser_base.h"

namespace vio::es {
namespace {

/// Groups of 7 bits that an expandable size may have (ISO/IEC 14496-1, 8.3.3).
constexpr unsigned most_size_bytes = 4;

}  // namespace

bool es_parser_base::parse() { return scan(position(), stream->size(), false); }

bool es_parser_base::scan(std::uint64_t offset, std::uint64_t, bool seek) {
    if (seek && !restart(offset)) return false;
    const std::size_t depth = chunk_stack.size();
    push_chunk(stream->size());
    read_descriptors(offset, 2, [](const auto&) {});
    close_chunks(depth);
    settle();
    return true;
}

template <class Take>
void es_parser_base::read_descriptors(std::uint64_t offset, std::uint64_t rest, Take take) {
    while (left() > rest) {
        const std::uint64_t before = left();
        take(read_descriptor(offset));
        // The stream may end before the chunk does.
        if (left() == before) return;
    }
}

std::shared_ptr<BaseDescriptor> es_parser_base::read_descriptor(std::uint64_t& offset) {
    std::uint8_t tag = 0;
    if (!read_number(tag)) return nullptr;

    std::uint32_t body = 0;
    std::uint32_t size_bytes = 0;
    std::uint8_t byte = 0;
    do {
        read_number(byte);  // past the chunk's end the byte before stands in
        body = body << 7 | (byte & 0x7F);
        ++size_bytes;
    } while ((byte & 0x80) != 0 && size_bytes < most_size_bytes);
    if (left() < body) return nullptr;

    auto descriptor = make_descriptor(main_descriptor_registry(), tag);
    descriptor->offset = offset;
    descriptor->header_size = 1 + size_bytes;
    descriptor->size = descriptor->header_size + body;
    descriptors.emplace(offset, descriptor);
    offset += descriptor->size;
    if (body != 0) {
        const std::size_t depth = chunk_stack.size();
        push_chunk(body);
        descriptor->accept(*this);
        close_chunks(depth);
    }
    return descriptor;
}

std::shared_ptr<BaseDescriptor> es_parser_base::find_descriptor(std::uint8_t tag, std::uint32_t index,
                                                                std::uint64_t& offset, std::uint64_t size) {
    if (!descriptors.contains(offset) && !scan(offset, size, true)) return nullptr;
    for (auto at = descriptors.find(offset); at != descriptors.end() && size != 0; at = descriptors.find(offset)) {
        const BaseDescriptor& descriptor = *at->second;
        if (descriptor.tag == tag && index-- == 0) return at->second;
        if (descriptor.size > size) return nullptr;
        offset += descriptor.size;
        size -= descriptor.size;
    }
    return nullptr;
}

void es_parser_base::visited(DecoderSpecificInfo& descriptor) {
    read_vector(descriptor.data, descriptor.size - descriptor.header_size);
}

void es_parser_base::visited(DecoderConfigDescriptor& descriptor) {
    read_number(descriptor.object_type_indication);
    std::uint8_t bits = 0;
    if (read_number(bits)) {
        descriptor.stream_type = bits >> 2;
        descriptor.up_stream = bits >> 1 & 1;
        descriptor.reserved = bits & 1;
    }
    std::array<std::uint8_t, 3> buffer_size{};
    if (read(buffer_size.data(), buffer_size.size()))
        descriptor.buffer_size_db = buffer_size[0] | buffer_size[1] << 8 | buffer_size[2] << 16;
    read_number(descriptor.max_bitrate);
    read_number(descriptor.avg_bitrate);

    read_descriptors(position(), 0, [&](const std::shared_ptr<BaseDescriptor>& child) {
        if (auto info = std::dynamic_pointer_cast<DecoderSpecificInfo>(child)) descriptor.dec_specific_info = info;
        if (auto profile = std::dynamic_pointer_cast<ProfileLevelIndicationIndexDescriptor>(child))
            descriptor.profile_level_indication_index_descrs.push_back(profile);
    });
}

void es_parser_base::visited(ES_Descriptor& descriptor) {
    descriptor.header_size += 3;
    read_number(descriptor.ES_ID);
    std::uint8_t bits = 0;
    read_number(bits);
    descriptor.stream_dependence_flag = bits & 0x80;
    descriptor.url_flag = bits & 0x40;
    descriptor.ocr_stream_flag = bits & 0x20;
    descriptor.stream_priority = bits & 0x1F;
    if (descriptor.stream_dependence_flag != 0) read_number(descriptor.depends_on_ES_ID);
    if (descriptor.url_flag != 0) {
        read_number(descriptor.url_length);
        read(descriptor.url_string.data(), descriptor.url_string.size());
    }
    if (descriptor.ocr_stream_flag != 0) read_number(descriptor.OCR_ES_ID);

    read_descriptors(position(), 2, [&](const std::shared_ptr<BaseDescriptor>& child) {
        if (auto config = std::dynamic_pointer_cast<DecoderConfigDescriptor>(child))
            descriptor.dec_config_descr = config;
        if (auto sl = std::dynamic_pointer_cast<SLConfigDescriptor>(child)) descriptor.sl_config_descr = sl;
    });
}

}  // namespace vio::es
