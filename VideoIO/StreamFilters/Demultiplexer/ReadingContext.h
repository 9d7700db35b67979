// What the steps of opening a file have in common.
#pragma once

#include "MediaKit/IReadingPolicy.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadingFindings.h"

namespace Norvane::MediaKit::Filters::details {

struct ReadingContext {
    const ReadingOptions& options;
    ReadingFindings& findings;
};

}  // namespace Norvane::MediaKit::Filters::details
