// Small MP4 files for tests, plain or fragmented: tracks of samples in, bytes out.
#pragma once

#include "Testing/Kit/movie_entries.h"

#include <array>
#include <functional>
#include <string>
#include <utility>

namespace mediakit_test {

struct movie_sample {
    byte_vector bytes = {};
    std::uint32_t duration = 1;
    std::int32_t cts_offset = 0;
    bool sync = true;
};

/// What is left at 0 or false is the form most files have.
struct movie_track {
    enum class sizes { table, constant, compact4, compact8, compact16 };
    struct edit {
        std::uint64_t duration;  ///< units of the movie's timescale
        std::int64_t media_time;
    };

    std::string handler = "vide";
    std::uint32_t timescale = 1000;
    box_builder entry = avc1_entry();
    std::vector<movie_sample> samples = {};

    std::uint32_t id = 0;               ///< 0: the place in the list, from 1
    std::size_t samples_per_chunk = 0;  ///< 0: all in one. Chunks of the tracks take turns
    sizes size_table = sizes::table;    ///< constant takes the first sample's
    bool large_offsets = false;         ///< co64
    bool with_stss = true;
    bool with_ctts = true;  ///< only when a sample has an offset
    std::vector<edit> edits = {};
    std::array<std::uint32_t, 9> matrix = {0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000};
};

/// How samples stand in fragments. Each fragment is a `moof` with a `traf` a track, and an `mdat`.
struct fragment_layout {
    std::size_t samples = 0;          ///< of each track in a fragment; 0: the file is plain
    std::size_t samples_in_moov = 0;  ///< of each track, in front of the fragments
    std::size_t samples_per_run = 0;  ///< 0: one `trun`
    bool default_base_moof = true;
    bool explicit_base = false;  ///< `tfhd` holds where the track's data begin
    bool tfdt = true;
    bool defaults_in_tfhd = false;                                    ///< else in `trex`, from the track's first sample
    std::uint32_t run_flags = 0x001 | 0x100 | 0x200 | 0x400 | 0x800;  ///< ISO/IEC 14496-12, 8.8.8
};

struct built_movie {
    std::vector<std::uint8_t> bytes;
    std::vector<std::vector<std::uint64_t>> positions;  ///< of each sample of each track
};

struct movie_file {
    static constexpr std::size_t no_track = static_cast<std::size_t>(-1);

    std::vector<movie_track> tracks = {};
    std::uint32_t timescale = 1000;
    bool moov_first = true;
    std::size_t mdats = 1;    ///< chunks are shared out evenly
    bool large_mdat = false;  ///< 64-bit size
    fragment_layout fragments = {};

    /// Sees every box but `mdat`, children before their parent, and gives what stands in its place: another box,
    /// several or none. It is called more than once for a box and must always give the same length.
    std::function<box_builder(std::string_view type, std::size_t track, const box_builder& box)> replace = {};

    built_movie build() const;
    std::vector<std::uint8_t> bytes() const { return build().bytes; }
};

/// A replacement that drops one type of box.
inline auto without_box(std::string type) {
    return [type = std::move(type)](std::string_view at, std::size_t, const box_builder& box) {
        return at == type ? box_builder() : box;
    };
}

}  // namespace mediakit_test
