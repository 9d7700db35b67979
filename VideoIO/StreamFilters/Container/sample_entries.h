// Sample entries and the boxes inside them (ISO/IEC 14496-12, 8.5.2 and 12; 14496-14; 14496-15; the
// QuickTime file format; ETSI TS 102 366, annex F).
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

#include <memory>
#include <string>
#include <vector>

namespace vio::mp4 {

struct sample_entry : box_of<sample_entry, box, 0> {
    using box_of::box_of;
    std::uint16_t data_reference_index = 0;
};

struct visual_sample_entry : details::visitable<visual_sample_entry, sample_entry> {
    using visitable::visitable;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint32_t horizresolution = 0;  ///< 16.16, pixels per inch
    std::uint32_t vertresolution = 0;   ///< 16.16, pixels per inch
    std::uint16_t frame_count = 0;
    std::string compressorname;  ///< at most 31 bytes; not read
    std::uint16_t depth = 0;
};

/// Two sets of format values: the parser fills the first, the author and the writer use the second.
struct audio_sample_entry : details::visitable<audio_sample_entry, sample_entry> {
    using visitable::visitable;
    std::uint16_t channelcount = 0;
    std::uint16_t samplesize = 0;  ///< bits
    std::uint32_t samplerate = 0;  ///< 16.16
    std::uint16_t version = 0;     ///< QuickTime's; 0 in ISO files
    std::uint16_t revision_level = 0;
    std::uint32_t vendor = 0;
    std::uint16_t out_channelcount = 0;
    std::uint16_t out_samplesize = 0;  ///< bits
    std::uint32_t out_samplerate = 0;  ///< 16.16
};

/// In no registry.
struct hint_sample_entry : box_of<hint_sample_entry, sample_entry, 0> {};
/// Without a visit: an mp4s entry keeps its header only.
struct mpeg_sample_entry : box_of<mpeg_sample_entry, sample_entry, fourcc("mp4s")> {};

/// The whole decoder configuration record, uninterpreted.
struct avc_configuration_box : box_of<avc_configuration_box, box, fourcc("avcC")> {
    std::vector<std::uint8_t> record;
};

template <class Archive, record<avc_configuration_box> Box>
void fields(Archive& archive, Box& box) {
    archive.rest(box.record);
}

struct hevc_configuration_box : box_of<hevc_configuration_box, box, fourcc("hvcC")> {
    std::vector<std::uint8_t> record;
};

template <class Archive, record<hevc_configuration_box> Box>
void fields(Archive& archive, Box& box) {
    archive.rest(box.record);
}

struct avc_sample_entry : box_of<avc_sample_entry, visual_sample_entry, fourcc("avc1")> {};
struct avc2_sample_entry : box_of<avc2_sample_entry, visual_sample_entry, fourcc("avc2")> {};
struct mp4_visual_sample_entry : box_of<mp4_visual_sample_entry, visual_sample_entry, fourcc("mp4v")> {};

struct hevc_sample_entry : box_of<hevc_sample_entry, visual_sample_entry, fourcc("hvc1")> {
    std::shared_ptr<hevc_configuration_box> configuration;  ///< null when the entry has none
};

struct mp4_audio_sample_entry : box_of<mp4_audio_sample_entry, audio_sample_entry, fourcc("mp4a")> {};
struct ac3_sample_entry : box_of<ac3_sample_entry, audio_sample_entry, fourcc("ac-3")> {};

/// The bytes of an MPEG-4 elementary stream descriptor, see es_descriptors.h.
struct esd_box : box_of<esd_box, full_box, fourcc("esds")> {
    std::vector<std::uint8_t> data;
};

struct bit_rate_box : box_of<bit_rate_box, box, fourcc("btrt")> {
    std::uint32_t buffer_size_db = 0;
    std::uint32_t max_bitrate = 0;
    std::uint32_t avg_bitrate = 0;
};

template <class Archive, record<bit_rate_box> Box>
void fields(Archive& archive, Box& box) {
    archive(box.buffer_size_db, box.max_bitrate, box.avg_bitrate);
}

struct pixel_aspect_ratio_box : box_of<pixel_aspect_ratio_box, box, fourcc("pasp")> {
    std::uint32_t h_spacing = 0;
    std::uint32_t v_spacing = 0;
};

template <class Archive, record<pixel_aspect_ratio_box> Box>
void fields(Archive& archive, Box& box) {
    archive(box.h_spacing, box.v_spacing);
}

/// Fractions, numerator (n) and denominator (d).
struct clean_apperture_box : box_of<clean_apperture_box, box, fourcc("clap")> {
    std::uint32_t clean_aperture_width_n = 0;
    std::uint32_t clean_aperture_width_d = 0;
    std::uint32_t clean_aperture_height_n = 0;
    std::uint32_t clean_aperture_height_d = 0;
    std::uint32_t horiz_off_n = 0;
    std::uint32_t horiz_off_d = 0;
    std::uint32_t vert_off_n = 0;
    std::uint32_t vert_off_d = 0;
};

template <class Archive, record<clean_apperture_box> Box>
void fields(Archive& archive, Box& box) {
    archive(box.clean_aperture_width_n, box.clean_aperture_width_d, box.clean_aperture_height_n,
            box.clean_aperture_height_d, box.horiz_off_n, box.horiz_off_d, box.vert_off_n, box.vert_off_d);
}

/// The values behind colour_type are read for nclx only.
struct colour_information_box : box_of<colour_information_box, box, fourcc("colr")> {
    std::uint32_t colour_type = 0;
    std::uint16_t colour_primaries = 0;
    std::uint16_t transfer_characteristics = 0;
    std::uint16_t matrix_coefficients = 0;
    std::uint8_t full_range = 0;
};

/// The bit fields of a dac3 box, one a member.
struct ac3_configuration_box : box_of<ac3_configuration_box, box, fourcc("dac3")> {
    std::uint32_t fscod = 0;
    std::uint32_t bsid = 0;
    std::uint32_t bsmod = 0;
    std::uint32_t acmod = 0;
    std::uint32_t lfeon = 0;
    std::uint32_t bit_rate_code = 0;
    std::uint32_t reserved = 0;
};

/// QuickTime's field handling of a visual entry. In no registry: the author makes it.
struct field_Image_Description_Extension : box_of<field_Image_Description_Extension, box, fourcc("fiel")> {
    std::uint8_t field_count = 0;
    std::uint8_t field_ordering = 0;
};

template <class Archive, record<field_Image_Description_Extension> Box>
void fields(Archive& archive, Box& box) {
    archive(box.field_count, box.field_ordering);
}

struct sampling_rate_box : box_of<sampling_rate_box, full_box, fourcc("srat")> {
    std::uint32_t sampling_rate = 0;
};

template <class Archive, record<sampling_rate_box> Box>
void fields(Archive& archive, Box& box) {
    archive(box.sampling_rate);
}

}  // namespace vio::mp4
