// Choices of a recording that go beyond what the multiplexer does by itself.
#pragma once

#include "Platform/Com/Unknown.h"

namespace Norvane::MediaKit::Filters {

/// Offered by the input pins of a multiplexer. Both choices are off at first. They are set before the
/// pin's first sample and refused afterwards with VFW_E_WRONG_STATE. Any thread; the filter lock is
/// taken.
struct IRecordingPolicy : IUnknown {
    /// Non-zero: H.265 units of type 0 (TRAIL_N, pictures that no other refers to) are written too.
    /// Without it they are lost, since the unit scanner takes type 0 for "no unit".
    virtual HRESULT SetKeepEveryUnit(BOOL keep) = 0;
    /// Non-zero: every H.265 random access picture (unit types 16 to 21 of ITU-T H.265 table 7-1) is a
    /// sync sample, not only type 19.
    virtual HRESULT SetEveryRandomAccessPictureIsSync(BOOL sync) = 0;

protected:
    ~IRecordingPolicy() = default;
};

inline constexpr IID IID_IRecordingPolicy = make_guid("7C0B5E0A-3F52-4D9C-9F0B-6A1E5C8D2B47");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IRecordingPolicy> =
    Norvane::MediaKit::Filters::IID_IRecordingPolicy;
