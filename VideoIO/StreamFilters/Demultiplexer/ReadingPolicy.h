// What a host has chosen through IReadingPolicy.
#pragma once

namespace Norvane::MediaKit::Filters::details {

/// The members are told in MediaKit/IReadingPolicy.h.
struct ReadingPolicy {
    bool readAvc3AsAvc1 = false;
    bool knowSegmentBoxes = false;
    bool everySampleIsSyncWithoutTable = false;
    bool useFragmentDecodeTimes = false;
    bool sizePcmByEntry = false;
    bool runsFollowEachOther = false;
    bool leaveOutBrokenParts = false;
    bool heedEmptyEdits = false;
};

}  // namespace Norvane::MediaKit::Filters::details
