// What every file must let a reader do: come to an end, in time and within its memory.
#pragma once

#include "Fuzz/file_player.h"

#include <gtest/gtest.h>

#include <chrono>

namespace mediakit_fuzz {

/// Plays the file and expects all but what the samples are.
inline played survive(const bytes& file, const playing& how) {
    drop_reports();
    const auto begin = std::chrono::steady_clock::now();
    const allocation_meter meter;
    const played result = play(file, how);
    const std::size_t held = meter.peak() + result.buffers;  // which lie outside of the heap
    EXPECT_LE(held, memory_allowed(file.size())) << 1.0 * held / file.size() << " bytes for each";
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
    return result;
}

}  // namespace mediakit_fuzz
