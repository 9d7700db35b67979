#include "VideoIO/StreamFilters/Demultiplexer/TypicalDuration.h"

#include <algorithm>
#include <array>

namespace Norvane::MediaKit::Filters::details {
namespace {

struct Candidate {
    std::uint32_t delta = 0;
    std::uint64_t samples = 0;
};
/// Fewer than five durations can have more than a fifth each.
using Candidates = std::array<Candidate, 4>;

Candidate* Find(Candidates& candidates, std::uint32_t delta) {
    for (Candidate& candidate : candidates)
        if (candidate.samples != 0 && candidate.delta == delta) return &candidate;
    return nullptr;
}

/// Every duration that more than a fifth of the samples have is among the result, whatever the number of different ones
/// (Misra and Gries, Finding repeated elements, 1982). Linear in the entries and without memory.
Candidates FrequentDurations(const std::vector<vio::mp4::time_to_sample_box::entry>& entries) {
    Candidates candidates;
    for (const auto& entry : entries) {
        std::uint64_t left = entry.sample_count;
        if (left == 0) continue;
        if (Candidate* const known = Find(candidates, entry.sample_delta)) {
            known->samples += left;
            continue;
        }
        const auto lowest = std::min_element(candidates.begin(), candidates.end(),
                                             [](const auto& a, const auto& b) { return a.samples < b.samples; });
        const std::uint64_t paid = std::min(left, lowest->samples);
        for (Candidate& candidate : candidates) candidate.samples -= paid;
        left -= paid;
        if (left != 0) *lowest = {entry.sample_delta, left};
    }
    return candidates;
}

struct Mean {
    double duration = 0;
    std::uint64_t samples = 0;

    void Add(std::uint32_t delta, std::uint64_t count) {
        duration += static_cast<double>(delta) * static_cast<double>(count);
        samples += count;
    }
    double Value() const { return samples == 0 ? 0 : duration / static_cast<double>(samples); }
};

}  // namespace

double TypicalDuration(const std::vector<vio::mp4::time_to_sample_box::entry>& entries) {
    Candidates candidates = FrequentDurations(entries);
    std::array<std::uint64_t, candidates.size()> exact{};
    Mean all;
    for (const auto& entry : entries) {
        all.Add(entry.sample_delta, entry.sample_count);
        if (const Candidate* const known = Find(candidates, entry.sample_delta))
            exact[static_cast<std::size_t>(known - candidates.data())] += entry.sample_count;
    }
    Mean kept;
    for (std::size_t i = 0; i < candidates.size(); ++i)
        if (exact[i] > all.samples / 5) kept.Add(candidates[i].delta, exact[i]);
    return kept.samples > all.samples / 2 ? kept.Value() : all.Value();
}

}  // namespace Norvane::MediaKit::Filters::details
