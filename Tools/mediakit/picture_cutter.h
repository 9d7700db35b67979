// Cuts an Annex B stream into pictures.
#pragma once

#include "Tools/mediakit/nal_cursor.h"
#include "Tools/mediakit/video_codec.h"

#include <map>
#include <optional>
#include <vector>

namespace mediakit_tool {

/// A picture as it is stored: an access unit, or the two of a pair of fields.
struct Picture {
    Slice slice;                 ///< with start codes
    std::uint64_t position = 0;  ///< in the input
    qz_MPEGUtil::PictureInfo info;
    std::uint32_t reorderDepth = 0;
    bool intra = false;  ///< its first slice does without other pictures
    bool recoveryPoint = false;
};

/// Reads pictures in decoding order. Damaged units are taken out with a warning. One thread.
class PictureCutter {
public:
    PictureCutter(StreamWindow& window, VideoCodec& codec, StreamReport& report);

    /// False at the end of the input. A cut by the reader's own Finish drops the picture that it hit.
    bool Next(Picture* picture);

    /// Until the recording starts: remembers parameter sets as they come, looks for recovery points, and
    /// takes a slice that lacks its parameter sets for part of the beginning rather than for damage.
    void SetSearching(bool searching) { m_searching = searching; }
    /// Puts those parameter sets in front of the picture that it does not bring itself.
    void Complete(Picture* picture) const;
    /// Slices that were dropped while searching.
    std::uint64_t DroppedSlices() const { return m_droppedSlices; }

private:
    struct Boundary {
        std::size_t end = 0;   ///< behind the last byte of the picture
        std::size_t code = 0;  ///< start code of the next one's first unit
    };

    bool Restart(bool skipCurrent);
    /// Acts on the unit that the cursor stands on. True when the picture in front of it is complete; the
    /// unit is then looked at again.
    bool Look(UnitRole role);
    bool LookAtSlice();
    bool LookAtStart(UnitRole role);
    void AddParameterSet();
    void DropUnit(const char* why);
    void DropIntroduction();
    void Advance();
    void Emit(Picture* picture);
    bool EmitLast(Picture* picture);
    void Close();
    /// The input ends in the middle, by an error or by the reader's Finish.
    bool CutShort() const { return m_window.Error() != NO_ERROR; }

    StreamWindow& m_window;
    VideoCodec& m_codec;
    StreamReport& m_report;
    NalCursor m_cursor;
    bool m_started = false;
    bool m_onUnit = false;  ///< the cursor stands on a unit
    bool m_searching = true;

    bool m_open = false;                 ///< m_picture has a slice
    bool m_firstField = false;           ///< and is one field, whose other one may follow
    Picture m_picture;                   ///< being put together; its slice is not set yet
    std::size_t m_lastEnd = 0;           ///< end of the unit before the cursor's
    std::optional<Boundary> m_boundary;  ///< where m_picture ends, unless another slice of it follows

    // Of the picture behind m_picture.
    std::optional<SliceInfo> m_nextSlice;  ///< its first slice, which the cursor stands on
    bool m_nextIsRecoveryPoint = false;

    std::uint64_t m_droppedSlices = 0;
    std::map<unsigned, std::vector<std::uint8_t>> m_parameterSets;  ///< while searching
};

}  // namespace mediakit_tool
