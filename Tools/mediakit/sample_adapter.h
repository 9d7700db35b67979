// Samples as the demultiplexer gives them, in the form that the multiplexer writes.
#pragma once

#include "MediaKit/ITrackInformation.h"
#include "Platform/DirectShow/MediaType.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace mediakit_tool {

/// One stream's. One thread.
class SampleAdapter {
public:
    virtual ~SampleAdapter() = default;

    /// The sample as it is to go on. The bytes lie in the sample, from its first byte on, or in `copy`, which is filled
    /// then and keeps its room from one sample to the next. Damage is what could not be read: it is left out.
    struct Adapted {
        std::span<const std::uint8_t> bytes;
        bool damaged = false;
    };
    virtual Adapted Adapt(std::span<std::uint8_t> sample, bool sync, std::vector<std::uint8_t>& copy) = 0;
};

/// A stream as it goes to the multiplexer.
struct AdaptedStream {
    CMediaType type;                         ///< of what comes out
    std::unique_ptr<SampleAdapter> adapter;  ///< null: the samples go on as they are
    std::string refusal = {};                ///< why the stream cannot be copied; empty when it may be tried
};

/// H.265 becomes Annex B, from which the multiplexer takes its configuration: the first sample gets the parameter sets
/// that it lacks. The configuration holds one set of a kind; of a stream with more all sync samples get them. H.264
/// with prefixes below 4 bytes gets such of 4, since that is what the multiplexer's configuration says. AAC without a
/// bit rate gets one: the multiplexer writes the decoder's configuration only with it. Video without a frame time gets
/// one: the multiplexer waits for ever for a track without.
AdaptedStream AdaptForMultiplexer(const CMediaType& type, const Norvane::MediaKit::Filters::TrackInformation& track);

}  // namespace mediakit_tool
