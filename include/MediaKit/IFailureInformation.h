// The first failure of a filter.
#pragma once

#include "Platform/Com/Unknown.h"

#include <cstdint>
#include <string>

namespace Norvane::MediaKit::Filters {

/// One operation that failed.
struct FilterFailure {
    HRESULT result = S_OK;       ///< the failure's own code, such as 0x80070070 for a full disk
    std::wstring text;           ///< what could not be done, in words: "cannot write sample data"
    std::uint64_t position = 0;  ///< byte of the file it concerns; 0 when it concerns none
};

/// Offered by the file sink and the file source. Any thread; nothing is called with its lock held, and it never waits
/// for the file.
struct IFailureInformation : IUnknown {
    /// Copies the first failure since the filter was last given a file name or left the stopped state; S_FALSE, and an
    /// empty record, when there was none.
    virtual HRESULT GetFirstFailure(FilterFailure* failure) = 0;

protected:
    ~IFailureInformation() = default;
};

inline constexpr IID IID_IFailureInformation = make_guid("5D0A6F1E-7C34-4B8E-A9D1-3F2B60C87E95");

}  // namespace Norvane::MediaKit::Filters

template <>
inline constexpr IID uuid_of<Norvane::MediaKit::Filters::IFailureInformation> =
    Norvane::MediaKit::Filters::IID_IFailureInformation;
