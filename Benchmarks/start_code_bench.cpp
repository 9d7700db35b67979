// Start codes in 64 MiB of noise without one, beside memchr for a byte that is not there.
#include "VideoIO/MPEGUtil/StartCode.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

/// Noise as coded video has it, with the zero runs that emulation prevention leaves, and no byte 0xFF.
const std::vector<std::uint8_t>& Noise() {
    static const std::vector<std::uint8_t> noise = [] {
        std::vector<std::uint8_t> bytes(64u << 20);
        std::mt19937_64 random(1);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random() % 255);
        for (std::size_t i = 2; i < bytes.size(); ++i)
            if (bytes[i] <= 1 && bytes[i - 1] == 0 && bytes[i - 2] == 0) bytes[i] = 3;
        return bytes;
    }();
    return noise;
}

void MemchrOverTheSameBytes(benchmark::State& state) {
    const auto& noise = Noise();
    for (auto _ : state) benchmark::DoNotOptimize(std::memchr(noise.data(), 0xFF, noise.size()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * noise.size()));
}
BENCHMARK(MemchrOverTheSameBytes)->Unit(benchmark::kMillisecond);

void FindStartCode(benchmark::State& state) {
    const auto& noise = Noise();
    for (auto _ : state)
        benchmark::DoNotOptimize(qz_MPEGUtil::FindStartCode(noise.data(), noise.data() + noise.size()));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * noise.size()));
}
BENCHMARK(FindStartCode)->Unit(benchmark::kMillisecond);

}  // namespace
