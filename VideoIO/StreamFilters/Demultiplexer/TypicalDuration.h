// The duration that most samples of a track have.
#pragma once

#include "VideoIO/StreamFilters/Container/sample_table_boxes.h"

namespace Norvane::MediaKit::Filters::details {

/// In units of the entries; 0 without samples. Durations that more than a fifth of the samples have are averaged, if
/// they cover more than half of all; else all are. So a few odd samples at a cut do not bend the frame rate.
double TypicalDuration(const std::vector<vio::mp4::time_to_sample_box::entry>& entries);

}  // namespace Norvane::MediaKit::Filters::details
