// The frame rate of a stream as a rational number.
#pragma once

#include "MediaKit/StreamRate.h"
#include "Platform/Com/Unknown.h"

namespace qz_DSFilters {

/// Offered by the output pins of the demultiplexer. Any thread.
struct IStreamRate : IUnknown {
    /// Stores the rate that a host has set (IOverrideMediaType), else that of the file: 0 / 1 when unknown.
    virtual HRESULT GetRate(StreamRate* rate) = 0;

protected:
    ~IStreamRate() = default;
};

inline constexpr IID IID_IStreamRate = make_guid("25268043-C4CF-4446-AF01-97726F6AEAA4");

}  // namespace qz_DSFilters

template <>
inline constexpr IID uuid_of<qz_DSFilters::IStreamRate> = qz_DSFilters::IID_IStreamRate;
