#include "MediaKit/IFailureInformation.h"
#include "MediaKit/ILiveSourceProvider.h"
#include "MediaKit/IMP4MediaDemuxFilter.h"
#include "MediaKit/IMPEG4Mux.h"
#include "MediaKit/IMediaSampleMarker.h"
#include "MediaKit/IOverrideMediaType.h"
#include "MediaKit/IPerformanceInfoProvider.h"
#include "MediaKit/IReadingPolicy.h"
#include "MediaKit/IReadingReport.h"
#include "MediaKit/IRecordingPolicy.h"
#include "MediaKit/IRecordingResult.h"
#include "MediaKit/IStreamRate.h"
#include "MediaKit/ITrackInformation.h"
#include "MediaKit/IVideoOrientation.h"
#include "Testing/Kit/interface_slots.h"

namespace Norvane::MediaKit::Filters {

using mediakit_test::expect_slots;
using qz_ChannelIO::IPerformanceInfoProvider;
using qz_DSFilters::IOverrideMediaType;
using qz_MPEGSystemFilters::IMPEG4Mux;

TEST(InterfaceSlots, OfTheMultiplexersAreWhereTheyArePublished) {
    expect_slots<IMPEG4Mux, IUnknown>("IMPEG4Mux", 3, &IMPEG4Mux::Reserved1, &IMPEG4Mux::SetMoveMoovToFront,
                                      &IMPEG4Mux::SetSoftware, &IMPEG4Mux::SetSecondSoftware,
                                      &IMPEG4Mux::SetDescription, &IMPEG4Mux::Reserved6, &IMPEG4Mux::GetCurrentPosition,
                                      &IMPEG4Mux::SetFlag);
    expect_slots<IPerformanceInfoProvider, IUnknown>(
        "IPerformanceInfoProvider", 3, &IPerformanceInfoProvider::EnableStatistics,
        &IPerformanceInfoProvider::GetWriterName, &IPerformanceInfoProvider::GetStatistic,
        &IPerformanceInfoProvider::UpdateTotals, &IPerformanceInfoProvider::GetSummaries);
    expect_slots<IOverrideMediaType, IUnknown>("IOverrideMediaType", 3, &IOverrideMediaType::SetAspectRatio,
                                               &IOverrideMediaType::SetInterlaceFlags, &IOverrideMediaType::SetRate,
                                               &IOverrideMediaType::SetOrientation);
    expect_slots<IRecordingPolicy, IUnknown>("IRecordingPolicy", 3, &IRecordingPolicy::SetOptions,
                                             &IRecordingPolicy::GetOptions);
    expect_slots<IRecordingResult, IUnknown>("IRecordingResult", 3, &IRecordingResult::GetRecordingResult);
    expect_slots<ILiveSourceProvider, IUnknown>(
        "ILiveSourceProvider", 3, &ILiveSourceProvider::GetTrackCount, &ILiveSourceProvider::GetTrackMediaType,
        &ILiveSourceProvider::GetBeginTime, &ILiveSourceProvider::GetEndTime, &ILiveSourceProvider::AddConsumer,
        &ILiveSourceProvider::RemoveConsumer, &ILiveSourceProvider::GetSamples, &ILiveSourceProvider::GetSample,
        &ILiveSourceProvider::GetTrackPosition);
}

TEST(InterfaceSlots, OfTheDemultiplexerAreWhereTheyArePublished) {
    expect_slots<IMP4MediaDemuxFilter, IUnknown>(
        "IMP4MediaDemuxFilter", 3, &IMP4MediaDemuxFilter::GetCreationTime, &IMP4MediaDemuxFilter::Reserved1,
        &IMP4MediaDemuxFilter::IsStreamingOptimized, &IMP4MediaDemuxFilter::GetNearestSyncPoint);
    expect_slots<IReadingPolicy, IUnknown>("IReadingPolicy", 3, &IReadingPolicy::SetOptions,
                                           &IReadingPolicy::GetOptions);
    expect_slots<IReadingReport, IUnknown>("IReadingReport", 3, &IReadingReport::GetFindings);
    expect_slots<IFailureInformation, IUnknown>("IFailureInformation", 3, &IFailureInformation::GetFirstFailure);
    expect_slots<qz_DSFilters::IStreamRate, IUnknown>("IStreamRate", 3, &qz_DSFilters::IStreamRate::GetRate);
    expect_slots<qz_DSFilters::IVideoOrientation, IUnknown>("IVideoOrientation", 3,
                                                            &qz_DSFilters::IVideoOrientation::GetOrientation);
    expect_slots<ITrackInformation, IUnknown>("ITrackInformation", 3, &ITrackInformation::GetTrackInformation);
    using qz_DSFilters::IMediaSampleMarker;
    expect_slots<IMediaSampleMarker, IUnknown>(
        "IMediaSampleMarker", 3, &IMediaSampleMarker::SetMarkerValue, &IMediaSampleMarker::GetMarkerValue,
        &IMediaSampleMarker::SetMarkerOffset, &IMediaSampleMarker::GetMarkerOffset, &IMediaSampleMarker::SetMarkerTime,
        &IMediaSampleMarker::GetMarkerTime);
}

}  // namespace Norvane::MediaKit::Filters
