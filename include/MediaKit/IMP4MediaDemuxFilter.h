// What the demultiplexer tells of the open file.
#pragma once

#include "Platform/Com/Unknown.h"

namespace Norvane::MediaKit::Filters {

/// Offered by the demultiplexer. Ask once its input is connected; any thread. GetCreationTime and IsStreamingOptimized
/// wait while a file is being opened.
struct IMP4MediaDemuxFilter : IUnknown {
    /// Stores when the movie was made as an OLE date: days since 1899-12-30 in universal time, the time of day as the
    /// fraction; a negative date counts its fraction forwards too. -657435.0 when the date is out of range.
    /// E_UNEXPECTED without a file, E_FAIL when the file does not tell.
    virtual HRESULT GetCreationTime(double* date) = 0;
    /// Reserved: S_OK.
    virtual HRESULT Reserved1() = 0;
    /// Whether `moov` stands before the first `mdat`. A truth value, no result code.
    virtual bool IsStreamingOptimized() = 0;
    /// Stores where playing would start for the first connected video stream, in 100 ns. `time` is where to look,
    /// unless `frames` is positive: then it is the stream's current start plus that many units of its timescale. E_FAIL
    /// without a connected video stream.
    virtual HRESULT GetNearestSyncPoint(REFERENCE_TIME time, int frames, REFERENCE_TIME* result) = 0;

protected:
    ~IMP4MediaDemuxFilter() = default;
};

inline constexpr IID IID_IMP4MediaDemuxFilter = make_guid("824E4CD3-52AB-4475-9F34-F92652AFA624");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IMP4MediaDemuxFilter> =
    Norvane::MediaKit::Filters::IID_IMP4MediaDemuxFilter;
