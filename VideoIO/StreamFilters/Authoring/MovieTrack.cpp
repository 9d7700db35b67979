#include "VideoIO/StreamFilters/Authoring/MovieTrack.h"

#include "Logging/Checks.h"
#include "VideoIO/FilterUtil/MediaTypes/MediaTypeUtil.h"
#include "VideoIO/FilterUtil/MediaTypes/TimeConversionUtil.h"
#include "VideoIO/StreamFilters/Authoring/MediaKinds.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace Norvane::MediaKit::Filters {

namespace {

/// Samples looked back over for one that falls on the same tick; reordering does not reach further.
constexpr std::size_t kCollisionLookBack = 12;

/// Entries of the presentation order that an earlier sample is moved past; far more than codecs reorder over.
constexpr std::size_t kInsertLookBack = 64;

HRESULT VideoRate(const CMediaType& type, qz_DSFilters::StreamRate& rate) {
    REFERENCE_TIME frameTime = 0;
    QZCheckHRESULT(qz_DSFilters::GetAvgTimePerFrame(type, frameTime));
    QZCheckHRESULT(qz_DSFilters::GetStreamRate(frameTime, rate));
    // A frame of many hours rounds to no frame a second.
    QZCheckCondition(rate.m_numerator > 0, E_FAIL);
    return S_OK;
}

HRESULT AudioRate(const CMediaType& type, qz_DSFilters::StreamRate& rate) {
    WAVEFORMATEX format{};
    if (type.formattype == FORMAT_WaveFormatEx && type.pbFormat != nullptr)
        std::memcpy(&format, type.pbFormat, std::min<std::size_t>(sizeof format, type.cbFormat));
    QZCheckCondition(format.nSamplesPerSec > 0, E_FAIL);
    rate = {format.nSamplesPerSec, 1};
    return S_OK;
}

}  // namespace

void MovieTrack::BeginRecording() {
    tkhd.reset();
    mdhd.reset();
    elst.reset();
    stco.reset();
    co64.reset();
    samples.clear();
    presentationOrder.clear();
    presentationOrderIsSorted = true;
    reorderDetected = false;
    lastStart = 0;
    lastStop = 0;
    timeBase = MinTime;
    chunks.clear();
    needsCo64 = false;
    syncSamples.clear();
    endTime = 0;
    handler.reset();
}

void MovieTrack::ResetStream() {
    handler.reset();
    rateIsSet = false;
    timescale = kDefaultTimescale;
    rate = {kDefaultTimescale, 1};
}

void MovieTrack::SetOptions(const RecordingOptions& chosen) {
    if (chosen.timescale != options.timescale) rateIsSet = false;
    options = chosen;
}

HRESULT MovieTrack::SetupFromMediaType(const CMediaType& type, IMediaSample* firstSample, bool forceTimescale90000) {
    if (!IsVideoTrack(type) && !IsAudioTrack(type)) return S_OK;
    if (!rateIsSet) QZCheckHRESULT(SetRate(type, forceTimescale90000));
    return handler ? S_OK : CreateHandler(type, firstSample);
}

HRESULT MovieTrack::SetRate(const CMediaType& type, bool forceTimescale90000) {
    qz_DSFilters::StreamRate streamRate{kDefaultTimescale, 1};
    if (IsAudioTrack(type)) {
        QZCheckHRESULT(AudioRate(type, streamRate));
    } else if (!forceTimescale90000) {
        QZCheckHRESULT(VideoRate(type, streamRate));
    }
    if (options.timescale != 0 && !forceTimescale90000) streamRate = {options.timescale, 1};
    rate = streamRate;
    timescale = static_cast<std::uint32_t>(rate.m_numerator);
    rateIsSet = true;
    return S_OK;
}

HRESULT MovieTrack::CreateHandler(const CMediaType& type, IMediaSample* firstSample) {
    handler = details::create_byte_stream_handler(type, firstSample, options);
    if (!handler && QZ_LOG_ENABLED(2))
        QZReport(2, L"Failed to create byte stream handler %s", qz_DSFilters::DumpMediaType(type).c_str());
    return S_OK;
}

void MovieTrack::DetectReordering(REFERENCE_TIME start) {
    if (!reorderDetected && !options.mediaTimesAreDecodeTimes && start < lastStart) {
        reorderDetected = true;
        for (std::size_t i = 0; i < samples.size(); ++i) InsertInPresentationOrder(samples[i].start);
    }
    lastStart = start;
}

void MovieTrack::AppendSample(MovieSample sample, REFERENCE_TIME stop, bool isVideo, const wchar_t* streamName) {
    if (isVideo) {
        if (sample.sync != 0) syncSamples.push_back(static_cast<std::uint32_t>(samples.size() + 1));
        if (SharesTickWithRecentSample(sample.start)) ResolveTickCollision(sample.start, streamName);
        if (reorderDetected) InsertInPresentationOrder(sample.start);
    } else {
        sample.sync = 0;
    }
    samples.push_back(sample);
    lastStop = stop;
    endTime = std::max(endTime, stop);
}

void MovieTrack::AppendDecodeTime(REFERENCE_TIME time) {
    if (!presentationOrder.empty()) time = std::max(time, presentationOrder.back());
    presentationOrder.push_back(time);
}

void MovieTrack::AppendChunk(std::size_t firstSample, std::uint64_t maxStcoOffset) {
    if (firstSample == samples.size()) return;
    const std::uint64_t offset = samples[firstSample].offset;
    chunks.push_back(
        {offset, static_cast<std::uint32_t>(firstSample), static_cast<std::uint32_t>(samples.size() - firstSample)});
    if (offset > maxStcoOffset) needsCo64 = true;
}

/// Walks from the back: a new sample is hardly ever far from the end. It is where the upstream's clock was set back,
/// and then so is each that follows.
void MovieTrack::InsertInPresentationOrder(REFERENCE_TIME start) {
    presentationOrder.push_back(start);
    std::size_t at = presentationOrder.size() - 1;
    const std::size_t first = at - std::min(at, kInsertLookBack);
    for (; at > first && presentationOrder[at - 1] > start; --at) presentationOrder[at] = presentationOrder[at - 1];
    presentationOrder[at] = start;
    if (at > 0 && presentationOrder[at - 1] > start) presentationOrderIsSorted = false;
}

void MovieTrack::SortPresentationOrder() {
    if (presentationOrderIsSorted) return;
    std::vector<REFERENCE_TIME> order(presentationOrder.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = presentationOrder[i];
    std::ranges::sort(order);
    for (std::size_t i = 0; i < order.size(); ++i) presentationOrder[i] = order[i];
    presentationOrderIsSorted = true;
}

bool MovieTrack::SharesTickWithRecentSample(REFERENCE_TIME start) const {
    const std::int64_t tick = ToTicks(timescale, start);
    const std::size_t end = samples.size();
    for (std::size_t i = end - std::min(end, kCollisionLookBack); i < end; ++i)
        if (ToTicks(timescale, samples[i].start) == tick) return true;
    return false;
}

/// The ticks of all samples so far change with the timescale, since they are worked out from the start times.
void MovieTrack::ResolveTickCollision(REFERENCE_TIME start, const wchar_t* streamName) {
    if (timescale != kDefaultTimescale) {
        // An integer quotient, 0 for rates above 90000; the numerator alone is used later.
        rate.m_denominator *= kDefaultTimescale / std::max<std::int64_t>(rate.m_numerator, 1);
        rate.m_numerator = kDefaultTimescale;
        timescale = kDefaultTimescale;
        if (QZ_LOG_ENABLED(3))
            QZReport(3,
                     L"Found non-monotonically increasing DTS at %s, in stream %s, switching to 90000 timescale, "
                     L"new stream rate %I64d / %I64d",
                     qz_DSFilters::FormatTime(start).c_str(), streamName, rate.m_numerator, rate.m_denominator);
        return;
    }
    if (QZ_LOG_ENABLED(3))
        QZReport(3, L"Found non-monotonically increasing DTS at %s, in stream %s, compensating.",
                 qz_DSFilters::FormatTime(start).c_str(), streamName);
}

}  // namespace Norvane::MediaKit::Filters
