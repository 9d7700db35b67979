#include "Tools/mediakit/track_crowd.h"

#include <algorithm>

namespace mediakit_tool {

void TrackCrowd::Join(CAMEvent& wake) {
    CAutoLock lock(&m_lock);
    if (std::ranges::find(m_tracks, &wake) == m_tracks.end()) m_tracks.push_back(&wake);
}

void TrackCrowd::Leave(CAMEvent& wake) {
    CAutoLock lock(&m_lock);
    if (std::erase(m_tracks, &wake) == 0) return;
    for (CAMEvent* const other : m_tracks) other->Set();
}

bool TrackCrowd::BeginWait() {
    CAutoLock lock(&m_lock);
    if (m_waiting + 1 >= m_tracks.size()) return false;
    ++m_waiting;
    return true;
}

void TrackCrowd::EndWait() {
    CAutoLock lock(&m_lock);
    --m_waiting;
}

std::size_t TrackCrowd::Waiting() const {
    CAutoLock lock(&m_lock);
    return m_waiting;
}

}  // namespace mediakit_tool
