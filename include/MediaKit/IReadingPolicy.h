// Choices of reading that go beyond what the demultiplexer does by itself.
#pragma once

#include "Platform/Com/Unknown.h"

namespace Norvane::MediaKit::Filters {

/// Offered by the demultiplexer. All choices are off at first. They are made before the input is connected and refused
/// with VFW_E_ALREADY_CONNECTED while it is. Non-zero switches on. Any thread; waits while a file is being opened.
struct IReadingPolicy : IUnknown {
    /// A sample entry `avc3` (H.264 with parameter sets in the samples) is read as `avc1`. Without it such a track is
    /// left out.
    virtual HRESULT SetReadAvc3AsAvc1(BOOL read) = 0;
    /// The boxes of segmented files (`styp`, `emsg`, `prft`, `ssix`, `mfra`) are known at top level. Without it the
    /// first of them behind `moov` ends the search for boxes, and what lies behind it is not played.
    virtual HRESULT SetKnowSegmentBoxes(BOOL know) = 0;
    /// A track that has no `stss` consists of sync samples, as ISO/IEC 14496-12 says. Without it none of its samples is
    /// one.
    virtual HRESULT SetEverySampleIsSyncWithoutTable(BOOL sync) = 0;
    /// `tfdt` sets the decode time of a fragment's first sample. Without it each fragment goes on where the one before
    /// has ended.
    virtual HRESULT SetUseFragmentDecodeTimes(BOOL use) = 0;
    /// The bytes of PCM samples that are grouped by chunks follow from the sample entry's channels and bits. Without it
    /// each counts 4 bytes.
    virtual HRESULT SetSizePcmByEntry(BOOL byEntry) = 0;
    /// Fragments' data lie as ISO/IEC 14496-12 (8.8.7, 8.8.8) has them: a run without an offset follows the run before,
    /// and a track fragment without a base follows the data of the track fragment before it in the same `moof`. Without
    /// it both begin at the base, or at the `moof`.
    virtual HRESULT SetRunsFollowEachOther(BOOL follow) = 0;
    /// What cannot be read is left out and told in the log: a track, a fragment, `mvex`, the top level from a box on
    /// that is cut off. So is a video track that nobody here decodes: `av01`, or sample entries of which none is known.
    /// Without it one broken box or such a track refuses the file.
    virtual HRESULT SetLeaveOutBrokenParts(BOOL leaveOut) = 0;
    /// Empty edits in front of a track's first media make it start later. Without it they are passed over, and the
    /// track starts with the others.
    virtual HRESULT SetHeedEmptyEdits(BOOL heed) = 0;

protected:
    ~IReadingPolicy() = default;
};

inline constexpr IID IID_IReadingPolicy = make_guid("B3A1F2C6-58D4-4E0B-9A77-2D6C0E9F4183");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IReadingPolicy> =
    Norvane::MediaKit::Filters::IID_IReadingPolicy;
