// The threads of the tracks of a copy, of which not all may wait for each other.
#pragma once

#include <vector>

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/ThreadSafety.h"

namespace mediakit_tool {

/// The multiplexer keeps the samples of one track until it has enough of all the others. A track that has run out of
/// buffers waits for that; when all tracks would, nobody is left to bring what they wait for. Any thread.
class TrackCrowd {
public:
    /// A track that still brings samples. `wake` is set when it is to look again whether it may wait.
    void Join(CAMEvent& wake);
    /// It brings no more. Nothing for one that has left.
    void Leave(CAMEvent& wake);

    /// False: everybody else waits, so that the caller must not. True is followed by EndWait.
    bool BeginWait();
    void EndWait();
    /// How many do.
    std::size_t Waiting() const;

private:
    mutable CCritSec m_lock{"TrackCrowd", LockRank::FilterInner};
    std::vector<CAMEvent*> m_tracks GUARDED_BY(m_lock);
    std::size_t m_waiting GUARDED_BY(m_lock) = 0;
};

}  // namespace mediakit_tool
