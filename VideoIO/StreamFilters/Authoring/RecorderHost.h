// Callbacks of a recorder to its filter.
#pragma once

#include "Platform/Com/Types.h"

namespace Norvane::MediaKit::Filters {

/// The only calls from authoring up into the multiplexers. The filter lock is held around every call.
class RecorderHost {
public:
    /// No file is begun while the filter is stopped.
    virtual bool IsStopped() const = 0;
    /// Every track has ended and is in the file.
    virtual void DeliverEndOfStream() = 0;
    virtual void SendGraphEvent(LONG code, LONG_PTR first, LONG_PTR second) = 0;

protected:
    ~RecorderHost() = default;
};

}  // namespace Norvane::MediaKit::Filters
