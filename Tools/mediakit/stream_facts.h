// What the streams of a file are, in words and numbers.
#pragma once

#include "Tools/mediakit/frame_rate.h"
#include "Tools/mediakit/playback_graph.h"

#include <optional>
#include <string>

namespace mediakit_tool {

struct StreamFacts {
    bool video = false;
    std::string codec;    ///< "H.264"; a codec without a name here by its sample entry
    std::string profile;  ///< "High", "LC"; empty when the file does not say
    std::string level;    ///< "4.1", video only
    // Video
    int width = 0;
    int height = 0;
    int aspectWidth = 0;  ///< shape of the whole picture, in lowest terms; 0 when unknown
    int aspectHeight = 0;
    std::optional<int> rotation;    ///< degrees clockwise
    std::optional<FrameRate> rate;  ///< pictures a second
    bool interlaced = false;
    // Audio
    std::uint32_t sampleRate = 0;
    std::uint32_t channels = 0;
    std::uint32_t bitsPerSample = 0;  ///< PCM
};

StreamFacts FactsOf(const Stream& stream);

}  // namespace mediakit_tool
