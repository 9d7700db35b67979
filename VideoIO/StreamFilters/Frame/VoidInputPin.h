// A pin of the null renderer.
#pragma once

#include "Platform/DirectShow/CBaseInputPin.h"

#include <cstddef>

namespace Norvane::MediaKit::Filters {

class VoidFilter;

/// Appends itself to the filter's list, and takes every entry of itself out again.
class VoidInputPin final : public CBaseInputPin {
public:
    VoidInputPin(VoidFilter* filter, CCritSec* lock, HRESULT* phr, const wchar_t* name, std::size_t number);
    ~VoidInputPin() override;

    /// Any type.
    HRESULT CheckMediaType(const CMediaType* pmt) override;
    HRESULT BreakConnect() override;
    /// The last pin of the list opens a further one.
    HRESULT CompleteConnect(IPin* pReceivePin) override;
    /// S_OK unless the base refuses with a failure: a flush is no reason for upstream to stop.
    HRESULT Receive(IMediaSample* pSample) override;

private:
    VoidFilter* const m_filter;
    const std::size_t m_number;
};

}  // namespace Norvane::MediaKit::Filters
