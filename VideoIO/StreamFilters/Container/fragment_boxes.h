// Boxes of fragmented movies (ISO/IEC 14496-12, 8.8).
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

#include <vector>

namespace vio::mp4 {

struct movie_extends_box : box_of<movie_extends_box, box, fourcc("mvex")> {};
struct movie_fragment_box : box_of<movie_fragment_box, box, fourcc("moof")> {};
struct track_fragment_box : box_of<track_fragment_box, box, fourcc("traf")> {};

/// fragment_duration is in units of the movie's timescale.
struct movie_extends_header_box : box_of<movie_extends_header_box, full_box, fourcc("mehd")> {
    std::uint64_t fragment_duration = 0;
};

struct track_extends_box : box_of<track_extends_box, full_box, fourcc("trex")> {
    std::uint32_t track_ID = 0;
    std::uint32_t default_sample_description_index = 0;
    std::uint32_t default_sample_duration = 0;
    std::uint32_t default_sample_size = 0;
    std::uint32_t default_sample_flags = 0;
};

template <class Archive, record<track_extends_box> Box>
void fields(Archive& archive, Box& box) {
    archive.unchecked();
    archive(box.track_ID, box.default_sample_description_index, box.default_sample_duration, box.default_sample_size,
            box.default_sample_flags);
}

struct movie_fragment_header_box : box_of<movie_fragment_header_box, full_box, fourcc("mfhd")> {
    std::uint32_t sequence_number = 0;
};

template <class Archive, record<movie_fragment_header_box> Box>
void fields(Archive& archive, Box& box) {
    archive.unchecked();
    archive(box.sequence_number);
}

/// Flags of tfhd: which of its fields are there.
namespace track_fragment_flags {
inline constexpr std::uint32_t base_data_offset = 0x01;
inline constexpr std::uint32_t sample_description_index = 0x02;
inline constexpr std::uint32_t default_sample_duration = 0x08;
inline constexpr std::uint32_t default_sample_size = 0x10;
inline constexpr std::uint32_t default_sample_flags = 0x20;
inline constexpr std::uint32_t default_base_is_moof = 0x020000;
}  // namespace track_fragment_flags

struct track_fragment_header_box : box_of<track_fragment_header_box, full_box, fourcc("tfhd")> {
    std::uint32_t track_ID = 0;
    std::uint64_t base_data_offset = 0;
    std::uint32_t sample_description_index = 0;
    std::uint32_t default_sample_duration = 0;
    std::uint32_t default_sample_size = 0;
    std::uint32_t default_sample_flags = 0;
};

template <class Archive, record<track_fragment_header_box> Box>
void fields(Archive& archive, Box& box) {
    namespace has = track_fragment_flags;
    archive.unchecked();
    archive(box.track_ID);
    if (box.flags & has::base_data_offset) archive(box.base_data_offset);
    if (box.flags & has::sample_description_index) archive(box.sample_description_index);
    if (box.flags & has::default_sample_duration) archive(box.default_sample_duration);
    if (box.flags & has::default_sample_size) archive(box.default_sample_size);
    if (box.flags & has::default_sample_flags) archive(box.default_sample_flags);
}

/// Flags of trun: which of its fields, and which of its fields a sample, are there.
namespace track_run_flags {
inline constexpr std::uint32_t data_offset = 0x001;
inline constexpr std::uint32_t first_sample_flags = 0x004;
inline constexpr std::uint32_t sample_duration = 0x100;
inline constexpr std::uint32_t sample_size = 0x200;
inline constexpr std::uint32_t sample_flags = 0x400;
inline constexpr std::uint32_t sample_composition_time_offset = 0x800;
}  // namespace track_run_flags

/// A vector has sample_count entries when its flag is set. data_offset counts from the base of the
/// track fragment and is signed.
struct track_run_box : box_of<track_run_box, full_box, fourcc("trun")> {
    std::uint32_t data_offset = 0;
    std::uint32_t first_sample_flags = 0;
    std::uint32_t sample_count = 0;
    std::vector<std::uint32_t> sample_duration;
    std::vector<std::uint32_t> sample_size;
    std::vector<std::uint32_t> sample_flags;
    std::vector<std::uint32_t> sample_composition_time_offset;
};

template <class Archive, record<track_run_box> Box>
void fields(Archive& archive, Box& box) {
    namespace has = track_run_flags;
    archive.unchecked();
    archive(box.sample_count);
    if (box.flags & has::data_offset) archive(box.data_offset);
    if (box.flags & has::first_sample_flags) archive(box.first_sample_flags);

    // The vectors stand in the file as one row a sample.
    std::vector<decltype(&box.sample_duration)> columns;
    if (box.flags & has::sample_duration) columns.push_back(&box.sample_duration);
    if (box.flags & has::sample_size) columns.push_back(&box.sample_size);
    if (box.flags & has::sample_flags) columns.push_back(&box.sample_flags);
    if (box.flags & has::sample_composition_time_offset) columns.push_back(&box.sample_composition_time_offset);
    archive.rows(box.sample_count, columns);
}

/// In no registry: a tfdt in a file is an unknown box.
struct track_fragment_base_media_decode_time_box
    : box_of<track_fragment_base_media_decode_time_box, full_box, fourcc("tfdt")> {
    std::uint64_t base_media_decode_time = 0;
};

}  // namespace vio::mp4
