// The pin's thread.
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"

#include "Logging/Checks.h"
#include "MediaKit/IMediaSampleMarker.h"
#include "VideoIO/StreamFilters/Demultiplexer/AsyncReaderByteStream.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackSearch.h"
#include "VideoIO/StreamFilters/Demultiplexer/TrackTime.h"
#include "VideoIO/StreamFilters/Demultiplexer/Turn.h"

#include <algorithm>
#include <limits>

namespace Norvane::MediaKit::Filters {

namespace {

/// Up to the end of the file; what begins behind it stays as it is, to fail.
std::uint32_t SizeInFile(const details::SampleRecord& record, AsyncReaderByteStream& stream) {
    if (record.offset + record.size <= stream.KnownSize()) return record.size;
    const std::uint64_t fileSize = stream.WholeSize();
    if (record.offset >= fileSize) return record.size;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(record.size, fileSize - record.offset));
}

}  // namespace

HRESULT MP4MediaDemuxOutputPin::Active() {
    CAutoLock lock(m_demux->pStateLock());
    AllowWaitWithLocks allow("a seek only looks at a pin that has no thread");
    const details::Turn turn(m_turn);
    return StreamPin::Active();
}

HRESULT MP4MediaDemuxOutputPin::Inactive() {
    CAutoLock lock(m_demux->pStateLock());
    // The thread that a seek is waiting for may itself be waiting for a sample.
    if (m_pAllocator != nullptr) m_pAllocator->Decommit();
    AllowWaitWithLocks allow("a seek waits for the thread alone, which does not need the state lock");
    const details::Turn turn(m_turn);
    const HRESULT hr = StreamPin::Inactive();
    EndFlushing();
    return hr;
}

HRESULT MP4MediaDemuxOutputPin::OnThreadCreate() {
    QZReport(5, L"OnThreadCreate: %s", Name());
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::OnThreadDestroy() {
    QZReport(5, L"OnThreadDestroy: %s", Name());
    return S_OK;
}

HRESULT MP4MediaDemuxOutputPin::OnThreadStartPlay() {
    QZReport(5, L"OnThreadStartPlay: %s", Name());
    const Segment segment = CurrentSegment();
    if (StartsAtSyncRecords()) {
        track_.start_position = details::FindSyncRecord(track_, segment.start, segment.start).sample;
    } else {
        QZCheckCondition(!track_.index_.empty(), E_FAIL);
        track_.start_position = details::FindSample(track_, segment.start);
    }
    track_.position = track_.start_position;
    m_segmentBase = segment.start;
    m_firstSample = true;
    m_discontinuity = TRUE;
    m_knownFileSize = 0;
    return DeliverNewSegment(segment.start, segment.stop, segment.rate);
}

HRESULT MP4MediaDemuxOutputPin::DoBufferProcessingLoop() {
    OnThreadStartPlay();
    for (;;) {
        Command command = CMD_STOP;
        const HRESULT hr = PlaySamples(command);
        if (hr != S_FALSE || command == CMD_STOP) return hr;
        Reply(command == CMD_RUN || command == CMD_PAUSE ? S_OK : E_UNEXPECTED);
    }
}

/// S_FALSE: there is a command. S_OK: the stream has ended, or the peer takes no more. Failure: the stream is broken.
HRESULT MP4MediaDemuxOutputPin::PlaySamples(Command& command) {
    while (!CheckRequest(&command)) {
        ComPtr<IMediaSample> sample;
        if (FAILED(GetDeliveryBuffer(sample.put(), nullptr, nullptr, 0))) {
            // Most likely decommitted by an Inactive whose command is on its way.
            Sleep(1);
            continue;
        }
        const HRESULT filled = FillBuffer(sample.get());
        if (filled == S_FALSE) {
            DeliverEndOfStream();
            return S_OK;
        }
        if (filled != S_OK) return EndBrokenStream(filled);

        sample->SetDiscontinuity(m_discontinuity);
        m_discontinuity = FALSE;
        const HRESULT delivered = Deliver(sample.get());
        if (delivered == S_FALSE) DeliverEndOfStream();
        if (delivered != S_OK) return S_OK;
    }
    return S_FALSE;
}

HRESULT MP4MediaDemuxOutputPin::EndBrokenStream(HRESULT failure) {
    QZReport(1, L"Error from FillBuffer, aborting 0x%08x", static_cast<DWORD>(failure));
    DeliverEndOfStream();
    m_demux->NotifyEvent(EC_ERRORABORT, failure, 0);
    return failure;
}

HRESULT MP4MediaDemuxOutputPin::FillBuffer(IMediaSample* pSample) {
    if (track_.position >= track_.index_.size()) return S_FALSE;
    const details::SampleRecord& record = track_.index_[track_.position];
    if (const HRESULT hr = ReadSample(record, *pSample); FAILED(hr)) return hr;
    StampSample(record, *pSample);
    ++track_.position;
    return S_OK;
}

/// The request travels to the handler in the sample: its times are byte positions here.
HRESULT MP4MediaDemuxOutputPin::ReadSample(const details::SampleRecord& record, IMediaSample& sample) {
    IAsyncReader* const reader = m_demux->Reader();
    QZCheckCondition(reader != nullptr, E_UNEXPECTED);
    AsyncReaderByteStream stream(reader, m_knownFileSize);
    REFERENCE_TIME begin = static_cast<REFERENCE_TIME>(record.offset);
    const std::uint32_t size = track_.grouped ? SizeInFile(record, stream) : record.size;
    QZCheckCondition(begin <= std::numeric_limits<REFERENCE_TIME>::max() - size, E_FAIL);
    QZCheckCondition(size <= std::numeric_limits<LONG>::max(), VFW_E_BUFFER_OVERFLOW);
    REFERENCE_TIME end = begin + size;
    QZCheckHRESULT(sample.SetTime(&begin, &end));
    QZCheckHRESULT(sample.SetActualDataLength(static_cast<LONG>(size)));

    const HRESULT hr = m_media.handler->read(sample, stream);
    m_knownFileSize = stream.KnownSize();
    // What the reader says of its failure tells more than the stream's false.
    return FAILED(hr) && FAILED(stream.LastResult()) ? stream.LastResult() : hr;
}

/// What a sample of somebody else's allocator does not take is logged; its data go on.
void MP4MediaDemuxOutputPin::StampSample(const details::SampleRecord& record, IMediaSample& sample) {
    const details::MediaTypeOverrides overrides = Overrides();
    const auto timeOf = [&](std::int64_t ticks) { return details::ToReferenceTime(ticks, track_.timescale()); };
    const auto inSegment = [&](std::int64_t ticks) {
        return details::WrappingSubtract(overrides.Restated(timeOf(ticks), m_media.rate), m_segmentBase);
    };

    LONGLONG mediaStart = timeOf(record.dts);
    LONGLONG mediaStop = timeOf(details::WrappingAdd(record.dts, record.duration));
    QZLogHRESULT(sample.SetMediaTime(&mediaStart, &mediaStop));
    REFERENCE_TIME start = inSegment(record.cts);
    REFERENCE_TIME stop = inSegment(details::WrappingAdd(record.cts, record.duration));
    QZLogHRESULT(sample.SetTime(&start, &stop));
    QZLogHRESULT(sample.SetSyncPoint(record.sync != 0 ? TRUE : FALSE));
    // What ends before the segment is there to be decoded, not shown.
    QZLogHRESULT(sample.SetPreroll(stop < 1 ? TRUE : FALSE));

    if (m_firstSample) {
        void* marker = nullptr;
        if (SUCCEEDED(sample.QueryInterface(qz_DSFilters::IID_IMediaSampleMarker, &marker))) {
            ComPtr<qz_DSFilters::IMediaSampleMarker> marked;
            marked.attach(static_cast<qz_DSFilters::IMediaSampleMarker*>(marker));
            marked->SetMarkerOffset(details::WrappingSubtract(0, start));
        }
        m_firstSample = false;
    }
}

}  // namespace Norvane::MediaKit::Filters
