// Output order of the pictures of an H.264 or H.265 stream in decoding order.
//
// The way to use it: give every parameter set to AddParameterSet as it comes, and the first slice of
// every access unit to AddPicture. Within one coded video sequence pictures are shown in the order of
// their picture order counts; all pictures of a sequence are shown before those of the next. So the
// pair (sequence, picture_order_count) sorts a whole stream, and a picture's turn is known for sure
// once ReorderDepth() frames behind it have come, or the next sequence.
//
// No memory is taken for pictures, and only slice header bytes are read. One thread at a time.
#pragma once

#include "VideoIO/MPEGUtil/SliceHeaders.h"

#include <cstdint>
#include <optional>
#include <span>

namespace qz_MPEGUtil {

/// What the order and the sample table of a recording need to know of one access unit.
struct PictureInfo {
    std::uint8_t nal_unit_type = 0;
    std::uint8_t nal_ref_idc = 0;  // H.264; H.265 has 1 for a picture that others of its sub-layer may use
    std::uint8_t temporal_id = 0;  // H.265
    bool reference = false;        // other pictures may be predicted from this one
    /// Instantaneous decoding refresh.
    bool idr = false;
    /// Decoding can start here: IDR; in H.265 all intra random access pictures (IDR, BLA, CRA).
    bool random_access = false;
    /// All pictures before this one in decoding order come out before it and all behind it: IDR; in
    /// H.264 memory_management_control_operation 5 too, in H.265 every IRAP with NoRaslOutputFlag.
    bool starts_sequence = false;
    bool field = false;         // one field rather than a frame
    bool bottom_field = false;  // of a field
    /// The second field of the previous access unit's picture: the two make one frame.
    bool second_field = false;
    bool rasl = false;     // H.265: a leading picture that cannot be decoded when decoding starts at its IRAP
    bool radl = false;     // H.265: a leading picture that can
    bool leading = false;  // either of them
    /// The picture is shown. False for H.265 pictures with pic_output_flag 0 and for RASL pictures
    /// whose random access picture started the sequence.
    bool output = true;
    /// How many sequences started before this one since the start or Reset: 0, 1, 2, ...
    std::uint64_t sequence = 0;
    /// PicOrderCnt of this frame or field (H.264 clause 8.2.1, H.265 clause 8.3.1), after the
    /// subtraction that operation 5 asks for.
    std::int32_t picture_order_count = 0;
};

/// Picture order of H.264, clause 8.2.1: types 0, 1 and 2, frames and fields.
class H264PictureOrder {
public:
    /// A sequence or picture parameter set NAL unit, with header byte, without start code. False when
    /// it is another NAL unit or cannot be read.
    bool AddParameterSet(std::span<const std::uint8_t> nal) { return m_sets.Add(nal); }

    /// Any slice NAL unit (types 1, 2, 5) of the primary coded picture of the next access unit, in
    /// decoding order. Nothing, and no change, when its header cannot be read or is redundant.
    std::optional<PictureInfo> AddPicture(std::span<const std::uint8_t> slice);

    /// Forgets the state of the sequence (for a jump in the stream); parameter sets stay.
    void Reset();

    /// Upper bound, in frames, on how many precede a frame in decoding order and follow it in output
    /// order, in the sequence of the last picture; before the first picture, 0.
    std::uint32_t ReorderDepth() const { return m_reorderDepth; }

    const H264ParameterSetTables& ParameterSets() const { return m_sets; }
    /// The sequence parameter set of the last picture, null before the first one.
    const H264SequenceSyntax* ActiveSequence() const;

private:
    struct Counts {
        std::int32_t top = 0;
        std::int32_t bottom = 0;
    };

    bool IsSecondField(const H264SliceHeader& slice) const;
    std::int64_t FrameNumOffset(const H264SliceHeader& slice, const H264SequenceSyntax& sps) const;
    Counts CountPicture(const H264SliceHeader& slice, const H264SequenceSyntax& sps, std::int64_t frame_num_offset);
    Counts CountType0(const H264SliceHeader& slice, const H264SequenceSyntax& sps);
    static Counts CountType1(const H264SliceHeader& slice, const H264SequenceSyntax& sps,
                             std::int64_t frame_num_offset);
    static Counts CountType2(const H264SliceHeader& slice, std::int64_t frame_num_offset);
    static std::int32_t PictureCount(const H264SliceHeader& slice, Counts& counts);
    void Remember(const H264SliceHeader& slice, Counts counts, std::int64_t frame_num_offset, bool second_field);

    H264ParameterSetTables m_sets;
    bool m_started = false;
    std::uint64_t m_sequence = 0;
    std::uint32_t m_activeSequence = 0;
    std::uint32_t m_reorderDepth = 0;
    // Type 0: of the previous reference picture.
    std::int32_t m_prevPicOrderCntMsb = 0;
    std::int32_t m_prevPicOrderCntLsb = 0;
    std::int32_t m_picOrderCntMsb = 0;
    // Types 1 and 2: of the previous picture.
    std::int64_t m_prevFrameNumOffset = 0;
    std::uint32_t m_prevFrameNum = 0;
    // Pairing of fields: the previous picture when it was a first field.
    bool m_openField = false;
    H264SliceHeader m_previous;
};

/// Picture order of H.265, clause 8.3.1, of the base layer.
class H265PictureOrder {
public:
    /// A video, sequence or picture parameter set NAL unit, with its two header bytes.
    bool AddParameterSet(std::span<const std::uint8_t> nal) { return m_sets.Add(nal); }

    /// The first slice segment NAL unit (types 0 to 9 and 16 to 21) of the next access unit, in decoding order; any
    /// other independent slice segment of it will do. Nothing, and no change, when its header cannot
    /// be read, is that of a dependent segment, or belongs to another layer than 0.
    std::optional<PictureInfo> AddPicture(std::span<const std::uint8_t> slice);

    /// An end of sequence or end of bitstream NAL unit (36, 37) was met: the next random access
    /// picture starts a sequence even if it is a CRA picture.
    void EndOfSequence() { m_firstInSequence = true; }

    /// Forgets the state of the sequence (for a jump in the stream); parameter sets stay.
    void Reset();

    /// sps_max_num_reorder_pics of the highest sub-layer, for the sequence of the last picture.
    std::uint32_t ReorderDepth() const { return m_reorderDepth; }

    const H265ParameterSetTables& ParameterSets() const { return m_sets; }
    /// The sequence parameter set of the last picture, null before the first one.
    const H265SequenceParameterSet* ActiveSequence() const;

private:
    std::int32_t CountPicture(const H265SliceHeader& slice, const H265SequenceParameterSet& sps,
                              bool starts_sequence) const;

    H265ParameterSetTables m_sets;
    bool m_started = false;
    bool m_firstInSequence = true;
    bool m_noRaslOutput = false;  // of the last IRAP picture
    std::uint64_t m_sequence = 0;
    std::uint32_t m_activeSequence = 0;
    std::uint32_t m_reorderDepth = 0;
    std::int32_t m_prevTid0PicOrderCnt = 0;
};

}  // namespace qz_MPEGUtil
