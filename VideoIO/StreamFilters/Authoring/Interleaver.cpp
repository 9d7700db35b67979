#include "VideoIO/StreamFilters/Authoring/Interleaver.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

bool Interleaver::CanWrite(std::span<const RecorderInput> inputs, REFERENCE_TIME step, bool final) {
    std::optional<REFERENCE_TIME> smallest;
    bool waiting = false;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (!inputs[i].IsConnected()) continue;
        if (!inputs[i].Track().handler) return false;
        waiting = waiting || !inputs[i].queue.empty();
        const auto span = SpanOf(inputs[i], step, m_marks[i]);
        if (span && (!smallest || *span < *smallest)) smallest = span;
    }
    if (final) return waiting;
    return smallest && *smallest != 0 && *smallest >= step;
}

std::optional<REFERENCE_TIME> Interleaver::SpanOf(const RecorderInput& input, REFERENCE_TIME step,
                                                  REFERENCE_TIME& mark) const {
    if (input.queue.empty() || input.received == 0) return std::nullopt;
    const REFERENCE_TIME first = input.queue.front().key;
    const REFERENCE_TIME last = input.queue.back().key;
    REFERENCE_TIME span = SubtractTimes(last, first);
    if (SubtractTimes(first, mark) > step) {
        span = SubtractTimes(last, mark);
        mark = first;
    }
    // The rest of an ended stream will not grow to a step; it must not hold the other tracks up.
    if (input.endOfStream && (span <= 0 || span < step)) return std::nullopt;
    return span;
}

std::optional<std::size_t> Interleaver::Choose(std::span<const RecorderInput> inputs, REFERENCE_TIME step) const {
    std::optional<std::size_t> chosen;
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        const RecorderInput& input = inputs[i];
        if (!input.IsConnected() || input.queue.empty()) continue;
        if (step > 0) {
            if (!input.endOfStream && SubtractTimes(input.queue.back().key, m_marks[i]) < step) continue;
            if (input.received == 0) continue;
        }
        if (!chosen || input.queue.front().key < inputs[*chosen].queue.front().key) chosen = i;
    }
    return chosen;
}

}  // namespace Norvane::MediaKit::Filters
