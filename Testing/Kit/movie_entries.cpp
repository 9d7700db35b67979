#include "Testing/Kit/movie_entries.h"

namespace mediakit_test {
namespace {

/// A descriptor of ISO/IEC 14496-1 with the shortest length that fits.
box_builder descriptor(std::uint8_t tag, const box_builder& body) {
    box_builder built;
    built.u8(tag);
    if (body.size() >= 0x80) built.u8(static_cast<std::uint8_t>(0x80 | body.size() >> 7));
    return built.u8(body.size() & 0x7F).add(body);
}

/// The one unit of a stream, without its start code.
byte_vector unit_of(const byte_vector& stream) { return split_annex_b(stream).front(); }

box_builder counted_unit(const byte_vector& unit) {
    return box_builder().u16(static_cast<std::uint16_t>(unit.size())).add(unit);
}

}  // namespace

box_builder visual_entry(std::string_view type, unsigned width, unsigned height, const box_builder& children) {
    box_builder entry;
    entry.zeros(6).u16(1).zeros(16).u16(static_cast<std::uint16_t>(width)).u16(static_cast<std::uint16_t>(height));
    entry.u32(0x480000).u32(0x480000).zeros(4).u16(1).zeros(32).u16(24).u16(0xFFFF);
    return make_box(type, entry.add(children));
}

box_builder audio_entry(std::string_view type, unsigned channels, unsigned bits, unsigned rate,
                        const box_builder& children) {
    box_builder entry;
    entry.zeros(6).u16(1).zeros(8).u16(static_cast<std::uint16_t>(channels)).u16(static_cast<std::uint16_t>(bits));
    return make_box(type, entry.zeros(4).u32(rate << 16).add(children));
}

box_builder avcc_record(const h264_units& units) {
    const byte_vector sps = unit_of(units.sps());
    const byte_vector pps = unit_of(units.pps());
    box_builder record;
    record.u8(1).u8(sps[1]).u8(sps[2]).u8(sps[3]).u8(0xFF);
    return record.u8(0xE1).add(counted_unit(sps)).u8(1).add(counted_unit(pps));
}

box_builder hvcc_record(const h265_units& units) {
    box_builder record;
    record.u8(1).u8(1).u32(0x60000000).u16(0x9000).u32(0).u8(93);            // Main profile, level 3.1
    record.u16(0xF000).u8(0xFC).u8(0xFD).u8(0xF8).u8(0xF8).u16(0).u8(0x0F);  // 4:2:0, 8 bits, 4-byte lengths
    const byte_vector sets[] = {units.vps(), units.sps(), units.pps()};
    record.u8(std::size(sets));
    for (const byte_vector& set : sets) {
        const byte_vector unit = unit_of(set);
        record.u8(static_cast<std::uint8_t>(0x80 | unit[0] >> 1)).u16(1).add(counted_unit(unit));
    }
    return record;
}

box_builder esds_box(std::uint8_t object_type, const byte_vector& specific_info, std::uint32_t average_bit_rate) {
    const bool visual = object_type < 0x40 || object_type == 0x6C;
    box_builder config;
    config.u8(object_type).u8(visual ? 0x11 : 0x15).u24(0).u32(average_bit_rate).u32(average_bit_rate);
    if (!specific_info.empty()) config.add(descriptor(5, box_builder().add(specific_info)));
    box_builder stream;
    stream.u16(0).u8(0).add(descriptor(4, config)).add(descriptor(6, box_builder().u8(2)));
    return make_full_box("esds", 0, 0, descriptor(3, stream));
}

box_builder avc1_entry(const h264_units& units) {
    return visual_entry("avc1", units.width(), units.height(), make_box("avcC", avcc_record(units)));
}

box_builder hvc1_entry(const h265_units& units) {
    return visual_entry("hvc1", units.width(), units.height(), make_box("hvcC", hvcc_record(units)));
}

box_builder mp4v_entry(unsigned width, unsigned height, const byte_vector& specific_info, std::uint8_t object_type) {
    return visual_entry("mp4v", width, height, esds_box(object_type, specific_info));
}

box_builder aac_entry(const adts_options& options, unsigned rate) {
    return mp4a_entry(0x40, audio_specific_config(options), options.channels, rate);
}

box_builder mp4a_entry(std::uint8_t object_type, const byte_vector& specific_info, unsigned channels, unsigned rate) {
    return audio_entry("mp4a", channels, 16, rate, esds_box(object_type, specific_info));
}

box_builder ac3_entry(unsigned channels, unsigned rate) {
    return audio_entry("ac-3", channels, 16, rate, make_box("dac3", box_builder().u24(0x101140)));
}

}  // namespace mediakit_test
