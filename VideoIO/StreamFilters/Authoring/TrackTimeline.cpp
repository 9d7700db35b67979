#include "VideoIO/StreamFilters/Authoring/TrackTimeline.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

TrackTimeline::TrackTimeline(MovieTrack& track) : m_track(track) {
    m_ordered = (track.reorderDetected || track.options.mediaTimesAreDecodeTimes) && !track.presentationOrder.empty();
    if (m_ordered && track.options.mediaTimesAreDecodeTimes)
        FollowGivenDecodeTimes();
    else
        FollowPresentation(track);
}

void TrackTimeline::FollowPresentation(MovieTrack& track) {
    if (m_ordered) {
        track.SortPresentationOrder();
        if (track.timeBase == MinTime) track.timeBase = track.presentationOrder.front();
        m_timeBase = track.timeBase;
    }
    if (track.options.keepStartTime && size() > 0) m_start = m_ordered ? m_timeBase : track.samples[0].start;
    m_originTick = ToTicks(track.timescale, m_start);
    if (!m_ordered) return;
    for (std::size_t i = 0; i < size(); ++i)
        m_minimalOffset = std::min(m_minimalOffset, SubtractTimes(StartTick(i), DecodeTime(i)));
}

/// As they are, also after the composition time: then the offset is negative.
void TrackTimeline::FollowGivenDecodeTimes() {
    m_timeBase = m_track.presentationOrder.front();
    m_originTick = ToTicks(m_track.timescale, m_timeBase);
    if (size() > 0) m_start = m_track.samples[0].start;
    for (std::size_t i = 0; i < size(); ++i) {
        m_composed = m_composed || StartTick(i) != DecodeTime(i);
        m_start = std::min(m_start, m_track.samples[i].start);
    }
}

std::int64_t TrackTimeline::FirstMediaTime() const {
    const std::int64_t start = ToTicks(m_track.timescale, m_start);
    const std::int64_t composed = SubtractTimes(SubtractTimes(start, m_originTick), m_minimalOffset);
    return SubtractTimes(composed, std::min<std::int64_t>(start, 0));
}

std::int64_t TrackTimeline::DecodeTime(std::size_t sample) const {
    if (!m_ordered || sample >= m_track.presentationOrder.size()) return StartTick(sample);
    return ToTicks(m_track.timescale, SubtractTimes(m_track.presentationOrder[sample], m_timeBase));
}

}  // namespace Norvane::MediaKit::Filters
