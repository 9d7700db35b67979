// What the cutting of access units has to know of a video format.
#pragma once

#include "Tools/mediakit/unit_reader.h"
#include "VideoIO/MPEGUtil/PictureOrder.h"

#include <memory>
#include <optional>
#include <span>
#include <string>

namespace mediakit_tool {

/// How a NAL unit lies in its access unit.
enum class UnitRole {
    Slice,         ///< of the primary picture (of the base layer)
    ParameterSet,  ///< starts the next access unit when it comes behind a slice
    Start,         ///< the same (delimiter, SEI)
    MaybeStart,    ///< the same, or it lies between the slices of one picture
    EndOfSequence,
    Inside,  ///< belongs to the access unit it is met in
    Invalid,
};

/// What a slice says of its picture.
struct SliceInfo {
    bool newPicture = false;  ///< the first slice of its picture; the rest is known then only
    bool intra = false;       ///< the slice does without other pictures
    qz_MPEGUtil::PictureInfo picture;
};

/// The sequence parameter set in words and numbers.
struct VideoFacts {
    std::string profile;
    std::string level;
    unsigned profileNumber = 0;
    unsigned levelNumber = 0;
    int codedWidth = 0;
    int codedHeight = 0;
    int width = 0;  ///< visible
    int height = 0;
    std::uint32_t sarWidth = 1;  ///< shape of a sample
    std::uint32_t sarHeight = 1;
    bool interlaced = false;
    std::optional<FrameRate> rate;  ///< of the stream's own timing
    std::string refusal;            ///< why it cannot be recorded, when it cannot
};

/// One of two: H.264, H.265. NAL units come without start code; a slice may be cut short behind
/// kSliceHeaderBytes.
class VideoCodec {
public:
    /// More than the longest slice header with all its lists of weights.
    static constexpr std::size_t kSliceHeaderBytes = 2048;

    virtual ~VideoCodec() = default;

    virtual const char* Name() const = 0;
    virtual const GUID& Subtype() const = 0;

    virtual UnitRole RoleOf(std::span<const std::uint8_t> nal) = 0;
    virtual bool AddParameterSet(std::span<const std::uint8_t> nal) = 0;
    /// Type and id of a parameter set as one number, the same for one that replaces it.
    virtual unsigned ParameterSetKey(std::span<const std::uint8_t> nal) const = 0;
    /// The next slice in decoding order; nothing when its header cannot be read. With no picture open the
    /// slice starts one whatever it says.
    virtual std::optional<SliceInfo> ReadSlice(std::span<const std::uint8_t> nal, bool pictureOpen) = 0;
    /// A unit of role Start in front of a picture: whether decoding can begin there though the
    /// picture is no random access picture.
    virtual bool IsRecoveryPoint(std::span<const std::uint8_t> nal) const = 0;
    virtual void EndOfSequence() = 0;

    /// Of the sequence of the last picture.
    virtual std::uint32_t ReorderDepth() const = 0;
    virtual VideoFacts Facts() const = 0;
};

std::unique_ptr<VideoCodec> MakeH264Codec();
std::unique_ptr<VideoCodec> MakeH265Codec();

/// What a sequence parameter set says on its own; nothing for any other NAL unit.
std::optional<VideoFacts> ReadH264Facts(std::span<const std::uint8_t> nal);
std::optional<VideoFacts> ReadH265Facts(std::span<const std::uint8_t> nal);

/// The format whose sequence parameter set this NAL unit is; null when it is none.
std::unique_ptr<VideoCodec> CodecOfParameterSet(std::span<const std::uint8_t> nal);

}  // namespace mediakit_tool
