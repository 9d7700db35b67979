// Choices of reading that go beyond what the demultiplexer does by default.
#pragma once

#include "Platform/Com/Unknown.h"

namespace Norvane::MediaKit::Filters {

/// All off by default.
struct ReadingOptions {
    /// Read a sample entry `avc3` (H.264 with parameter sets in the samples) as `avc1`. Off: the track is left out.
    bool avc3AsAvc1 = false;
    /// Skip the boxes of segmented files (`styp`, `emsg`, `prft`, `ssix`, `mfra`) at top level. Off: the first of them
    /// after `moov` ends the search for boxes, and what follows it is not played.
    bool skipSegmentBoxes = false;
    /// Every sample of a track without `stss` is a sync sample (ISO/IEC 14496-12, 8.6.2). Off: none is.
    bool syncWithoutTable = false;
    /// `tfdt` sets the decode time of a fragment's first sample. Off: each fragment continues where the one before
    /// ended.
    bool fragmentDecodeTimes = false;
    /// The size of PCM samples that are grouped by chunks follows from the sample entry's channels and bits. Off: each
    /// counts 4 bytes.
    bool pcmSizeFromEntry = false;
    /// Data of fragments are contiguous (ISO/IEC 14496-12, 8.8.7 and 8.8.8): a run without an offset follows the run
    /// before, and a track fragment without a base follows the data of the track fragment before it in the same `moof`.
    /// Off: both begin at the base, or at the `moof`.
    bool contiguousRuns = false;
    /// Leave out what cannot be read, and report it as a finding: a track, a fragment, `mvex`, the top level from a
    /// truncated box on, a video track whose sample entries are all unknown or `av01`. Off: one of these refuses the
    /// file.
    bool skipBrokenParts = false;
    /// An empty edit before a track's first media delays the track. Off: it is ignored.
    bool emptyEdits = false;
};

/// Offered by the demultiplexer. Any thread; waits while a file is being opened.
struct IReadingPolicy : IUnknown {
    /// Takes effect when the input is connected. VFW_E_ALREADY_CONNECTED while it is.
    virtual HRESULT SetOptions(const ReadingOptions* options) = 0;
    virtual HRESULT GetOptions(ReadingOptions* options) = 0;

protected:
    ~IReadingPolicy() = default;
};

inline constexpr IID IID_IReadingPolicy = make_guid("B3A1F2C6-58D4-4E0B-9A77-2D6C0E9F4183");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IReadingPolicy> =
    Norvane::MediaKit::Filters::IID_IReadingPolicy;
