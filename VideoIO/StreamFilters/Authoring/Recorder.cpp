#include "VideoIO/StreamFilters/Authoring/Recorder.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Container/exception.h"

#include <algorithm>
#include <exception>
#include <new>
#include <string>
#include <utility>

namespace Norvane::MediaKit::Filters {

void Recorder::AddTrack(TrackInput& pin) { m_inputs.emplace_back(pin); }

void Recorder::BeginRun() {
    m_ended = false;
    m_output.TakeFailure();
    m_index.BeginRecording();
    m_monitor.BeginRun();
}

void Recorder::BeginTrack(std::size_t track) {
    m_inputs[track].BeginRun();
    m_inputs[track].Track().BeginRecording();
}

void Recorder::EndOfStream(std::size_t track) {
    m_inputs[track].endOfStream = true;
    CheckEndOfStream(m_inputs[track]);
    // The sources of the other tracks may be waiting for their samples, so that no Receive would do it.
    if (!m_ended) WriteReady();
}

void Recorder::CheckEndOfStream(RecorderInput& input) {
    bool allEnded = true;
    for (const RecorderInput& other : m_inputs) {
        if (!other.IsConnected()) continue;
        other.pin->SignalEndOfTrack();
        allEnded = allEnded && other.endOfStream;
    }
    input.pin->SignalDrained();
    if (!allEnded || m_ended) return;

    m_ended = true;  // first: writing the rest empties queues, which leads here again
    QZReport(3, L"-----> All tracks are EOS, delivering EOS.");
    for (const RecorderInput& other : m_inputs)
        if (other.IsConnected()) other.pin->SignalDrained();
    WriteRest();
    FlushToSystem();  // in a batch too: readers who see the end find everything with the system
    m_index.EndRecording();
    m_host.DeliverEndOfStream();
}

void Recorder::ReopenTrack(std::size_t track) {
    m_inputs[track].endOfStream = false;
    m_inputs[track].pin->ResetEndOfTrack();
    m_ended = false;
}

void Recorder::DiscardQueue(std::size_t track) {
    SampleQueue& queue = m_inputs[track].queue;
    m_monitor.CountDiscarded(queue.size());
    queue.Clear();
}

void Recorder::SetUpTrack(RecorderInput& input, IMediaSample& firstSample, bool forceTimescale90000) {
    MovieTrack& track = input.Track();
    if (track.handler) return;
    const HRESULT hr = track.SetupFromMediaType(input.pin->TrackMediaType(), &firstSample, forceTimescale90000);
    QZLogHRESULT(hr);
    if (track.handler) return;
    m_monitor.Fail(FAILED(hr) ? hr : E_FAIL,
                   std::wstring(L"cannot record ") + input.pin->TrackName() +
                       L": its media type gives no rate; the file waits for this track",
                   0);
}

HRESULT Recorder::BeginFile() {
    if (m_host.IsStopped()) return VFW_E_WRONG_STATE;
    m_written = true;
    const HRESULT hr = TryBeginFile();
    const HRESULT failure = m_output.TakeFailure();
    if (FAILED(hr)) m_monitor.Fail(FAILED(failure) ? failure : hr, L"cannot begin the file", 0);
    return hr;
}

HRESULT Recorder::TryBeginFile() try {
    std::shared_ptr<vio::byte_stream> boxes;
    if (const HRESULT hr = m_output.OpenBoxStream(boxes); FAILED(hr)) return hr;
    std::vector<MovieTrackRef> refs;
    std::vector<std::uint32_t> numbers;
    for (const RecorderInput& input : m_inputs) {
        if (!input.IsConnected()) continue;
        refs.push_back({&input.Track(), &input.pin->TrackMediaType(), input.Track().orientation});
        numbers.push_back(input.pin->TrackIndex());
    }
    StartMovie(std::move(boxes), std::move(refs));
    m_monitor.BeginFile(std::move(numbers));
    return S_OK;
} catch (const core::exception& e) {
    return FAILED(e.result()) ? e.result() : E_FAIL;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
} catch (const std::exception&) {
    return E_FAIL;
}

HRESULT Recorder::CheckOutput(const wchar_t* text) {
    const HRESULT hr = m_output.TakeFailure();
    if (FAILED(hr)) {
        m_monitor.MarkDamaged();
        m_monitor.Fail(hr, text, m_output.WritePosition());
    }
    return hr;
}

void Recorder::FlushToSystem() {
    if (!std::exchange(m_written, false)) return;
    FlushFile();
    m_monitor.Publish(FAILED(CheckOutput(L"cannot write what was gathered")));
}

void Recorder::Finish() {
    FlushToSystem();
    m_monitor.EndRun(FinishFile());
}

}  // namespace Norvane::MediaKit::Filters
