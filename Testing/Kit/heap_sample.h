// A media sample on the heap, for tests that need no allocator.
#pragma once

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IMediaSample.h"
#include "Platform/DirectShow/MediaType.h"

#include <atomic>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace mediakit_test {

/// Destroyed by its last Release. `alive` counts the samples that exist, to find references that leak.
class heap_sample final : public IMediaSample {
public:
    static ComPtr<heap_sample> create(std::vector<BYTE> bytes, REFERENCE_TIME start, REFERENCE_TIME stop,
                                      bool sync = true);
    static int alive() { return s_alive; }

    std::vector<BYTE> bytes;
    std::optional<std::pair<REFERENCE_TIME, REFERENCE_TIME>> time;
    std::optional<std::pair<LONGLONG, LONGLONG>> media_time;
    std::optional<CMediaType> type;
    bool sync = false;

    HRESULT QueryInterface(REFIID riid, void** ppv) override;
    ULONG AddRef() override { return ++m_count; }
    ULONG Release() override;

    HRESULT GetPointer(BYTE** ppBuffer) override;
    LONG GetSize() override { return static_cast<LONG>(bytes.size()); }
    HRESULT GetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) override;
    HRESULT SetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) override;
    HRESULT IsSyncPoint() override { return sync ? S_OK : S_FALSE; }
    HRESULT SetSyncPoint(BOOL bIsSyncPoint) override;
    HRESULT IsPreroll() override { return S_FALSE; }
    HRESULT SetPreroll(BOOL) override { return S_OK; }
    LONG GetActualDataLength() override { return GetSize(); }
    HRESULT SetActualDataLength(LONG length) override;
    HRESULT GetMediaType(AM_MEDIA_TYPE** ppMediaType) override;
    HRESULT SetMediaType(AM_MEDIA_TYPE* pMediaType) override;
    HRESULT IsDiscontinuity() override { return S_FALSE; }
    HRESULT SetDiscontinuity(BOOL) override { return S_OK; }
    HRESULT GetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) override;
    HRESULT SetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) override;

private:
    heap_sample() { ++s_alive; }
    ~heap_sample() { --s_alive; }

    inline static std::atomic<int> s_alive{0};
    std::atomic<ULONG> m_count{0};
};

}  // namespace mediakit_test
