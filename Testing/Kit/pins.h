// Pins of a filter, found as a host finds them.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IBaseFilter.h"
#include "Platform/DirectShow/IEnumPins.h"
#include "Platform/DirectShow/IPin.h"

#include <vector>

namespace mediakit_test {

inline std::vector<ComPtr<IPin>> pins_of(IBaseFilter* filter, PIN_DIRECTION direction) {
    std::vector<ComPtr<IPin>> found;
    ComPtr<IEnumPins> pins;
    if (FAILED(filter->EnumPins(pins.put()))) return found;
    for (ComPtr<IPin> pin; pins->Next(1, pin.put(), nullptr) == S_OK;) {
        PIN_DIRECTION its = PINDIR_INPUT;
        if (SUCCEEDED(pin->QueryDirection(&its)) && its == direction) found.push_back(pin);
    }
    return found;
}

/// The first pin of that direction that is not connected, or null.
inline ComPtr<IPin> free_pin(IBaseFilter* filter, PIN_DIRECTION direction) {
    for (const ComPtr<IPin>& pin : pins_of(filter, direction)) {
        ComPtr<IPin> peer;
        if (FAILED(pin->ConnectedTo(peer.put()))) return pin;
    }
    return nullptr;
}

}  // namespace mediakit_test
