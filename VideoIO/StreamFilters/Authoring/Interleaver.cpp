#include "VideoIO/StreamFilters/Authoring/Interleaver.h"

#include "Logging/Checks.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

bool Interleaver::Pass(bool final) {
    m_tookAny = false;
    while (RunStep(final) == Step::Again) {
    }
    return m_tookAny;
}

Interleaver::Step Interleaver::RunStep(bool final) {
    std::optional<REFERENCE_TIME> smallest;
    if (!MeasureSpans(smallest)) return Step::Done;
    if (final ? !AnySampleWaits() : !smallest || *smallest == 0 || *smallest < StepSpan()) return Step::Done;

    if (m_host.MovieTrackCount() == 0) {
        const HRESULT hr = m_host.StartMovie();
        if (FAILED(hr)) {
            if (hr != VFW_E_WRONG_STATE) QZLogHRESULT(hr);
            return Step::Done;
        }
    }

    TrackInput* const input = Choose();
    if (input == nullptr) return Step::Done;
    InputState& state = input->State();
    const REFERENCE_TIME first = state.queue.front().key;
    if (m_host.WriteChunk(*input, AddTimes(m_host.InterleaveDuration(), state.chunkStart), final) > 0) {
        m_tookAny = true;
        return Step::Again;
    }
    // The first sample lies exactly one step behind the mark: moving the mark to it lets the next step take it.
    if (state.chunkStart == first) return Step::Done;
    state.chunkStart = first;
    return Step::Again;
}

bool Interleaver::MeasureSpans(std::optional<REFERENCE_TIME>& smallest) {
    const REFERENCE_TIME step = StepSpan();
    if (m_inputs.empty()) return false;
    for (TrackInput* input : m_inputs) {
        if (!input->IsTrackConnected()) continue;
        if (!input->Track().handler) return false;
        const auto span = SpanOf(*input, step);
        if (span && (!smallest || *span < *smallest)) smallest = span;
    }
    return true;
}

std::optional<REFERENCE_TIME> Interleaver::SpanOf(TrackInput& input, REFERENCE_TIME step) const {
    InputState& state = input.State();
    if (state.queue.empty() || state.received == 0) return std::nullopt;
    const REFERENCE_TIME first = state.queue.front().key;
    const REFERENCE_TIME last = state.queue.back().key;
    REFERENCE_TIME span = SubtractTimes(last, first);
    if (SubtractTimes(first, state.chunkStart) > step) {
        span = SubtractTimes(last, state.chunkStart);
        state.chunkStart = first;
    }
    // Nothing will make the rest of an ended stream grow to a step; it must not hold the others up.
    if (state.endOfStream && (span <= 0 || span < step)) return std::nullopt;
    return span;
}

bool Interleaver::AnySampleWaits() const {
    return std::ranges::any_of(
        m_inputs, [](TrackInput* input) { return input->IsTrackConnected() && !input->State().queue.empty(); });
}

TrackInput* Interleaver::Choose() const {
    const REFERENCE_TIME step = StepSpan();
    TrackInput* chosen = nullptr;
    for (TrackInput* input : m_inputs) {
        const InputState& state = input->State();
        if (!input->IsTrackConnected() || state.queue.empty()) continue;
        if (step > 0) {
            if (!state.endOfStream && SubtractTimes(state.queue.back().key, state.chunkStart) < step) continue;
            if (state.received == 0) continue;
        }
        if (chosen == nullptr || state.queue.front().key < chosen->State().queue.front().key) chosen = input;
    }
    return chosen;
}

}  // namespace Norvane::MediaKit::Filters
