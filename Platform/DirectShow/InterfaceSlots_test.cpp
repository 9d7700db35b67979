// The slots of every interface are where they are published: a host built elsewhere calls by slot.
#include "Platform/DirectShow/IAMAsyncReaderTimestampScaling.h"
#include "Platform/DirectShow/IAMFilterMiscFlags.h"
#include "Platform/DirectShow/IAsyncReader.h"
#include "Platform/DirectShow/IBaseFilter.h"
#include "Platform/DirectShow/IDispatch.h"
#include "Platform/DirectShow/IEnumFilters.h"
#include "Platform/DirectShow/IEnumMediaTypes.h"
#include "Platform/DirectShow/IEnumPins.h"
#include "Platform/DirectShow/IFileSinkFilter.h"
#include "Platform/DirectShow/IFileSinkFilter2.h"
#include "Platform/DirectShow/IFileSourceFilter.h"
#include "Platform/DirectShow/IFilterGraph.h"
#include "Platform/DirectShow/IGraphBuilder.h"
#include "Platform/DirectShow/IMFMediaBuffer.h"
#include "Platform/DirectShow/IMediaBuffer.h"
#include "Platform/DirectShow/IMediaControl.h"
#include "Platform/DirectShow/IMediaEvent.h"
#include "Platform/DirectShow/IMediaEventSink.h"
#include "Platform/DirectShow/IMediaFilter.h"
#include "Platform/DirectShow/IMediaPosition.h"
#include "Platform/DirectShow/IMediaSample.h"
#include "Platform/DirectShow/IMediaSample2.h"
#include "Platform/DirectShow/IMediaSeeking.h"
#include "Platform/DirectShow/IMemAllocator.h"
#include "Platform/DirectShow/IMemAllocatorCallbackTemp.h"
#include "Platform/DirectShow/IMemInputPin.h"
#include "Platform/DirectShow/INSSBuffer.h"
#include "Platform/DirectShow/IPersist.h"
#include "Platform/DirectShow/IPersistStream.h"
#include "Platform/DirectShow/IPin.h"
#include "Platform/DirectShow/IQualityControl.h"
#include "Platform/DirectShow/IReferenceClock.h"
#include "Platform/DirectShow/IStream.h"
#include "Testing/Kit/interface_slots.h"

using mediakit_test::expect_slots;

TEST(InterfaceSlots, AreWhereTheyArePublished) {
    expect_slots<IUnknown, IUnknown>("IUnknown", 0, &IUnknown::QueryInterface, &IUnknown::AddRef, &IUnknown::Release);
    expect_slots<IPersist, IUnknown>("IPersist", 3, &IPersist::GetClassID);
    expect_slots<IPersistStream, IPersist>("IPersistStream", 4, &IPersistStream::IsDirty, &IPersistStream::Load,
                                           &IPersistStream::Save, &IPersistStream::GetSizeMax);
    expect_slots<ISequentialStream, IUnknown>("ISequentialStream", 3, &ISequentialStream::Read,
                                              &ISequentialStream::Write);
    expect_slots<IStream, ISequentialStream>("IStream", 5, &IStream::Seek, &IStream::SetSize, &IStream::CopyTo,
                                             &IStream::Commit, &IStream::Revert, &IStream::LockRegion,
                                             &IStream::UnlockRegion, &IStream::Stat, &IStream::Clone);
    expect_slots<IMediaFilter, IPersist>("IMediaFilter", 4, &IMediaFilter::Stop, &IMediaFilter::Pause,
                                         &IMediaFilter::Run, &IMediaFilter::GetState, &IMediaFilter::SetSyncSource,
                                         &IMediaFilter::GetSyncSource);
    expect_slots<IBaseFilter, IMediaFilter>("IBaseFilter", 10, &IBaseFilter::EnumPins, &IBaseFilter::FindPin,
                                            &IBaseFilter::QueryFilterInfo, &IBaseFilter::JoinFilterGraph,
                                            &IBaseFilter::QueryVendorInfo);
    expect_slots<IPin, IUnknown>("IPin", 3, &IPin::Connect, &IPin::ReceiveConnection, &IPin::Disconnect,
                                 &IPin::ConnectedTo, &IPin::ConnectionMediaType, &IPin::QueryPinInfo,
                                 &IPin::QueryDirection, &IPin::QueryId, &IPin::QueryAccept, &IPin::EnumMediaTypes,
                                 &IPin::QueryInternalConnections, &IPin::EndOfStream, &IPin::BeginFlush,
                                 &IPin::EndFlush, &IPin::NewSegment);
    expect_slots<IEnumPins, IUnknown>("IEnumPins", 3, &IEnumPins::Next, &IEnumPins::Skip, &IEnumPins::Reset,
                                      &IEnumPins::Clone);
    expect_slots<IEnumFilters, IUnknown>("IEnumFilters", 3, &IEnumFilters::Next, &IEnumFilters::Skip,
                                         &IEnumFilters::Reset, &IEnumFilters::Clone);
    expect_slots<IEnumMediaTypes, IUnknown>("IEnumMediaTypes", 3, &IEnumMediaTypes::Next, &IEnumMediaTypes::Skip,
                                            &IEnumMediaTypes::Reset, &IEnumMediaTypes::Clone);
    expect_slots<IFilterGraph, IUnknown>("IFilterGraph", 3, &IFilterGraph::AddFilter, &IFilterGraph::RemoveFilter,
                                         &IFilterGraph::EnumFilters, &IFilterGraph::FindFilterByName,
                                         &IFilterGraph::ConnectDirect, &IFilterGraph::Reconnect,
                                         &IFilterGraph::Disconnect, &IFilterGraph::SetDefaultSyncSource);
    expect_slots<IGraphBuilder, IFilterGraph>("IGraphBuilder", 11, &IGraphBuilder::Connect, &IGraphBuilder::Render,
                                              &IGraphBuilder::RenderFile, &IGraphBuilder::AddSourceFilter,
                                              &IGraphBuilder::SetLogFile, &IGraphBuilder::Abort,
                                              &IGraphBuilder::ShouldOperationContinue);
    expect_slots<IMediaControl, IDispatch>("IMediaControl", 7, &IMediaControl::Run, &IMediaControl::Pause,
                                           &IMediaControl::Stop, &IMediaControl::GetState, &IMediaControl::RenderFile,
                                           &IMediaControl::AddSourceFilter, &IMediaControl::get_FilterCollection,
                                           &IMediaControl::get_RegFilterCollection, &IMediaControl::StopWhenReady);
    expect_slots<IMediaEventSink, IUnknown>("IMediaEventSink", 3, &IMediaEventSink::Notify);
    expect_slots<IMediaEvent, IDispatch>("IMediaEvent", 7, &IMediaEvent::GetEventHandle, &IMediaEvent::GetEvent,
                                         &IMediaEvent::WaitForCompletion, &IMediaEvent::CancelDefaultHandling,
                                         &IMediaEvent::RestoreDefaultHandling, &IMediaEvent::FreeEventParams);
    expect_slots<IReferenceClock, IUnknown>("IReferenceClock", 3, &IReferenceClock::GetTime,
                                            &IReferenceClock::AdviseTime, &IReferenceClock::AdvisePeriodic,
                                            &IReferenceClock::Unadvise);
    expect_slots<IMemInputPin, IUnknown>("IMemInputPin", 3, &IMemInputPin::GetAllocator, &IMemInputPin::NotifyAllocator,
                                         &IMemInputPin::GetAllocatorRequirements, &IMemInputPin::Receive,
                                         &IMemInputPin::ReceiveMultiple, &IMemInputPin::ReceiveCanBlock);
    expect_slots<IMemAllocator, IUnknown>(
        "IMemAllocator", 3, &IMemAllocator::SetProperties, &IMemAllocator::GetProperties, &IMemAllocator::Commit,
        &IMemAllocator::Decommit, &IMemAllocator::GetBuffer, &IMemAllocator::ReleaseBuffer);
    expect_slots<IMemAllocatorCallbackTemp, IMemAllocator>("IMemAllocatorCallbackTemp", 9,
                                                           &IMemAllocatorCallbackTemp::SetNotify,
                                                           &IMemAllocatorCallbackTemp::GetFreeCount);
    expect_slots<IMemAllocatorNotifyCallbackTemp, IUnknown>("IMemAllocatorNotifyCallbackTemp", 3,
                                                            &IMemAllocatorNotifyCallbackTemp::NotifyRelease);
    expect_slots<IMediaSample, IUnknown>(
        "IMediaSample", 3, &IMediaSample::GetPointer, &IMediaSample::GetSize, &IMediaSample::GetTime,
        &IMediaSample::SetTime, &IMediaSample::IsSyncPoint, &IMediaSample::SetSyncPoint, &IMediaSample::IsPreroll,
        &IMediaSample::SetPreroll, &IMediaSample::GetActualDataLength, &IMediaSample::SetActualDataLength,
        &IMediaSample::GetMediaType, &IMediaSample::SetMediaType, &IMediaSample::IsDiscontinuity,
        &IMediaSample::SetDiscontinuity, &IMediaSample::GetMediaTime, &IMediaSample::SetMediaTime);
    expect_slots<IMediaSample2, IMediaSample>("IMediaSample2", 19, &IMediaSample2::GetProperties,
                                              &IMediaSample2::SetProperties);
    expect_slots<IMediaSeeking, IUnknown>(
        "IMediaSeeking", 3, &IMediaSeeking::GetCapabilities, &IMediaSeeking::CheckCapabilities,
        &IMediaSeeking::IsFormatSupported, &IMediaSeeking::QueryPreferredFormat, &IMediaSeeking::GetTimeFormat,
        &IMediaSeeking::IsUsingTimeFormat, &IMediaSeeking::SetTimeFormat, &IMediaSeeking::GetDuration,
        &IMediaSeeking::GetStopPosition, &IMediaSeeking::GetCurrentPosition, &IMediaSeeking::ConvertTimeFormat,
        &IMediaSeeking::SetPositions, &IMediaSeeking::GetPositions, &IMediaSeeking::GetAvailable,
        &IMediaSeeking::SetRate, &IMediaSeeking::GetRate, &IMediaSeeking::GetPreroll);
    expect_slots<IMediaPosition, IDispatch>(
        "IMediaPosition", 7, &IMediaPosition::get_Duration, &IMediaPosition::put_CurrentPosition,
        &IMediaPosition::get_CurrentPosition, &IMediaPosition::get_StopTime, &IMediaPosition::put_StopTime,
        &IMediaPosition::get_PrerollTime, &IMediaPosition::put_PrerollTime, &IMediaPosition::put_Rate,
        &IMediaPosition::get_Rate, &IMediaPosition::CanSeekForward, &IMediaPosition::CanSeekBackward);
    expect_slots<IAsyncReader, IUnknown>("IAsyncReader", 3, &IAsyncReader::RequestAllocator, &IAsyncReader::Request,
                                         &IAsyncReader::WaitForNext, &IAsyncReader::SyncReadAligned,
                                         &IAsyncReader::SyncRead, &IAsyncReader::Length, &IAsyncReader::BeginFlush,
                                         &IAsyncReader::EndFlush);
    expect_slots<IAMAsyncReaderTimestampScaling, IUnknown>("IAMAsyncReaderTimestampScaling", 3,
                                                           &IAMAsyncReaderTimestampScaling::GetTimestampMode,
                                                           &IAMAsyncReaderTimestampScaling::SetTimestampMode);
    expect_slots<IFileSourceFilter, IUnknown>("IFileSourceFilter", 3, &IFileSourceFilter::Load,
                                              &IFileSourceFilter::GetCurFile);
    expect_slots<IFileSinkFilter, IUnknown>("IFileSinkFilter", 3, &IFileSinkFilter::SetFileName,
                                            &IFileSinkFilter::GetCurFile);
    expect_slots<IFileSinkFilter2, IFileSinkFilter>("IFileSinkFilter2", 5, &IFileSinkFilter2::SetMode,
                                                    &IFileSinkFilter2::GetMode);
    expect_slots<IAMFilterMiscFlags, IUnknown>("IAMFilterMiscFlags", 3, &IAMFilterMiscFlags::GetMiscFlags);
    expect_slots<IQualityControl, IUnknown>("IQualityControl", 3, &IQualityControl::Notify, &IQualityControl::SetSink);
    expect_slots<INSSBuffer, IUnknown>("INSSBuffer", 3, &INSSBuffer::GetLength, &INSSBuffer::SetLength,
                                       &INSSBuffer::GetMaxLength, &INSSBuffer::GetBuffer,
                                       &INSSBuffer::GetBufferAndLength);
    expect_slots<INSSBuffer2, INSSBuffer>("INSSBuffer2", 8, &INSSBuffer2::GetSampleProperties,
                                          &INSSBuffer2::SetSampleProperties);
    expect_slots<INSSBuffer3, INSSBuffer2>("INSSBuffer3", 10, &INSSBuffer3::SetProperty, &INSSBuffer3::GetProperty);
    expect_slots<INSSBuffer4, INSSBuffer3>("INSSBuffer4", 12, &INSSBuffer4::GetPropertyCount,
                                           &INSSBuffer4::GetPropertyByIndex);
    expect_slots<IMediaBuffer, IUnknown>("IMediaBuffer", 3, &IMediaBuffer::SetLength, &IMediaBuffer::GetMaxLength,
                                         &IMediaBuffer::GetBufferAndLength);
    expect_slots<IMFMediaBuffer, IUnknown>("IMFMediaBuffer", 3, &IMFMediaBuffer::Lock, &IMFMediaBuffer::Unlock,
                                           &IMFMediaBuffer::GetCurrentLength, &IMFMediaBuffer::SetCurrentLength,
                                           &IMFMediaBuffer::GetMaxLength);
    expect_slots<IDispatch, IUnknown>("IDispatch", 3, &IDispatch::GetTypeInfoCount, &IDispatch::GetTypeInfo,
                                      &IDispatch::GetIDsOfNames, &IDispatch::Invoke);
}
