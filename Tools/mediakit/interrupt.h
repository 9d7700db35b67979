// Ctrl-C and requests to terminate as an event.
#pragma once

#include "Platform/Kernel/Event.h"

namespace mediakit_tool {

/// While it lives, the first interrupt sets the event; a second one ends the process. One at a time.
class InterruptWatch {
public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

    /// Manual reset; stays set.
    HANDLE Event() const { return m_event; }

private:
    static BOOL Handle(DWORD event);

    CAMEvent m_event{true};
};

}  // namespace mediakit_tool
