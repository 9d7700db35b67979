// Allocators of a copy: as many samples as are needed, none given up until the end.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CMemAllocator.h"
#include "Platform/Kernel/Event.h"
#include "Tools/mediakit/track_crowd.h"

#include <atomic>
#include <memory>
#include <vector>

namespace mediakit_tool {

/// Begins with the count of its properties. Threads as CBaseAllocator.
class GrowingAllocator : public CBaseAllocator {
protected:
    using CBaseAllocator::CBaseAllocator;

    /// A sample without waiting: when none is free, a new one.
    HRESULT GetOrMake(IMediaSample** sample);
    virtual std::unique_ptr<CMediaSample> MakeSample() MK_REQUIRES(m_lock) = 0;

private:
    HRESULT Alloc() override MK_REQUIRES(m_lock);
    void Free() override MK_REQUIRES(m_lock) {}
    void Add() MK_REQUIRES(m_lock);

    std::vector<std::unique_ptr<CMediaSample>> m_samples MK_GUARDED_BY(m_lock);
};

/// For the samples of one track. GetBuffer, which belongs to the track's thread, waits for one to come back while other
/// tracks are at work, and else makes another.
class TrackAllocator final : public GrowingAllocator {
public:
    /// The crowd outlives the allocator's use.
    TrackAllocator(TrackCrowd& crowd, HRESULT* phr)
        : GrowingAllocator("Track allocator", nullptr, phr), m_crowd(crowd) {}

    /// Between these the track counts in the crowd.
    void Begin() { m_crowd.Join(m_wake); }
    void End() { m_crowd.Leave(m_wake); }

    HRESULT GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME* pStartTime, REFERENCE_TIME* pEndTime,
                      DWORD dwFlags) override;
    HRESULT ReleaseBuffer(IMediaSample* pBuffer) override;
    HRESULT Decommit() override;

private:
    std::unique_ptr<CMediaSample> MakeSample() override MK_REQUIRES(m_lock);

    TrackCrowd& m_crowd;
    CAMEvent m_wake;
    std::atomic<bool> m_waiting{false};
};

/// A sample with bytes of its own. It keeps the one that it is a copy of until it is given back.
class CopySample final : public CMediaSample {
public:
    explicit CopySample(IMemAllocator* allocator) : CMediaSample("Copied sample", allocator, nullptr) {}

    /// To be filled; keeps its room when the sample is given back.
    std::vector<std::uint8_t>& Bytes() { return m_bytes; }
    /// Makes the sample show its bytes, and gives it the times and flags of the original.
    HRESULT BecomeCopyOf(IMediaSample& original);

private:
    friend class CopyAllocator;

    std::vector<std::uint8_t> m_bytes;
    ComPtr<IMediaSample> m_original;
};

/// For copies of samples whose size is known only when they are made: nothing is allocated once the buffers have grown
/// to what the stream needs. There are never more copies than originals, and who holds back those holds back these.
class CopyAllocator final : public GrowingAllocator {
public:
    explicit CopyAllocator(HRESULT* phr) : GrowingAllocator("Copy allocator", nullptr, phr) {}

    HRESULT GetCopy(CopySample** sample);
    HRESULT ReleaseBuffer(IMediaSample* pBuffer) override;

private:
    std::unique_ptr<CMediaSample> MakeSample() override { return std::make_unique<CopySample>(this); }
};

}  // namespace mediakit_tool
