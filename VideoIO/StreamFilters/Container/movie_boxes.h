// Boxes of the movie level (ISO/IEC 14496-12, 8.2 and 8.8).
#pragma once

#include "VideoIO/StreamFilters/Container/box.h"

#include <vector>

namespace vio::mp4 {

struct movie_box : box_of<movie_box, box, fourcc("moov")> {};

/// Times are seconds since 1904-01-01; duration is in units of timescale. Version 1 holds them in 64 bits.
struct movie_header_box : box_of<movie_header_box, full_box, fourcc("mvhd")> {
    explicit movie_header_box(std::uint8_t version_ = 0) { version = version_; }

    std::uint64_t creation_time = 0;
    std::uint64_t modification_time = 0;
    std::uint32_t timescale = 0;
    std::uint64_t duration = 0;
    std::uint32_t rate = 0;    ///< 16.16
    std::uint16_t volume = 0;  ///< 8.8
    std::vector<std::uint32_t> matrix = std::vector<std::uint32_t>(9);
    std::uint32_t next_track_ID = 0;
};

template <class Archive, record<movie_header_box> Box>
void fields(Archive& archive, Box& box) {
    archive.require(box.version <= 1);
    archive.time(box.version, box.creation_time);
    archive.time(box.version, box.modification_time);
    archive(box.timescale);
    archive.time(box.version, box.duration);
    archive(box.rate, box.volume);
    archive.zeros(10);
    archive.table(box.matrix);
    archive.zeros(24);
    archive(box.next_track_ID);
}

}  // namespace vio::mp4
