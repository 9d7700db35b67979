#include "VideoIO/StreamFilters/Authoring/ChunkWriter.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"

#include <algorithm>

namespace Norvane::MediaKit::Filters {

namespace {

/// Where the next `mdat` is opened at the latest, whatever the settings say: a chunk on top of it is still far from
/// 2^32, so that every `mdat` has a header of 8 bytes.
constexpr std::uint64_t kMaxPayload = 0x80000000;

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

std::uint64_t LengthOf(IMediaSample& sample) {
    return static_cast<std::uint64_t>(std::max<LONG>(sample.GetActualDataLength(), 0));
}

}  // namespace

std::size_t ChunkWriter::Write(REFERENCE_TIME limit, bool forced, REFERENCE_TIME& mark) {
    if (m_input.queue.empty()) return 0;
    MakeRoom(limit);
    MovieTrack& track = m_input.Track();
    const std::size_t firstSample = track.samples.size();
    std::size_t taken = 0;
    try {
        taken = WriteSamples(limit, forced, mark);
    } catch (...) {
        // The chunks hold every sample that the track has, or the tables of the file disagree.
        track.AppendChunk(firstSample, m_movie.Settings().maxStcoOffset);
        throw;
    }
    track.AppendChunk(firstSample, m_movie.Settings().maxStcoOffset);
    return taken;
}

std::size_t ChunkWriter::WriteSamples(REFERENCE_TIME limit, bool forced, REFERENCE_TIME& mark) {
    SampleQueue& queue = m_input.queue;
    std::size_t taken = 0;
    while (!queue.empty() && (forced || queue.front().key < limit)) {
        const QueuedSample entry = queue.Pop();
        ++taken;
        mark = std::max(mark, entry.key);
        if (FAILED(WriteSample(entry))) taken += ReleaseQueue();
    }
    return taken;
}

std::size_t ChunkWriter::ReleaseQueue() {
    const std::size_t count = m_input.queue.size();
    m_monitor.CountLost(count, m_input.queue.bytes());
    m_input.queue.Clear();
    return count;
}

/// A rough estimate, one length for all: an `mdat` ends up one chunk longer or shorter for it.
void ChunkWriter::MakeRoom(REFERENCE_TIME limit) {
    const std::uint64_t payload = m_movie.OpenPayload();
    if (payload == 0) return;
    const SampleQueue& queue = m_input.queue;
    const std::uint64_t firstLength = LengthOf(*queue.front().sample);
    const std::uint64_t maxSize = std::min(m_movie.Settings().maxMdatSize, kMaxPayload);
    // Most of the time there is room even for the whole queue, and nothing to add up.
    if (payload + firstLength * queue.size() <= maxSize) return;
    std::uint64_t estimate = 0;
    for (std::size_t i = 0; i < queue.size(); ++i)
        if (queue[i].key < limit) estimate += firstLength;
    if (payload + estimate <= maxSize) return;
    m_movie.OpenNextMdat();
    // A header that could not be written is written again at the end: that alone loses no sample.
    const HRESULT failure = m_output.TakeFailure();
    if (FAILED(failure)) ReportFailure(failure);
    m_output.SetWritePosition(m_movie.DataPosition());
}

HRESULT ChunkWriter::WriteSample(const QueuedSample& entry) {
    IMediaSample& sample = *entry.sample;
    details::WrittenSample written;
    const HRESULT hr = WriteData(sample, written);
    const HRESULT failure = m_output.TakeFailure();
    if (FAILED(hr) || FAILED(failure)) {
        ReportFailure(FAILED(failure) ? failure : hr);
        m_monitor.CountLost(1, LengthOf(sample));
        if (SUCCEEDED(hr)) m_monitor.MarkDamaged();  // the output was stopped, and swallowed the sample
    } else {
        m_monitor.CountWritten(written.size);
    }
    if (FAILED(hr)) {
        QZLogHRESULT(hr);
        return hr;
    }
    m_movie.AddPayload(written.size);
    AddToTables(sample, InfoOf(sample, written));
    return S_OK;
}

/// What was delivered of a sample that failed counts in no `mdat`: the next one takes its place, so that the payload
/// ends where the data do and `moov` overwrites none of them.
HRESULT ChunkWriter::WriteData(IMediaSample& sample, details::WrittenSample& written) {
    const std::uint64_t position = m_stream.tell();
    try {
        const HRESULT hr = m_input.Track().handler->write(sample, m_stream, written);
        if (FAILED(hr)) m_output.SetWritePosition(position);
        return hr;
    } catch (...) {
        m_output.SetWritePosition(position);
        m_monitor.CountLost(1, LengthOf(sample));
        ReportFailure(E_OUTOFMEMORY);
        throw;
    }
}

void ChunkWriter::AddToTables(IMediaSample& sample, const LiveSampleInfo& info) {
    if (info.size != 0) {
        m_monitor.AddToIndex(m_input.pin->TrackIndex(), std::span(&info, 1));
    } else if (QZ_LOG_ENABLED(2)) {
        QZReport(2, L"Failed to notify sample written, invalid size, at time %s.",
                 qz_DSFilters::FormatTime(info.start).c_str());
    }
    MovieTrack& track = m_input.Track();
    const bool video = IsVideo(m_input.pin->TrackMediaType());
    if (video && track.options.mediaTimesAreDecodeTimes) track.AppendDecodeTime(DecodeTimeOf(sample, info.start));
    track.AppendSample({info.offset, info.start, info.size, info.sync}, info.stop, video, m_input.pin->TrackName());
}

void ChunkWriter::ReportFailure(HRESULT result) {
    m_monitor.Fail(result, std::wstring(L"cannot write a sample of ") + m_input.pin->TrackName(),
                   m_output.WritePosition());
}

}  // namespace Norvane::MediaKit::Filters
