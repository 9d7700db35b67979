#include "VideoIO/StreamFilters/Authoring/ChunkWriter.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

namespace {

LiveSampleInfo InfoOf(IMediaSample& sample, const details::WrittenSample& written) {
    LiveSampleInfo info;
    info.offset = written.offset;
    info.size = written.size;
    info.sync = written.isSync ? 1 : 0;
    if (FAILED(sample.GetTime(&info.start, &info.stop))) info.start = info.stop = 0;
    if (FAILED(sample.GetMediaTime(&info.mediaStart, &info.mediaStop))) info.mediaStart = info.mediaStop = 0;
    return info;
}

}  // namespace

std::size_t ChunkWriter::Write(TrackInput& input, REFERENCE_TIME limit, bool forced) {
    InputState& state = input.State();
    MovieTrack& track = input.Track();
    if (state.queue.empty()) return 0;
    MakeRoom(state.queue, limit);

    const std::size_t firstSample = track.samples.size();
    std::size_t taken = 0;
    while (!state.queue.empty() && (forced || state.queue.front().key < limit)) {
        const QueuedSample entry = state.queue.Pop();
        ++taken;
        state.chunkStart = std::max(state.chunkStart, entry.key);
        const HRESULT hr = WriteSample(input, entry);
        if (FAILED(hr)) {
            QZLogHRESULT(hr);
            taken += state.queue.size();
            state.queue.Clear();
        }
    }
    track.AppendChunk(firstSample, m_movie.Settings().maxStcoOffset);
    if (state.endOfStream && state.queue.empty()) m_host.OnInputDrained(input);
    return taken;
}

/// A rough estimate, one length for all: an `mdat` ends up one chunk longer or shorter for it.
void ChunkWriter::MakeRoom(const SampleQueue& queue, REFERENCE_TIME limit) {
    const std::uint64_t payload = m_movie.OpenPayload();
    if (payload == 0) return;
    const auto firstLength = static_cast<std::uint64_t>(std::max<LONG>(queue.front().sample->GetActualDataLength(), 0));
    // Most of the time there is room even for the whole queue, and nothing to add up.
    if (payload + firstLength * queue.size() <= m_movie.Settings().maxMdatSize) return;
    std::uint64_t estimate = 0;
    for (std::size_t i = 0; i < queue.size(); ++i)
        if (queue[i].key < limit) estimate += firstLength;
    if (payload + estimate <= m_movie.Settings().maxMdatSize) return;
    m_movie.OpenNextMdat();
    m_host.SetWritePosition(m_movie.DataPosition());
}

HRESULT ChunkWriter::WriteSample(TrackInput& input, const QueuedSample& entry) {
    MovieTrack& track = input.Track();
    details::WrittenSample written;
    const std::uint64_t position = m_stream.tell();
    const HRESULT hr = track.handler->write(*entry.sample.get(), m_stream, written);
    if (FAILED(hr)) {
        // What came through of the sample counts in no `mdat`: the next one takes its place, so that the payload ends
        // where the data do and `moov` falls on none of them.
        m_host.SetWritePosition(position);
        return hr;
    }
    const LiveSampleInfo info = InfoOf(*entry.sample.get(), written);
    m_host.OnSampleWritten(input, info);
    m_movie.AddPayload(written.size);
    track.AppendSample({written.offset, info.start, written.size, info.sync}, info.stop,
                       IsVideo(input.TrackMediaType()), input.TrackName());
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
