#include "VideoIO/StreamFilters/Authoring/ChunkWriter.h"

#include "Logging/Checks.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

namespace {

/// Where the next `mdat` is opened at the latest, whatever the settings say: a chunk on top of it is still far from
/// 2^32, so that every `mdat` has a header of 8 bytes.
constexpr std::uint64_t MaxPayload = 0x80000000;

LiveSampleInfo InfoOf(IMediaSample& sample, const details::WrittenSample& written) {
    LiveSampleInfo info;
    info.offset = written.offset;
    info.size = written.size;
    info.sync = written.isSync ? 1 : 0;
    if (FAILED(sample.GetTime(&info.start, &info.stop))) info.start = info.stop = 0;
    if (FAILED(sample.GetMediaTime(&info.mediaStart, &info.mediaStop))) info.mediaStart = info.mediaStop = 0;
    return info;
}

REFERENCE_TIME DecodeTimeOf(IMediaSample& sample, REFERENCE_TIME otherwise) {
    LONGLONG begin = 0, end = 0;
    return SUCCEEDED(sample.GetMediaTime(&begin, &end)) ? begin : otherwise;
}

}  // namespace

std::size_t ChunkWriter::Write(TrackInput& input, REFERENCE_TIME limit, bool forced) {
    InputState& state = input.State();
    MovieTrack& track = input.Track();
    if (state.queue.empty()) return 0;
    MakeRoom(state.queue, limit);

    const std::size_t firstSample = track.samples.size();
    std::size_t taken = 0;
    try {
        taken = WriteSamples(input, limit, forced);
    } catch (...) {
        // The chunks hold every sample that the track has, or the tables of the file disagree.
        track.AppendChunk(firstSample, m_movie.Settings().maxStcoOffset);
        throw;
    }
    track.AppendChunk(firstSample, m_movie.Settings().maxStcoOffset);
    if (state.endOfStream && state.queue.empty()) m_host.OnInputDrained(input);
    return taken;
}

std::size_t ChunkWriter::WriteSamples(TrackInput& input, REFERENCE_TIME limit, bool forced) {
    InputState& state = input.State();
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
    return taken;
}

/// A rough estimate, one length for all: an `mdat` ends up one chunk longer or shorter for it.
void ChunkWriter::MakeRoom(const SampleQueue& queue, REFERENCE_TIME limit) {
    const std::uint64_t payload = m_movie.OpenPayload();
    if (payload == 0) return;
    const auto firstLength = static_cast<std::uint64_t>(std::max<LONG>(queue.front().sample->GetActualDataLength(), 0));
    const std::uint64_t maxSize = std::min(m_movie.Settings().maxMdatSize, MaxPayload);
    // Most of the time there is room even for the whole queue, and nothing to add up.
    if (payload + firstLength * queue.size() <= maxSize) return;
    std::uint64_t estimate = 0;
    for (std::size_t i = 0; i < queue.size(); ++i)
        if (queue[i].key < limit) estimate += firstLength;
    if (payload + estimate <= maxSize) return;
    m_movie.OpenNextMdat();
    m_host.SetWritePosition(m_movie.DataPosition());
}

/// What came through of a sample that failed counts in no `mdat`: the next one takes its place, so that the payload
/// ends where the data do and `moov` falls on none of them.
HRESULT ChunkWriter::WriteData(MovieTrack& track, IMediaSample& sample, details::WrittenSample& written) {
    const std::uint64_t position = m_stream.tell();
    try {
        const HRESULT hr = track.handler->write(sample, m_stream, written);
        if (FAILED(hr)) m_host.SetWritePosition(position);
        return hr;
    } catch (...) {
        m_host.SetWritePosition(position);
        throw;
    }
}

HRESULT ChunkWriter::WriteSample(TrackInput& input, const QueuedSample& entry) {
    MovieTrack& track = input.Track();
    details::WrittenSample written;
    if (const HRESULT hr = WriteData(track, *entry.sample.get(), written); FAILED(hr)) return hr;
    m_movie.AddPayload(written.size);
    const LiveSampleInfo info = InfoOf(*entry.sample.get(), written);
    m_host.OnSampleWritten(input, info);
    const bool video = IsVideo(input.TrackMediaType());
    if (video && track.options.mediaTimesAreDecodeTimes)
        track.AppendDecodeTime(DecodeTimeOf(*entry.sample.get(), info.start));
    track.AppendSample({written.offset, info.start, written.size, info.sync}, info.stop, video, input.TrackName());
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
