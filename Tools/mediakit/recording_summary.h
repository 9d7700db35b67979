// What a recording came to, in words and as JSON.
#pragma once

#include "Tools/mediakit/unit_reader.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mediakit_tool {

struct TrackSummary {
    std::string input;
    TrackFacts facts;
    std::uint64_t samples = 0;
    std::uint64_t syncSamples = 0;
    REFERENCE_TIME duration = 0;  ///< 100 ns
};

struct RecordingSummary {
    std::string output;
    std::vector<TrackSummary> tracks;
    std::uint64_t fileSize = 0;  ///< bytes
    double wallSeconds = 0;
    bool interrupted = false;
    std::string error;  ///< empty: done
    std::vector<std::string> warnings;

    /// Of the longest track, 100 ns.
    REFERENCE_TIME Duration() const;
    /// Bits a second of the file, 0 without a duration.
    double BitRate() const;
};

/// A few lines, each ended.
std::string ToText(const RecordingSummary& summary);
/// One object in one line, ended. Times are in seconds, sizes in bytes, rates a second.
std::string ToJson(const RecordingSummary& summary);

/// "1:02:03.450" or "2:03.450".
std::string DurationText(REFERENCE_TIME duration);
/// "12.3 MB"; of 1000 bytes a kB.
std::string SizeText(std::uint64_t bytes);
/// "204 kbit/s", "1.25 Mbit/s".
std::string BitRateText(double bitRate);

}  // namespace mediakit_tool
