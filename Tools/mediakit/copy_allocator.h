// Samples that own as much memory as they once needed.
#pragma once

#include <memory>
#include <vector>

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CMemAllocator.h"

namespace mediakit_tool {

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
/// to what the stream needs. Since a copy keeps its original, an allocator of as many samples as that of the originals
/// has one whenever there is an original, and nobody waits for it. Threads as CBaseAllocator.
class CopyAllocator final : public CBaseAllocator {
public:
    explicit CopyAllocator(HRESULT* phr) : CBaseAllocator("Copy allocator", nullptr, phr) {}

    /// Does not wait: VFW_E_TIMEOUT.
    HRESULT GetCopy(CopySample** sample);
    HRESULT ReleaseBuffer(IMediaSample* pBuffer) override;

private:
    HRESULT Alloc() override REQUIRES(m_lock);
    void Free() override REQUIRES(m_lock) {}

    std::vector<std::unique_ptr<CopySample>> m_samples GUARDED_BY(m_lock);
};

}  // namespace mediakit_tool
