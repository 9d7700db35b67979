// How the pictures of a stream are turned for display.
#pragma once

#include "MediaKit/IOverrideMediaType.h"

namespace qz_DSFilters {

/// Offered by the output pins of the demultiplexer. Any thread.
struct IVideoOrientation : IUnknown {
    /// Stores one of VideoOrientation: what a host has set (IOverrideMediaType), else what the file says.
    virtual HRESULT GetOrientation(DWORD* orientation) = 0;

protected:
    ~IVideoOrientation() = default;
};

inline constexpr IID IID_IVideoOrientation = make_guid("1D0A463E-C60E-482D-A950-191B605A4A3C");

}  // namespace qz_DSFilters

template <>
inline constexpr IID uuid_of<qz_DSFilters::IVideoOrientation> = qz_DSFilters::IID_IVideoOrientation;
