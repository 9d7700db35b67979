// Exclusion for those who wait while they have it, which nobody may do with a lock.
#pragma once

#include "Platform/Kernel/Event.h"

namespace Norvane::MediaKit::Filters::details {

/// Waits until the turn is nobody's, has it for a scope, and passes it on to one of those who wait.
class Turn {
public:
    /// `free` is auto-reset, and set as long as the turn is nobody's.
    explicit Turn(CAMEvent& free) : m_free(free) { m_free.Wait(); }
    ~Turn() { m_free.Set(); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    CAMEvent& m_free;
};

}  // namespace Norvane::MediaKit::Filters::details
