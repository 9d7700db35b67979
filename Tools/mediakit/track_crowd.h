// The threads of the tracks of a copy, of which not all may wait for each other.
#pragma once

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/ThreadSafety.h"

#include <vector>

namespace mediakit_tool {

/// The multiplexer keeps the samples of one track until it has enough of all the others. A track that has run out of
/// buffers waits for that; when all tracks would, nobody is left to bring what they wait for. Any thread. A track is
/// known by the event that it waits for.
class TrackCrowd {
public:
    /// A track that brings samples.
    void Join(CAMEvent& wake);
    /// It brings no more: the others look again whether they may wait. Nothing for one that has left.
    void Leave(CAMEvent& wake);

    /// False: everybody else waits, so that the caller must not. True is followed by a wait for the event, and EndWait.
    bool BeginWait(CAMEvent& wake);
    void EndWait(CAMEvent& wake);
    /// Sets the event. From now on the track counts as at work, however long its thread takes to wake.
    void Wake(CAMEvent& wake);
    /// How many wait.
    std::size_t Waiting() const;

private:
    struct Track {
        CAMEvent* wake;
        bool waiting = false;
    };
    /// Null for a track that is not there.
    Track* Find(const CAMEvent& wake) MK_REQUIRES(m_lock);
    std::size_t CountWaiting() const MK_REQUIRES(m_lock);

    mutable CCritSec m_lock{"TrackCrowd", LockRank::FilterInner};
    std::vector<Track> m_tracks MK_GUARDED_BY(m_lock);
};

}  // namespace mediakit_tool
