#include "VideoIO/StreamFilters/Authoring/TrackTimeline.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

TrackTimeline::TrackTimeline(MovieTrack& track) : m_track(track) {
    const bool reordered = track.reorderDetected && !track.presentationOrder.empty();
    if (reordered) {
        track.SortPresentationOrder();
        if (track.timeBase == MinTime) track.timeBase = track.presentationOrder.front();
    }
    if (track.keepStart && size() > 0) m_start = reordered ? track.timeBase : track.samples[0].start;
    m_startTick = ToTicks(track.timescale, m_start);
    if (!reordered) return;
    for (std::size_t i = 0; i < size(); ++i)
        m_minimalOffset = std::min(m_minimalOffset, SubtractTimes(StartTick(i), DecodeTime(i)));
}

std::int64_t TrackTimeline::FirstMediaTime() const {
    const std::int64_t presented = SubtractTimes(0, m_minimalOffset);
    return m_startTick < 0 ? SubtractTimes(presented, m_startTick) : presented;
}

std::int64_t TrackTimeline::DecodeTime(std::size_t sample) const {
    if (!m_track.reorderDetected || sample >= m_track.presentationOrder.size()) return StartTick(sample);
    return ToTicks(m_track.timescale, SubtractTimes(m_track.presentationOrder[sample], m_track.timeBase));
}

}  // namespace Norvane::MediaKit::Filters
