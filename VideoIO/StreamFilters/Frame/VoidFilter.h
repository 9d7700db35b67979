// A null renderer: it takes what a pin that must be connected has to give, and throws it away.
#pragma once

#include "Platform/DirectShow/CBaseFilter.h"
#include "Platform/Kernel/CriticalSection.h"

#include <cstddef>
#include <vector>

namespace Norvane::MediaKit::Filters {

class VoidInputPin;

/// Each pin stands twice in the list, in neighbouring places, and AddPin's reference on a pin counts on the filter:
/// the filter keeps one reference to itself, which nothing gives back. Hosts rely on both.
class VoidFilter final : public CBaseFilter {
public:
    VoidFilter(IUnknown* outer, HRESULT* phr);
    ~VoidFilter() override;

    int GetPinCount() override;
    CBasePin* GetPin(int n) override;

    /// Makes the pin "Input_" and the size of the list. Called by the factory, and by a pin that is connected while it
    /// is the last, under the filter's lock.
    HRESULT AddPin();

private:
    friend class VoidInputPin;

    CCritSec m_lock{"VoidFilter", LockRank::Filter};
    std::vector<VoidInputPin*> m_pins;  ///< Changed while connecting only.
};

}  // namespace Norvane::MediaKit::Filters
