// Compares a recording with the elementary streams it was made of, by what ffmpeg makes of both.
#pragma once

#include "Testing/Tool/tool_run.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mediakit_test {

/// Pictures a second as a fraction.
struct Rate {
    std::int64_t num;
    std::int64_t den;
};

/// Decoded pictures in output order.
struct DecodedPictures {
    std::vector<double> times;  ///< seconds
    std::vector<std::string> hashes;
};

/// Of a recording ("....mp4") nothing may be warned of. `input` are options of the peer's, `stream` says which of the
/// file's streams.
DecodedPictures Decode(const WorkFolder& folder, const std::string& file, const std::string& input = "",
                       const std::string& stream = "0:v:0");
/// Hash of all decoded sound of a stream.
std::string SoundHash(const WorkFolder& folder, const std::string& file, const std::string& stream);

struct VideoExpectation {
    std::string input;
    Rate rate{25, 1};
    bool compareKeys = true;  ///< the peer's idea of a key picture is that of the recording
};

/// The recording's first video stream: number, times and hashes of the pictures, key pictures, and
/// durations are those of the input; no reader warns.
void ExpectSameVideo(const WorkFolder& folder, const std::string& recording, const VideoExpectation& expectation);

/// The recording's audio stream of that number: packets in even steps of 1024, sound as in the input.
void ExpectSameAudio(const WorkFolder& folder, const std::string& recording, int stream, const std::string& input);

}  // namespace mediakit_test
