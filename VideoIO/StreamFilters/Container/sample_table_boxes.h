// Boxes of the sample table (ISO/IEC 14496-12, 8.5 to 8.7 and 8.9).
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

#include <memory>
#include <vector>

namespace vio::mp4 {

struct sample_entry;

struct sample_table_box : box_of<sample_table_box, box, fourcc("stbl")> {};

/// The entries are boxes of their own in the writer's list; here they are counted.
struct sample_description_box : box_of<sample_description_box, full_box, fourcc("stsd")> {
    std::vector<std::shared_ptr<sample_entry>> entries;
};

/// Runs of equal duration, in units of the media's timescale.
struct time_to_sample_box : box_of<time_to_sample_box, full_box, fourcc("stts")> {
    struct entry {
        std::uint32_t sample_count = 0;
        std::uint32_t sample_delta = 0;
    };
    std::vector<entry> entries;
};

template <class Archive, record<time_to_sample_box> Box>
void fields(Archive& archive, Box& box) {
    archive.counted_unchecked(box.entries);
}

/// Runs of equal difference between composition and decode time; signed in version 1.
struct composition_offset_box : box_of<composition_offset_box, full_box, fourcc("ctts")> {
    struct entry {
        std::uint32_t sample_count = 0;
        std::uint32_t sample_offset = 0;
    };
    std::vector<entry> entries;
};

template <class Archive, record<composition_offset_box> Box>
void fields(Archive& archive, Box& box) {
    archive.require(box.version <= 1);
    archive.counted(box.entries);
}

struct composition_to_decode_box : box_of<composition_to_decode_box, full_box, fourcc("cslg")> {
    std::int64_t composition_to_dts_shift = 0;
    std::int64_t least_decode_to_display_delta = 0;
    std::int64_t greatest_decode_to_display_delta = 0;
    std::int64_t composition_start_time = 0;
    std::int64_t composition_end_time = 0;
};

/// Sample numbers count from 1.
struct sync_sample_box : box_of<sync_sample_box, full_box, fourcc("stss")> {
    std::vector<std::uint32_t> sample_numbers;
};

template <class Archive, record<sync_sample_box> Box>
void fields(Archive& archive, Box& box) {
    archive.counted(box.sample_numbers);
}

/// The table is there only when sample_size is 0.
struct sample_size_box : box_of<sample_size_box, full_box, fourcc("stsz")> {
    std::uint32_t sample_size = 0;
    std::uint32_t sample_count = 0;
    std::vector<std::uint32_t> entry_sizes;
};

template <class Archive, record<sample_size_box> Box>
void fields(Archive& archive, Box& box) {
    archive(box.sample_size, box.sample_count);
    if (box.sample_size == 0 && box.sample_count != 0) archive.sized(box.sample_count, box.entry_sizes);
}

/// Sizes of 4, 8 or 16 bits in the file.
struct compact_sample_size_box : box_of<compact_sample_size_box, full_box, fourcc("stz2")> {
    std::vector<std::uint32_t> entry_sizes;
};

/// Runs of chunks with equally many samples. Chunks and descriptions count from 1.
struct sample_to_chunk_box : box_of<sample_to_chunk_box, full_box, fourcc("stsc")> {
    struct entry {
        std::uint32_t first_chunk = 0;
        std::uint32_t samples_per_chunk = 0;
        std::uint32_t sample_description_index = 0;
    };
    std::vector<entry> entries;
};

template <class Archive, record<sample_to_chunk_box> Box>
void fields(Archive& archive, Box& box) {
    archive.counted_unchecked(box.entries);
}

/// File offsets of the chunks.
struct chunk_offset_box : box_of<chunk_offset_box, full_box, fourcc("stco")> {
    std::vector<std::uint32_t> offsets;
};

template <class Archive, record<chunk_offset_box> Box>
void fields(Archive& archive, Box& box) {
    archive.counted_unchecked(box.offsets);
}

struct chunk_large_offset_box : box_of<chunk_large_offset_box, full_box, fourcc("co64")> {
    std::vector<std::uint64_t> offsets;
};

template <class Archive, record<chunk_large_offset_box> Box>
void fields(Archive& archive, Box& box) {
    archive.counted_unchecked(box.offsets);
}

/// One byte a sample.
struct sample_dependency_type_box : box_of<sample_dependency_type_box, full_box, fourcc("sdtp")> {
    std::vector<std::uint8_t> entries;
};

template <class Archive, record<sample_dependency_type_box> Box>
void fields(Archive& archive, Box& box) {
    archive.rest(box.entries);
}

struct sample_group_description_box : box_of<sample_group_description_box, full_box, fourcc("sgpd")> {
    std::uint32_t grouping_type = 0;
};

struct sample_to_group_box : box_of<sample_to_group_box, full_box, fourcc("sbgp")> {
    struct entry {
        std::uint32_t sample_count = 0;
        std::uint32_t group_description_index = 0;
    };
    std::uint32_t grouping_type = 0;
    std::uint32_t grouping_type_parameter = 0;
    std::vector<entry> entries;
};

}  // namespace vio::mp4
