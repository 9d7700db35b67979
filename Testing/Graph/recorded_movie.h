// Reads the sample tables of a plain MP4 file (ISO/IEC 14496-12), with no code of the library, so that what was written
// is judged by a second reader.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace mediakit_test {

struct recorded_sample {
    std::vector<std::uint8_t> bytes;
    std::int64_t decode_time;       ///< in the track's timescale
    std::int64_t composition_time;  ///< the same, without the edit list
    bool sync;
};

struct recorded_track {
    std::string handler;  ///< "vide", "soun"
    std::string entry;    ///< code of the sample entry
    std::uint32_t timescale = 0;
    std::int64_t edit_start = 0;  ///< media time of the edit list; 0 without one
    std::vector<recorded_sample> samples;
};

struct recorded_movie {
    std::vector<std::string> boxes;  ///< codes at the top level, in order
    std::vector<recorded_track> tracks;
};

/// Throws std::runtime_error with what is wrong: boxes that do not fill their parent, tables that do not agree, samples
/// outside of the file.
recorded_movie read_movie(const std::vector<std::uint8_t>& file);

}  // namespace mediakit_test
