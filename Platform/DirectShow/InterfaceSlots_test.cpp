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

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace {

/// The slot that a pointer to a virtual function names. The C++ ABI of this system (Itanium) keeps the offset into the
/// table of functions in such a pointer: in the first word plus 1, or on ARM in the first word as it is.
template <class Operation>
std::size_t SlotOf(Operation operation) {
    std::ptrdiff_t words[2];
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
#if defined(__aarch64__) || defined(__arm__)
    return static_cast<std::size_t>(words[0]) / sizeof(void*);
#else
    return static_cast<std::size_t>(words[0] - 1) / sizeof(void*);
#endif
}

template <class Interface, class Base, class... Operations>
void ExpectSlots(const char* name, std::size_t first, Operations... operations) {
    static_assert(std::is_base_of_v<Base, Interface>);
    // One table and nothing else: an object's address is that of its first base's.
    static_assert(sizeof(Interface) == sizeof(void*));
    for (const std::size_t slot : {SlotOf(operations)...}) EXPECT_EQ(slot, first++) << name;
}

}  // namespace

TEST(InterfaceSlots, AreWhereTheyArePublished) {
    ExpectSlots<IUnknown, IUnknown>("IUnknown", 0, &IUnknown::QueryInterface, &IUnknown::AddRef, &IUnknown::Release);
    ExpectSlots<IPersist, IUnknown>("IPersist", 3, &IPersist::GetClassID);
    ExpectSlots<IPersistStream, IPersist>("IPersistStream", 4, &IPersistStream::IsDirty, &IPersistStream::Load,
                                          &IPersistStream::Save, &IPersistStream::GetSizeMax);
    ExpectSlots<ISequentialStream, IUnknown>("ISequentialStream", 3, &ISequentialStream::Read,
                                             &ISequentialStream::Write);
    ExpectSlots<IStream, ISequentialStream>("IStream", 5, &IStream::Seek, &IStream::SetSize, &IStream::CopyTo,
                                            &IStream::Commit, &IStream::Revert, &IStream::LockRegion,
                                            &IStream::UnlockRegion, &IStream::Stat, &IStream::Clone);
    ExpectSlots<IMediaFilter, IPersist>("IMediaFilter", 4, &IMediaFilter::Stop, &IMediaFilter::Pause,
                                        &IMediaFilter::Run, &IMediaFilter::GetState, &IMediaFilter::SetSyncSource,
                                        &IMediaFilter::GetSyncSource);
    ExpectSlots<IBaseFilter, IMediaFilter>("IBaseFilter", 10, &IBaseFilter::EnumPins, &IBaseFilter::FindPin,
                                           &IBaseFilter::QueryFilterInfo, &IBaseFilter::JoinFilterGraph,
                                           &IBaseFilter::QueryVendorInfo);
    ExpectSlots<IPin, IUnknown>("IPin", 3, &IPin::Connect, &IPin::ReceiveConnection, &IPin::Disconnect,
                                &IPin::ConnectedTo, &IPin::ConnectionMediaType, &IPin::QueryPinInfo,
                                &IPin::QueryDirection, &IPin::QueryId, &IPin::QueryAccept, &IPin::EnumMediaTypes,
                                &IPin::QueryInternalConnections, &IPin::EndOfStream, &IPin::BeginFlush, &IPin::EndFlush,
                                &IPin::NewSegment);
    ExpectSlots<IEnumPins, IUnknown>("IEnumPins", 3, &IEnumPins::Next, &IEnumPins::Skip, &IEnumPins::Reset,
                                     &IEnumPins::Clone);
    ExpectSlots<IEnumFilters, IUnknown>("IEnumFilters", 3, &IEnumFilters::Next, &IEnumFilters::Skip,
                                        &IEnumFilters::Reset, &IEnumFilters::Clone);
    ExpectSlots<IEnumMediaTypes, IUnknown>("IEnumMediaTypes", 3, &IEnumMediaTypes::Next, &IEnumMediaTypes::Skip,
                                           &IEnumMediaTypes::Reset, &IEnumMediaTypes::Clone);
    ExpectSlots<IFilterGraph, IUnknown>("IFilterGraph", 3, &IFilterGraph::AddFilter, &IFilterGraph::RemoveFilter,
                                        &IFilterGraph::EnumFilters, &IFilterGraph::FindFilterByName,
                                        &IFilterGraph::ConnectDirect, &IFilterGraph::Reconnect,
                                        &IFilterGraph::Disconnect, &IFilterGraph::SetDefaultSyncSource);
    ExpectSlots<IGraphBuilder, IFilterGraph>("IGraphBuilder", 11, &IGraphBuilder::Connect, &IGraphBuilder::Render,
                                             &IGraphBuilder::RenderFile, &IGraphBuilder::AddSourceFilter,
                                             &IGraphBuilder::SetLogFile, &IGraphBuilder::Abort,
                                             &IGraphBuilder::ShouldOperationContinue);
    ExpectSlots<IMediaControl, IDispatch>("IMediaControl", 7, &IMediaControl::Run, &IMediaControl::Pause,
                                          &IMediaControl::Stop, &IMediaControl::GetState, &IMediaControl::RenderFile,
                                          &IMediaControl::AddSourceFilter, &IMediaControl::get_FilterCollection,
                                          &IMediaControl::get_RegFilterCollection, &IMediaControl::StopWhenReady);
    ExpectSlots<IMediaEventSink, IUnknown>("IMediaEventSink", 3, &IMediaEventSink::Notify);
    ExpectSlots<IMediaEvent, IDispatch>("IMediaEvent", 7, &IMediaEvent::GetEventHandle, &IMediaEvent::GetEvent,
                                        &IMediaEvent::WaitForCompletion, &IMediaEvent::CancelDefaultHandling,
                                        &IMediaEvent::RestoreDefaultHandling, &IMediaEvent::FreeEventParams);
    ExpectSlots<IReferenceClock, IUnknown>("IReferenceClock", 3, &IReferenceClock::GetTime,
                                           &IReferenceClock::AdviseTime, &IReferenceClock::AdvisePeriodic,
                                           &IReferenceClock::Unadvise);
    ExpectSlots<IMemInputPin, IUnknown>("IMemInputPin", 3, &IMemInputPin::GetAllocator, &IMemInputPin::NotifyAllocator,
                                        &IMemInputPin::GetAllocatorRequirements, &IMemInputPin::Receive,
                                        &IMemInputPin::ReceiveMultiple, &IMemInputPin::ReceiveCanBlock);
    ExpectSlots<IMemAllocator, IUnknown>("IMemAllocator", 3, &IMemAllocator::SetProperties,
                                         &IMemAllocator::GetProperties, &IMemAllocator::Commit,
                                         &IMemAllocator::Decommit, &IMemAllocator::GetBuffer,
                                         &IMemAllocator::ReleaseBuffer);
    ExpectSlots<IMemAllocatorCallbackTemp, IMemAllocator>("IMemAllocatorCallbackTemp", 9,
                                                          &IMemAllocatorCallbackTemp::SetNotify,
                                                          &IMemAllocatorCallbackTemp::GetFreeCount);
    ExpectSlots<IMemAllocatorNotifyCallbackTemp, IUnknown>("IMemAllocatorNotifyCallbackTemp", 3,
                                                           &IMemAllocatorNotifyCallbackTemp::NotifyRelease);
    ExpectSlots<IMediaSample, IUnknown>("IMediaSample", 3, &IMediaSample::GetPointer, &IMediaSample::GetSize,
                                        &IMediaSample::GetTime, &IMediaSample::SetTime, &IMediaSample::IsSyncPoint,
                                        &IMediaSample::SetSyncPoint, &IMediaSample::IsPreroll,
                                        &IMediaSample::SetPreroll, &IMediaSample::GetActualDataLength,
                                        &IMediaSample::SetActualDataLength, &IMediaSample::GetMediaType,
                                        &IMediaSample::SetMediaType, &IMediaSample::IsDiscontinuity,
                                        &IMediaSample::SetDiscontinuity, &IMediaSample::GetMediaTime,
                                        &IMediaSample::SetMediaTime);
    ExpectSlots<IMediaSample2, IMediaSample>("IMediaSample2", 19, &IMediaSample2::GetProperties,
                                             &IMediaSample2::SetProperties);
    ExpectSlots<IMediaSeeking, IUnknown>("IMediaSeeking", 3, &IMediaSeeking::GetCapabilities,
                                         &IMediaSeeking::CheckCapabilities, &IMediaSeeking::IsFormatSupported,
                                         &IMediaSeeking::QueryPreferredFormat, &IMediaSeeking::GetTimeFormat,
                                         &IMediaSeeking::IsUsingTimeFormat, &IMediaSeeking::SetTimeFormat,
                                         &IMediaSeeking::GetDuration, &IMediaSeeking::GetStopPosition,
                                         &IMediaSeeking::GetCurrentPosition, &IMediaSeeking::ConvertTimeFormat,
                                         &IMediaSeeking::SetPositions, &IMediaSeeking::GetPositions,
                                         &IMediaSeeking::GetAvailable, &IMediaSeeking::SetRate, &IMediaSeeking::GetRate,
                                         &IMediaSeeking::GetPreroll);
    ExpectSlots<IMediaPosition, IDispatch>("IMediaPosition", 7, &IMediaPosition::get_Duration,
                                           &IMediaPosition::put_CurrentPosition, &IMediaPosition::get_CurrentPosition,
                                           &IMediaPosition::get_StopTime, &IMediaPosition::put_StopTime,
                                           &IMediaPosition::get_PrerollTime, &IMediaPosition::put_PrerollTime,
                                           &IMediaPosition::put_Rate, &IMediaPosition::get_Rate,
                                           &IMediaPosition::CanSeekForward, &IMediaPosition::CanSeekBackward);
    ExpectSlots<IAsyncReader, IUnknown>("IAsyncReader", 3, &IAsyncReader::RequestAllocator, &IAsyncReader::Request,
                                        &IAsyncReader::WaitForNext, &IAsyncReader::SyncReadAligned,
                                        &IAsyncReader::SyncRead, &IAsyncReader::Length, &IAsyncReader::BeginFlush,
                                        &IAsyncReader::EndFlush);
    ExpectSlots<IAMAsyncReaderTimestampScaling, IUnknown>("IAMAsyncReaderTimestampScaling", 3,
                                                          &IAMAsyncReaderTimestampScaling::GetTimestampMode,
                                                          &IAMAsyncReaderTimestampScaling::SetTimestampMode);
    ExpectSlots<IFileSourceFilter, IUnknown>("IFileSourceFilter", 3, &IFileSourceFilter::Load,
                                             &IFileSourceFilter::GetCurFile);
    ExpectSlots<IFileSinkFilter, IUnknown>("IFileSinkFilter", 3, &IFileSinkFilter::SetFileName,
                                           &IFileSinkFilter::GetCurFile);
    ExpectSlots<IFileSinkFilter2, IFileSinkFilter>("IFileSinkFilter2", 5, &IFileSinkFilter2::SetMode,
                                                   &IFileSinkFilter2::GetMode);
    ExpectSlots<IAMFilterMiscFlags, IUnknown>("IAMFilterMiscFlags", 3, &IAMFilterMiscFlags::GetMiscFlags);
    ExpectSlots<IQualityControl, IUnknown>("IQualityControl", 3, &IQualityControl::Notify, &IQualityControl::SetSink);
    ExpectSlots<INSSBuffer, IUnknown>("INSSBuffer", 3, &INSSBuffer::GetLength, &INSSBuffer::SetLength,
                                      &INSSBuffer::GetMaxLength, &INSSBuffer::GetBuffer,
                                      &INSSBuffer::GetBufferAndLength);
    ExpectSlots<INSSBuffer2, INSSBuffer>("INSSBuffer2", 8, &INSSBuffer2::GetSampleProperties,
                                         &INSSBuffer2::SetSampleProperties);
    ExpectSlots<INSSBuffer3, INSSBuffer2>("INSSBuffer3", 10, &INSSBuffer3::SetProperty, &INSSBuffer3::GetProperty);
    ExpectSlots<INSSBuffer4, INSSBuffer3>("INSSBuffer4", 12, &INSSBuffer4::GetPropertyCount,
                                          &INSSBuffer4::GetPropertyByIndex);
    ExpectSlots<IMediaBuffer, IUnknown>("IMediaBuffer", 3, &IMediaBuffer::SetLength, &IMediaBuffer::GetMaxLength,
                                        &IMediaBuffer::GetBufferAndLength);
    ExpectSlots<IMFMediaBuffer, IUnknown>("IMFMediaBuffer", 3, &IMFMediaBuffer::Lock, &IMFMediaBuffer::Unlock,
                                          &IMFMediaBuffer::GetCurrentLength, &IMFMediaBuffer::SetCurrentLength,
                                          &IMFMediaBuffer::GetMaxLength);
    ExpectSlots<IDispatch, IUnknown>("IDispatch", 3, &IDispatch::GetTypeInfoCount, &IDispatch::GetTypeInfo,
                                     &IDispatch::GetIDsOfNames, &IDispatch::Invoke);
}
