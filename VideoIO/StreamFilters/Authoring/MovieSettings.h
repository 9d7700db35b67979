// What a host may choose about the files that a multiplexer writes.
#pragma once

#include "Platform/Com/Types.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Norvane::MediaKit::Filters {

/// A text in the file's user data, under a four-character code; UTF-8.
struct MovieMetadataItem {
    std::uint32_t fourcc = 0;
    std::string text;
};

/// Copied whole when a recording starts; a later change takes effect at the next start.
/// Durations are in 100 ns.
struct MovieSettings {
    REFERENCE_TIME interleaveDuration = 2500000;   ///< target span of a chunk and of one interleave step
    REFERENCE_TIME reservedDuration1 = 500000;     ///< kept with the settings, without effect
    REFERENCE_TIME fragmentDuration = 10000000;    ///< least length of a fragment
    REFERENCE_TIME reservedDuration2 = 100000000;  ///< kept with the settings, without effect
    std::int64_t reservedValue = 0;                ///< kept with the settings, without effect
    bool moveMoovToFront = false;                  ///< at the end `moov` goes in front of `mdat`
    /// Payload at which a further `mdat` is opened; more than the default counts as the default. Far enough below 2^32
    /// that the last chunk keeps the box header at 8 bytes.
    std::uint64_t maxMdatSize = 0x80000000;
    std::uint64_t maxStcoOffset = 0x80000000;  ///< a chunk beyond it gives its track 64-bit offsets
    std::vector<MovieMetadataItem> metadata;
    bool finishAsPlainFile = true;  ///< a fragmented recording ends as a plain file
    /// From 1 on, a `moov` that is in the file before the end stays there as dead space inside `mdat`.
    std::int64_t refreshCount = 0;

    /// A further text for a code that is there already joins its text with "/".
    void AddMetadata(std::uint32_t fourcc, const std::string& text);
};

}  // namespace Norvane::MediaKit::Filters
