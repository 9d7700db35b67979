#include "Tools/mediakit/track_crowd.h"

#include <algorithm>

namespace mediakit_tool {

void TrackCrowd::Join(CAMEvent& wake) {
    CAutoLock lock(&m_lock);
    if (Find(wake) == nullptr) m_tracks.push_back({&wake});
}

void TrackCrowd::Leave(CAMEvent& wake) {
    CAutoLock lock(&m_lock);
    if (std::erase_if(m_tracks, [&wake](const Track& track) { return track.wake == &wake; }) == 0) return;
    for (Track& track : m_tracks) {
        track.waiting = false;
        track.wake->Set();
    }
}

bool TrackCrowd::BeginWait(CAMEvent& wake) {
    CAutoLock lock(&m_lock);
    Track* const track = Find(wake);
    if (track == nullptr || CountWaiting() + 1 >= m_tracks.size()) return false;
    track->waiting = true;
    return true;
}

void TrackCrowd::EndWait(CAMEvent& wake) {
    CAutoLock lock(&m_lock);
    if (Track* const track = Find(wake)) track->waiting = false;
}

void TrackCrowd::Wake(CAMEvent& wake) {
    EndWait(wake);
    wake.Set();
}

std::size_t TrackCrowd::Waiting() const {
    CAutoLock lock(&m_lock);
    return CountWaiting();
}

std::size_t TrackCrowd::CountWaiting() const {
    return static_cast<std::size_t>(std::ranges::count_if(m_tracks, &Track::waiting));
}

TrackCrowd::Track* TrackCrowd::Find(const CAMEvent& wake) {
    const auto found = std::ranges::find(m_tracks, &wake, &Track::wake);
    return found == m_tracks.end() ? nullptr : &*found;
}

}  // namespace mediakit_tool
