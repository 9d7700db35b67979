// The platform's allocators: a fixed set of equal buffers.
#pragma once

#include "Platform/DirectShow/CMediaSample.h"
#include "Platform/DirectShow/IMemAllocatorCallbackTemp.h"
#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Event.h"

#include <memory>
#include <vector>

/// Keeps the free list and the waiting; where the samples come from is the derived class's. Free samples are taken
/// from the end that they are put back to, so that few buffers stay in the processor's cache.
/// While committed, and until the last sample is back after Decommit, the allocator holds itself alive.
/// m_lock is taken on its own; nothing waits or calls out with it held.
class CBaseAllocator : public CUnknown, public IMemAllocatorCallbackTemp {
public:
    CBaseAllocator(const char* pName, IUnknown* pUnk, HRESULT* phr);
    ~CBaseAllocator() override;

    DECLARE_IUNKNOWN
    /// IMemAllocator, IMemAllocatorCallbackTemp.
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override;

    /// The buffer grows so that buffer and prefix are a multiple of the alignment.
    HRESULT SetProperties(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) override;
    HRESULT GetProperties(ALLOCATOR_PROPERTIES* pProps) override;
    HRESULT Commit() override;
    HRESULT Decommit() override;
    HRESULT GetBuffer(IMediaSample** ppBuffer, REFERENCE_TIME* pStartTime, REFERENCE_TIME* pEndTime,
                      DWORD dwFlags) override;
    HRESULT ReleaseBuffer(IMediaSample* pBuffer) override;
    HRESULT SetNotify(IMemAllocatorNotifyCallbackTemp* pNotify) override;
    HRESULT GetFreeCount(LONG* plBuffersFree) override;

protected:
    /// Makes the samples that the properties ask for and gives each to AddFreeSample. VFW_E_SIZENOTSET without any.
    virtual HRESULT Alloc() MK_REQUIRES(m_lock);
    /// All samples are back after Decommit.
    virtual void Free() MK_REQUIRES(m_lock) = 0;

    void AddFreeSample(CMediaSample* pSample) MK_REQUIRES(m_lock);
    void ForgetFreeSamples() MK_REQUIRES(m_lock);

    CCritSec m_lock{"CBaseAllocator", LockRank::Object};
    LONG m_lCount MK_GUARDED_BY(m_lock) = 0;
    LONG m_lSize MK_GUARDED_BY(m_lock) = 0;
    LONG m_lAlignment MK_GUARDED_BY(m_lock) = 0;
    LONG m_lPrefix MK_GUARDED_BY(m_lock) = 0;
    LONG m_lAllocated MK_GUARDED_BY(m_lock) = 0;  ///< Samples that exist.
    bool m_bChanged MK_GUARDED_BY(m_lock) = false;

private:
    bool AllSamplesAreBack() const MK_REQUIRES(m_lock) { return m_lFree == m_lAllocated; }
    void WakeWaiting() MK_REQUIRES(m_lock);

    CMediaSample* m_pFirstFree MK_GUARDED_BY(m_lock) = nullptr;
    LONG m_lFree MK_GUARDED_BY(m_lock) = 0;
    LONG m_lWaiting MK_GUARDED_BY(m_lock) = 0;  ///< Threads in GetBuffer that look again when m_event is set.
    bool m_bCommitted MK_GUARDED_BY(m_lock) = false;
    bool m_bDecommitInProgress MK_GUARDED_BY(m_lock) = false;
    IMemAllocatorNotifyCallbackTemp* m_pNotify MK_GUARDED_BY(m_lock) = nullptr;  ///< Counted.
    CAMEvent m_event;  ///< Manual reset: all who wait look again.
};

/// Cuts its buffers from one block of pages, which it keeps until other properties are committed.
class CMemAllocator : public CBaseAllocator {
public:
    CMemAllocator(const char* pName, IUnknown* pUnk, HRESULT* phr);
    ~CMemAllocator() override;

protected:
    HRESULT Alloc() override MK_REQUIRES(m_lock);
    void Free() override MK_REQUIRES(m_lock);

private:
    void ReallyFree() MK_REQUIRES(m_lock);

    std::vector<std::unique_ptr<CMediaSample>> m_samples MK_GUARDED_BY(m_lock);
    BYTE* m_pBuffer MK_GUARDED_BY(m_lock) = nullptr;
};

/// A CMemAllocator with one reference. S_OK or E_OUTOFMEMORY.
HRESULT CreateMemoryAllocator(IMemAllocator** ppAllocator);
