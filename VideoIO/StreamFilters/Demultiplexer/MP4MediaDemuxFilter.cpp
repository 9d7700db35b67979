#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxFilter.h"

#include "Logging/Checks.h"
#include "MediaKit/Factories.h"
#include "MediaKit/Results.h"
#include "VideoIO/StreamFilters/Demultiplexer/FileParser.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxInputPin.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxOutputPin.h"
#include "VideoIO/StreamFilters/Demultiplexer/MP4MediaDemuxSeeking.h"
#include "VideoIO/StreamFilters/Demultiplexer/OleDate.h"
#include "VideoIO/StreamFilters/Demultiplexer/ReadPart.h"

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace Norvane::MediaKit::Filters {

using Severity = ReadingFinding::Severity;

MP4MediaDemuxFilter::MP4MediaDemuxFilter(IUnknown* outer, HRESULT* phr)
    : CSource("MP4MediaDemuxFilter", outer, CLSID_MP4MediaDemuxFilter, phr),
      m_inputPin(std::make_unique<MP4MediaDemuxInputPin>(this, &m_connectionLock, phr)) {}

MP4MediaDemuxFilter::~MP4MediaDemuxFilter() = default;

HRESULT MP4MediaDemuxFilter::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMP4MediaDemuxFilter) return GetInterface<IMP4MediaDemuxFilter>(this, ppv);
    if (riid == IID_IReadingPolicy) return GetInterface<IReadingPolicy>(this, ppv);
    if (riid == IID_IReadingReport) return GetInterface<IReadingReport>(this, ppv);
    return CSource::NonDelegatingQueryInterface(riid, ppv);
}

int MP4MediaDemuxFilter::GetPinCount() { return OutputPinCount() + 1; }

CBasePin* MP4MediaDemuxFilter::GetPin(int n) {
    CAutoLock lock(pStateLock());
    return n == OutputPinCount() ? m_inputPin.get() : CSource::GetPin(n);
}

int MP4MediaDemuxFilter::OutputPinCount() { return CSource::GetPinCount(); }

MP4MediaDemuxOutputPin* MP4MediaDemuxFilter::OutputPin(int n) {
    return static_cast<MP4MediaDemuxOutputPin*>(CSource::GetPin(n));
}

MP4MediaDemuxSeeking* MP4MediaDemuxFilter::Seeking() {
    CAutoLock lock(&m_seekingLock);
    if (m_seeking == nullptr) {
        HRESULT hr = S_OK;
        m_seeking.reset(new (std::nothrow) MP4MediaDemuxSeeking(this, &m_seekingLock, &hr));
        if (FAILED(hr)) m_seeking.reset();
    }
    return m_seeking.get();
}

HRESULT MP4MediaDemuxFilter::SetReader(IAsyncReader* pReader) {
    CAutoLock lock(&m_connectionLock);
    m_findings.Clear();
    QZCheckCondition(pReader != nullptr, E_UNEXPECTED);
    AllowWaitWithLocks allow("a reader gets its data without the locks of the two pins that are being connected");
    std::shared_ptr<AsyncReaderByteStream> stream;
    HRESULT hr = QZ_E_UNSUPPORTED_FORMAT;
    try {
        stream = std::make_shared<AsyncReaderByteStream>(pReader);
        hr = Open(pReader, stream);
    } catch (const std::exception& error) {
        m_findings.ReportExclusion(Severity::Error, L"Unsupported format, failed to set reader: %S", error.what());
        FindMovieHeader();
    }
    if (stream == nullptr || SUCCEEDED(stream->FirstFailure().result)) return hr;
    // What is missing from the file because the reader failed must not pass for a short file.
    const AsyncReaderByteStream::ReadFailure failure = stream->FirstFailure();
    m_findings.RecordExclusion(L"cannot read the file at byte %I64u: error 0x%08x", failure.position,
                               static_cast<DWORD>(failure.result));
    return failure.result;
}

void MP4MediaDemuxFilter::ReportOpeningFailure(const char* reason) {
    CAutoLock lock(&m_connectionLock);
    m_findings.ReportExclusion(Severity::Error, L"Failed to open file, %S", reason);
}

HRESULT MP4MediaDemuxFilter::Open(IAsyncReader* reader, std::shared_ptr<AsyncReaderByteStream> stream) {
    auto parser = details::MakeFileParser(stream, m_context);
    ComPtr<IAsyncReader> replaced(reader);  // let go of without the state lock
    {
        CAutoLock lock(&m_cStateLock);
        QZCheckCondition(IsStopped(), VFW_E_NOT_STOPPED);
        std::swap(m_reader, replaced);
    }
    m_stream = std::move(stream);
    m_parser = std::move(parser);
    m_facts = {};
    details::ReadPart(m_context, [&parser = *m_parser] { parser.parse(); });
    return CheckMovie();
}

/// Of a file that could not be read as a whole: what was read tells when the movie was made.
void MP4MediaDemuxFilter::FindMovieHeader() {
    if (m_parser == nullptr || m_facts.mvhd != nullptr) return;
    try {
        details::FindMovieHeader(*m_parser, m_facts);
    } catch (const std::exception& error) {
        m_findings.Report(Severity::Warning, L"The movie's header cannot be read: %S", error.what());
    }
}

HRESULT MP4MediaDemuxFilter::CheckMovie() {
    const std::uint64_t fileSize = m_stream->WholeSize();
    details::ReadingBudget budget(fileSize, details::BoxBytes(*m_parser, fileSize));
    const auto createOutputPin = [&](const details::TrackBoxes& track, REFERENCE_TIME& duration)
                                     MK_REQUIRES(m_connectionLock) { return CreateOutputPin(track, budget, duration); };
    const HRESULT hr = details::mp4_check(*m_parser, m_context, createOutputPin, m_facts);
    if (FAILED(hr)) return hr;
    MP4MediaDemuxSeeking* const seeking = Seeking();
    QZCheckCondition(seeking != nullptr, E_OUTOFMEMORY);
    seeking->SetDuration(m_facts.duration);
    m_streamingOrder = m_facts.streamingOrder.value_or(m_streamingOrder);
    return S_OK;
}

HRESULT MP4MediaDemuxFilter::CreateOutputPin(const details::TrackBoxes& track, details::ReadingBudget& budget,
                                             REFERENCE_TIME& duration) {
    const std::wstring name = L"Output_" + std::to_wstring(OutputPinCount());
    HRESULT hr = S_OK;
    // It puts itself among the filter's pins, which the filter deletes.
    auto* const pin = new MP4MediaDemuxOutputPin(
        this, name.c_str(), MP4MediaDemuxOutputPin::Origin{m_parser.get(), track, m_context, budget}, duration, &hr);
    if (FAILED(hr)) {
        delete pin;
        return hr;
    }
    CAutoLock lock(&m_cStateLock);
    ++m_wholePins;
    IncrementPinVersion();  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the pin is in the filter's list
    return S_OK;
}

HRESULT MP4MediaDemuxFilter::GetCreationTime(double* date) {
    QZCheckCondition(date != nullptr, E_POINTER);
    CAutoLock lock(&m_connectionLock);
    QZCheckCondition(m_parser != nullptr, E_UNEXPECTED);
    const auto& moov = m_facts.moov;
    const auto& mvhd = m_facts.mvhd;
    QZCheckCondition(moov != nullptr, E_FAIL);
    QZCheckCondition(mvhd != nullptr, E_FAIL);
    *date = details::OleDateOfMovieTime(mvhd->creation_time);
    return S_OK;
}

bool MP4MediaDemuxFilter::IsStreamingOptimized() {
    CAutoLock lock(&m_connectionLock);
    return m_streamingOrder;
}

HRESULT MP4MediaDemuxFilter::GetNearestSyncPoint(REFERENCE_TIME time, int frames, REFERENCE_TIME* result) {
    QZCheckCondition(result != nullptr, E_POINTER);
    MP4MediaDemuxOutputPin* const pin = FirstConnectedVideoPin();
    return pin != nullptr ? pin->GetNearestSyncPoint(time, frames, result) : E_FAIL;
}

MP4MediaDemuxOutputPin* MP4MediaDemuxFilter::FirstConnectedVideoPin() {
    CAutoLock lock(&m_cStateLock);
    const int count = OutputPinCount();
    for (int i = 0; i < count; ++i) {
        MP4MediaDemuxOutputPin* const pin = OutputPin(i);
        if (pin->IsConnected() && pin->IsVideo()) return pin;
    }
    return nullptr;
}

HRESULT MP4MediaDemuxFilter::SetOptions(const ReadingOptions* options) {
    QZCheckCondition(options != nullptr, E_POINTER);
    CAutoLock lock(&m_connectionLock);
    if (m_inputPin->IsConnected()) return VFW_E_ALREADY_CONNECTED;
    m_options = *options;
    return S_OK;
}

HRESULT MP4MediaDemuxFilter::GetOptions(ReadingOptions* options) {
    QZCheckCondition(options != nullptr, E_POINTER);
    CAutoLock lock(&m_connectionLock);
    *options = m_options;
    return S_OK;
}

HRESULT MP4MediaDemuxFilter::GetFindings(std::vector<ReadingFinding>* findings) {
    QZCheckCondition(findings != nullptr, E_POINTER);
    CAutoLock lock(&m_connectionLock);
    try {
        *findings = m_findings.Findings();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
