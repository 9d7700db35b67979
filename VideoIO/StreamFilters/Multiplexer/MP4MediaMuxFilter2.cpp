#include "VideoIO/StreamFilters/Multiplexer/MP4MediaMuxFilter2.h"

#include "Logging/Checks.h"
#include "MediaKit/Factories.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"
#include "VideoIO/StreamFilters/Container/exception.h"
#include "VideoIO/StreamFilters/Multiplexer/OutputPinByteStream.h"

#include <exception>
#include <new>
#include <utility>

namespace Norvane::MediaKit::Filters {

MP4MediaMuxFilter::MP4MediaMuxFilter(IUnknown* outer, HRESULT* phr, Movie::Clock clock)
    : MuxFilter("MP4 multiplexer", outer, CLSID_MP4MediaMuxFilter, phr), m_movie(clock) {}

HRESULT MP4MediaMuxFilter::OnSampleReceived(MP4MediaMuxInputPin& pin, IMediaSample& sample, REFERENCE_TIME start) {
    if (IsBeyondStop(pin, start)) return S_FALSE;
    const CAutoLock lock(&m_lock);
    if (const HRESULT hr = CheckTakesSamples(pin); hr != S_OK) return hr;
    InputState& state = pin.State();
    MovieTrack& track = pin.Track();

    if (IsVideo(pin.TrackMediaType())) track.NoteVideoArrival(start);
    if (state.firstStart == MinTime) state.firstStart = start;
    // Without a handler the pin goes on, and blocks the file.
    if (!track.handler) QZLogHRESULT(track.SetupFromMediaType(pin.TrackMediaType(), &sample, false));
    state.queue.Push(SubtractTimes(start, state.firstStart), &sample);
    ++state.received;
    RunInterleaver(false);
    return S_OK;
}

void MP4MediaMuxFilter::RunInterleaver(bool final) {
    Interleaver(*this, Inputs()).Pass(final);
    if (!InBatch()) HandOn();
}

void MP4MediaMuxFilter::HandOn() {
    if (std::exchange(m_written, false)) m_movie.Flush();
}

HRESULT MP4MediaMuxFilter::StartMovie() {
    if (IsStopped()) return VFW_E_WRONG_STATE;
    m_written = true;
    try {
        HRESULT hr = S_OK;
        auto output = OpenOutput(hr);
        if (FAILED(hr)) return hr;
        m_movie.Start(std::move(output), m_settings, TrackRefs());
    } catch (const core::exception& e) {
        return FAILED(e.result()) ? e.result() : E_FAIL;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const std::exception&) {
        return E_FAIL;
    }
    m_outputPin.SetWritePosition(m_movie.DataPosition());
    return S_OK;
}

std::size_t MP4MediaMuxFilter::WriteChunk(TrackInput& input, REFERENCE_TIME limit, bool forced) {
    m_written = true;
    OutputPin_byte_stream stream(m_outputPin);
    return ChunkWriter(*this, m_movie, stream).Write(input, limit, forced);
}

void MP4MediaMuxFilter::OnSampleWritten(TrackInput& input, const LiveSampleInfo& sample) {
    if (sample.size == 0) {
        if (QZ_LOG_ENABLED(2))
            QZReport(2, L"Failed to notify sample written, invalid size, at time %s.",
                     qz_DSFilters::FormatTime(sample.start).c_str());
        return;
    }
    EnterInIndex(input.TrackIndex(), std::span(&sample, 1));
}

REFERENCE_TIME MP4MediaMuxFilter::InterleaveDuration() const {
    return (m_movie.TrackCount() > 0 ? m_movie.Settings() : m_settings).interleaveDuration;
}

void MP4MediaMuxFilter::FinishMovie() {
    if (m_movie.TrackCount() > 0) m_movie.Finalize(true, m_settings.refreshCount >= 1);
    if (m_movie.DataShift() != 0) m_index.ShiftRecording(m_movie.DataShift());
    m_movie.Renew();
}

HRESULT MP4MediaMuxFilter::RemoveConsumer(std::uint32_t, std::uint64_t key) {
    if (const auto name = m_index.RemoveConsumer(key)) QZReport(3, L"Removed consumer '%s'", name->c_str());
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
