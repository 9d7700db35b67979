// Compares what the program reads out of a file with what ffmpeg reads out of it.
#pragma once

#include "Testing/Tool/tool_run.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mediakit_test {

/// Times are those of the report, 100 ns.
struct ReadSample {
    std::int64_t dts = 0;
    std::int64_t start = 0;
    std::int64_t stop = 0;
    std::uint64_t size = 0;
    bool sync = false;
    bool preroll = false;
    bool discontinuity = false;
    std::uint32_t crc32 = 0;
    friend bool operator==(const ReadSample&, const ReadSample&) = default;
};

struct ReadPin {
    std::string name;
    std::uint32_t trackId = 0;
    std::string entry;
    std::vector<ReadSample> samples;
    friend bool operator==(const ReadPin&, const ReadPin&) = default;
};

/// The file's pins by `samples --json --hash`, and whatever else is asked for. Fails the test when the program has
/// anything to say.
std::vector<ReadPin> ReadSamples(const WorkFolder& folder, const std::string& file, const std::string& options = "");

struct PeerExpectation {
    std::size_t leftOut = 0;  ///< of the peer's streams
    bool origin = true;       ///< decoding and presentation begin where the peer has it, with edits
    bool keys = true;         ///< sync samples are the peer's keys
};

/// All pins have the packets of the peer's streams: number, sizes, bytes, times before edits, keys. Not those of PCM,
/// which the peer groups as it likes.
void ExpectSamplesAsPeer(const WorkFolder& folder, const std::string& file, const PeerExpectation& expectation = {});

/// What `extract` makes of each pin decodes to the pictures of the track, or is the sound that the peer copies, byte by
/// byte.
void ExpectExtractsAsPeer(const WorkFolder& folder, const std::string& file);

}  // namespace mediakit_test
