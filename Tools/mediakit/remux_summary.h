// What a copy came to, in words and as JSON.
#pragma once

#include "Tools/mediakit/stream_facts.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mediakit_tool {

/// Where a track comes from.
struct TrackOrigin {
    std::string pin = {};      ///< "Output_0"; empty for a track that nobody reads
    DWORD trackId = 0;         ///< in the source
    std::string entry = {};    ///< "avc1"
    std::string handler = {};  ///< "text", of a track without a pin; the facts are those of the pin
    StreamFacts facts = {};
};

struct CopiedTrack {
    TrackOrigin origin;
    std::uint64_t samples = 0;
    std::uint64_t syncSamples = 0;
    REFERENCE_TIME end = 0;  ///< of the presentation, 100 ns
};

struct LeftOutTrack {
    TrackOrigin origin;
    std::string reason;
};

struct RemuxSummary {
    std::string input;
    std::string output;
    std::vector<CopiedTrack> tracks;
    std::vector<LeftOutTrack> leftOut;
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

/// "Output_1, track 2 (ac-3): the multiplexer ..."
std::string ToText(const LeftOutTrack& track);
/// A few lines, each ended.
std::string ToText(const RemuxSummary& summary);
/// One object in one line, ended. Times are in seconds, sizes in bytes, rates a second.
std::string ToJson(const RemuxSummary& summary);

}  // namespace mediakit_tool
