#include "VideoIO/StreamFilters/Authoring/TrackTimeline.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

TrackTimeline::TrackTimeline(MovieTrack& track) : m_track(track) {
    if (!track.reorderDetected || track.presentationOrder.empty()) return;
    track.SortPresentationOrder();
    if (track.timeBase == MinTime) track.timeBase = track.presentationOrder.front();
    for (std::size_t i = 0; i < size(); ++i)
        m_minimalOffset = std::min(m_minimalOffset, SubtractTimes(StartTick(i), DecodeTime(i)));
}

std::int64_t TrackTimeline::DecodeTime(std::size_t sample) const {
    if (!m_track.reorderDetected || sample >= m_track.presentationOrder.size()) return StartTick(sample);
    return ToTicks(m_track.timescale, SubtractTimes(m_track.presentationOrder[sample], m_track.timeBase));
}

}  // namespace Norvane::MediaKit::Filters
