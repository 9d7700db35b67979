// From the samples of a track to an elementary stream that players open.
#pragma once

#include "MediaKit/ITrackInformation.h"
#include "Platform/DirectShow/MediaType.h"
#include "Tools/mediakit/byte_output.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace mediakit_tool {

/// One form of stream. Used by one thread, for one track.
class TrackWriter {
public:
    enum class Result {
        Written,
        Damaged,  ///< and as much of it written as could be
        Failed,   ///< by the output
    };

    virtual ~TrackWriter() = default;

    /// "H.264 in Annex B form"
    virtual const char* Form() const = 0;
    /// What Damaged means in this form.
    virtual const char* Damage() const { return ""; }
    /// What comes in front of all samples.
    virtual bool Begin(ByteOutput&) { return true; }
    /// The next sample, whose bytes may be changed in the process.
    virtual Result Write(std::span<std::uint8_t> sample, bool sync, ByteOutput& output) = 0;
    /// After the last one.
    virtual bool End(ByteOutput&) { return true; }
};

/// The writer for a track's media type; `raw` is for samples as they are. Null for a track that has no such stream;
/// `refusal` then says why.
std::unique_ptr<TrackWriter> MakeTrackWriter(const AM_MEDIA_TYPE& type,
                                             const Norvane::MediaKit::Filters::TrackInformation& track, bool raw,
                                             std::string* refusal);

}  // namespace mediakit_tool
