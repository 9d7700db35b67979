// The boxes of a track that a pin is made from.
#pragma once

#include "VideoIO/StreamFilters/Container/fragment_boxes.h"
#include "VideoIO/StreamFilters/Container/movie_boxes.h"
#include "VideoIO/StreamFilters/Container/track_boxes.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace Norvane::MediaKit::Filters::details {

/// One `traf`.
struct FragmentRecord {
    std::uint64_t base = 0;  ///< file position that data offsets count from: of `moof` unless told otherwise
    std::shared_ptr<vio::mp4::track_fragment_header_box> tfhd;
    std::vector<std::shared_ptr<vio::mp4::track_run_box>> truns;  ///< in file order
    std::optional<std::uint64_t> decode_time;                     ///< of `tfdt`, when the host wants it
};

/// Null for what the file lacks.
struct TrackBoxes {
    std::shared_ptr<vio::mp4::movie_header_box> mvhd;
    std::shared_ptr<vio::mp4::track_header_box> tkhd;
    std::shared_ptr<vio::mp4::media_box> mdia;
    std::shared_ptr<vio::mp4::media_header_box> mdhd;
    std::shared_ptr<vio::mp4::handler_box> hdlr;
    std::shared_ptr<vio::mp4::media_information_box> minf;
    std::shared_ptr<vio::mp4::edit_list_box> elst;
    std::shared_ptr<vio::mp4::track_extends_box> trex;
    const std::vector<FragmentRecord>* fragments = nullptr;  ///< in file order; outlives the pin's making
};

}  // namespace Norvane::MediaKit::Filters::details
