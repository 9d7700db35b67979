// Marks that travel with a sample beside its times.
#pragma once

#include "Platform/Com/Unknown.h"

namespace qz_DSFilters {

/// Offered by media samples that have room for it. The holder of the sample calls it, one thread at a time. All values
/// are 0 on a sample that comes from its allocator; setters answer S_OK, getters the value itself.
struct IMediaSampleMarker : IUnknown {
    /// For the use of those who pass samples to each other.
    virtual HRESULT SetMarkerValue(DWORD value) = 0;
    virtual DWORD GetMarkerValue() = 0;
    /// How far into the sample its reader is to start, 100 ns.
    virtual HRESULT SetMarkerOffset(REFERENCE_TIME offset) = 0;
    virtual REFERENCE_TIME GetMarkerOffset() = 0;
    /// The stream's own presentation time, 100 ns.
    virtual HRESULT SetMarkerTime(REFERENCE_TIME time) = 0;
    virtual REFERENCE_TIME GetMarkerTime() = 0;

protected:
    ~IMediaSampleMarker() = default;
};

inline constexpr IID IID_IMediaSampleMarker = make_guid("6BBB47FC-76DF-4CCD-BDA3-DBBF9FCEAEFF");

}  // namespace qz_DSFilters

template <>
inline constexpr IID uuid_of<qz_DSFilters::IMediaSampleMarker> = qz_DSFilters::IID_IMediaSampleMarker;
