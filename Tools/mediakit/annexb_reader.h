// Cuts H.264 and H.265 in Annex B form into pictures with presentation times.
#pragma once

#include "Tools/mediakit/output_order.h"
#include "Tools/mediakit/picture_cutter.h"
#include "Tools/mediakit/unit_reader.h"
#include "Tools/mediakit/video_codec.h"

#include <memory>
#include <optional>

namespace mediakit_tool {

/// The format is told by the first sequence parameter set. The recording starts at the first picture
/// that decoding can start at; what cannot be decoded in front of it and around it is left out. A
/// picture's time is its place in output order times the picture's duration.
class AnnexBReader final : public UnitReader {
public:
    /// `rate` overrides the stream's own timing.
    AnnexBReader(ByteInput& input, StreamReport& report, std::optional<FrameRate> rate);

    bool Open() override;
    bool Next(Unit* unit) override;

private:
    bool FindFormat();
    bool FindStart();
    bool ReadPicture();
    bool CannotBeDecoded(const Picture& picture) const;
    void WatchSequence(const Picture& picture);
    void AddToOrder(Picture& picture);
    void SetFacts(const VideoFacts& facts);
    bool BuildMediaType(const VideoFacts& facts);

    const std::optional<FrameRate> m_givenRate;
    std::unique_ptr<VideoCodec> m_codec;
    std::optional<PictureCutter> m_cutter;
    OutputOrder m_order;
    bool m_passedOver = false;         ///< pictures in front of the first one that decoding can start at
    VideoFacts m_sequence;             ///< of the first sequence
    qz_MPEGUtil::PictureInfo m_start;  ///< the first picture of the recording
};

}  // namespace mediakit_tool
