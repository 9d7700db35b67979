#include "VideoIO/StreamFilters/Demultiplexer/MediaTypeOverrides.h"

#include "VideoIO/FilterUtil/MediaTypes/MediaTypeWriters.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"

namespace Norvane::MediaKit::Filters::details {

void MediaTypeOverrides::ApplyTo(CMediaType& type) const {
    if (aspectRatio.cx != 0) qz_DSFilters::SetAspectRatio(type, aspectRatio);
    if (interlaceFlags != MediaTypeOverrides{}.interlaceFlags) qz_DSFilters::SetInterlaceFlags(type, interlaceFlags);
    if (rate.m_denominator != 0) {
        const double units =
            static_cast<double>(rate.m_numerator) * kUnitsPerSecond / static_cast<double>(rate.m_denominator);
        qz_DSFilters::SetAvgTimePerFrame(type, RoundToInteger(std::trunc(units)));
    }
}

REFERENCE_TIME MediaTypeOverrides::Restated(REFERENCE_TIME time, const qz_DSFilters::StreamRate& streamRate) const {
    if (rate.m_denominator == 0) return time;
    const double exact = static_cast<double>(streamRate.m_numerator) * static_cast<double>(time) / kUnitsPerSecond;
    const auto frames = static_cast<double>(RoundToInteger(exact));
    return RoundToInteger(frames * kUnitsPerSecond / static_cast<double>(rate.m_numerator));
}

}  // namespace Norvane::MediaKit::Filters::details
