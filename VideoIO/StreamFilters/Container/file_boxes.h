// Boxes of the file level (ISO/IEC 14496-12, 4.3 and 8.1).
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

#include <array>
#include <vector>

namespace vio::mp4 {

struct file_type_box : box_of<file_type_box, box, fourcc("ftyp")> {
    std::uint32_t major_brand = 0;
    std::uint32_t minor_version = 0;
    std::vector<std::uint32_t> compatible_brands;
};

/// Written as zero_size zero bytes when that is not 0, otherwise as the bytes of data.
struct free_space_box : box_of<free_space_box, box, fourcc("free")> {
    std::uint32_t zero_size = 0;
    std::vector<std::uint8_t> data;
};

/// Sample data never passes through the box code: the writer skips data_size bytes of the stream.
struct media_data_box : box_of<media_data_box, box, fourcc("mdat")> {
    std::uint64_t data_size = 0;
};

/// QuickTime's room for a large mdat header. Read and passed over; the writer has no visit for it.
struct wide_placeholder_box : box_of<wide_placeholder_box, box, fourcc("wide")> {};

/// The initial object descriptor of a movie, as the bytes of its descriptors.
struct object_descriptor_box : box_of<object_descriptor_box, full_box, fourcc("iods")> {
    std::vector<std::uint8_t> data;
};

template <class Archive, record<object_descriptor_box> Box>
void fields(Archive& archive, Box& box) {
    archive.rest(box.data);
}

/// Index of a fragmented file, read as it stands: three unparsed words a reference.
struct segment_index_box : box_of<segment_index_box, full_box, fourcc("sidx")> {
    std::uint32_t reference_ID = 0;
    std::uint32_t timescale = 0;
    std::uint64_t earliest_presentation_time = 0;
    std::uint64_t first_offset = 0;
    std::vector<std::array<std::uint32_t, 3>> references;
};

}  // namespace vio::mp4
