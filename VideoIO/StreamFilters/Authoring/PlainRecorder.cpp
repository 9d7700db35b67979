#include "VideoIO/StreamFilters/Authoring/PlainRecorder.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Authoring/ChunkWriter.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"

#include <utility>

namespace Norvane::MediaKit::Filters {

void PlainRecorder::AddTrack(TrackInput& pin) {
    Recorder::AddTrack(pin);
    m_interleaver.AddTrack();
}

void PlainRecorder::BeginTrack(std::size_t track) {
    Recorder::BeginTrack(track);
    m_interleaver.ResetTrack(track);
}

void PlainRecorder::Receive(std::size_t track, IMediaSample& sample, REFERENCE_TIME start) {
    RecorderInput& input = Inputs()[track];
    if (IsVideo(input.pin->TrackMediaType())) input.Track().DetectReordering(start);
    if (input.firstStart == MinTime) input.firstStart = start;
    SetUpTrack(input, sample, false);
    input.queue.Push(SubtractTimes(start, input.firstStart), &sample);
    ++input.received;
    RunPass(false);
}

void PlainRecorder::RunPass(bool final) {
    while (m_interleaver.CanWrite(Inputs(), Step(), final) && StartIfDue()) {
        const auto chosen = m_interleaver.Choose(Inputs(), Step());
        if (!chosen || !WriteChunk(*chosen, final)) return;
    }
}

bool PlainRecorder::StartIfDue() {
    if (m_movie.TrackCount() > 0) return true;
    const HRESULT hr = BeginFile();
    if (hr != VFW_E_WRONG_STATE) QZLogHRESULT(hr);
    return SUCCEEDED(hr);
}

void PlainRecorder::StartMovie(std::shared_ptr<vio::byte_stream> boxes, std::vector<MovieTrackRef> tracks) {
    m_movie.Start(std::move(boxes), m_settings, std::move(tracks));
    m_output.SetWritePosition(m_movie.DataPosition());
}

bool PlainRecorder::WriteChunk(std::size_t track, bool final) {
    RecorderInput& input = Inputs()[track];
    REFERENCE_TIME& mark = m_interleaver.Mark(track);
    const REFERENCE_TIME first = input.queue.front().key;
    MarkWritten();
    ChunkWriter writer(m_movie, m_output, m_monitor, input);
    if (writer.Write(AddTimes(InterleaveDuration(), mark), final, mark) > 0) {
        if (input.endOfStream && input.queue.empty()) CheckEndOfStream(input);
        return true;
    }
    // The first sample is exactly one step after the mark: moving the mark to it lets the next step take it.
    if (mark == first) return false;
    mark = first;
    return true;
}

REFERENCE_TIME PlainRecorder::InterleaveDuration() const {
    return (m_movie.TrackCount() > 0 ? m_movie.Settings() : m_settings).interleaveDuration;
}

bool PlainRecorder::FinishFile() {
    bool complete = false;
    if (m_movie.TrackCount() > 0) {
        const HRESULT hr = m_movie.Finalize(true, m_settings.refreshCount >= 1);
        const HRESULT failure = CheckOutput(L"cannot write the index");
        if (FAILED(hr) && SUCCEEDED(failure)) m_monitor.Fail(hr, L"cannot write the index", m_output.WritePosition());
        complete = m_movie.IsComplete();
        if (complete && Result().samplesLost > 0) m_output.Truncate(m_movie.EndPosition());
    }
    if (m_movie.DataShift() != 0) m_index.ShiftRecording(m_movie.DataShift());
    m_movie.Reset();
    return complete;
}

}  // namespace Norvane::MediaKit::Filters
