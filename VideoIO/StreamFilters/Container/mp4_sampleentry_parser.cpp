#include "VideoIO/StreamFilters/Container/mp4_sampleentry_parser.h"

namespace vio::mp4 {
namespace {

/// Bytes of a visual entry behind the data reference index.
constexpr std::uint32_t visual_fields_size = 70;

/// What a QuickTime audio entry holds behind the data reference index, by version.
struct audio_layout {
    std::uint32_t size;   ///< all fixed fields
    std::uint32_t extra;  ///< those behind the fields of version 0
};
constexpr audio_layout audio_layouts[] = {{20, 0}, {36, 16}, {56, 36}};

/// Says that it derives from nothing but std::exception, which some callers tell from the others.
struct not_implemented : std::exception {
    const char* what() const noexcept override { return "not impl"; }
};

/// Numbers of up to 32 bits out of a few bytes, most significant bit first. Past the end there are zeros.
class bit_fields {
public:
    explicit bit_fields(const std::vector<std::uint8_t>& bytes) : bytes_(bytes) {}

    std::uint32_t take(unsigned bits) {
        std::uint32_t value = 0;
        for (; bits != 0; --bits, ++position_) {
            const std::size_t byte = position_ / 8;
            const unsigned bit = byte < bytes_.size() ? bytes_[byte] >> (7 - position_ % 8) & 1U : 0U;
            value = value << 1 | bit;
        }
        return value;
    }

private:
    const std::vector<std::uint8_t>& bytes_;
    std::size_t position_ = 0;
};

}  // namespace

void mp4_sampleentry_parser::read_fields(sample_entry& box) {
    box.header_size += 8;
    field_reader in = payload();
    in.zeros(6);
    in(box.data_reference_index);
}

void mp4_sampleentry_parser::read_fields(visual_sample_entry& box) {
    read_fields(static_cast<sample_entry&>(box));
    box.header_size += visual_fields_size;
    field_reader in = payload();
    in.zeros(16);
    in(box.width, box.height, box.horizresolution, box.vertresolution);
    in.zeros(4);
    in(box.frame_count);
    in.zeros(32);
    in(box.depth);
    in.zeros(2);
    scan_rest(false);
}

void mp4_sampleentry_parser::read_fields(audio_sample_entry& box) {
    read_fields(static_cast<sample_entry&>(box));
    field_reader in = payload();
    std::uint16_t version = 0;
    in(version, box.revision_level, box.vendor, box.channelcount, box.samplesize);
    in.zeros(4);
    in(box.samplerate);
    if (version >= std::size(audio_layouts)) throw not_implemented();
    box.header_size += audio_layouts[version].size;
    in.zeros(audio_layouts[version].extra);
    box.version = version;
    // At top level, so that an unknown child shows in the log.
    scan_rest(true);
}

void mp4_sampleentry_parser::read_fields(hevc_sample_entry& box) {
    read_fields(static_cast<visual_sample_entry&>(box));
    // The children were scanned just now. An entry without any is not scanned again: that would seek
    // in the middle of this visit.
    if (boxes.contains(box.offset + box.header_size)) box.configuration = find_child<hevc_configuration_box>(box);
}

void mp4_sampleentry_parser::read_fields(esd_box& box) {
    field_reader in = payload();
    in.zeros(4);  // version and flags are not kept here
    in.rest(box.data);
}

void mp4_sampleentry_parser::read_fields(colour_information_box& box) {
    field_reader in = payload();
    in(box.colour_type);
    if (box.colour_type == fourcc("nclx"))
        in(box.colour_primaries, box.transfer_characteristics, box.matrix_coefficients, box.full_range);
}

void mp4_sampleentry_parser::read_fields(ac3_configuration_box& box) {
    std::vector<std::uint8_t> bytes;
    read_vector(bytes, left());
    bit_fields bits(bytes);
    box.fscod = bits.take(2);
    box.bsid = bits.take(5);
    box.bsmod = bits.take(3);
    box.acmod = bits.take(3);
    box.lfeon = bits.take(1);
    box.bit_rate_code = bits.take(5);
    box.reserved = bits.take(5);
}

}  // namespace vio::mp4
