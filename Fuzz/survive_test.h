// What every file must let a reader do: come to an end, in time and within its memory.
#pragma once

#include <gtest/gtest.h>

#include <chrono>

#include "Fuzz/file_player.h"

namespace mediakit_fuzz {

/// Plays the file and expects all but what the samples are.
inline played survive(const bytes& file, const playing& how) {
    drop_reports();
    const auto begin = std::chrono::steady_clock::now();
    const allocation_meter meter;
    const played result = play(file, how);
    EXPECT_LE(meter.peak(), memory_allowed(file.size())) << 1.0 * meter.peak() / file.size() << " bytes for each";
    EXPECT_LE(result.buffers, memory_allowed(file.size()));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    return result;
}

}  // namespace mediakit_fuzz
