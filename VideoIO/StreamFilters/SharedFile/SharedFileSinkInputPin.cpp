#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkInputPin.h"

#include "Logging/Checks.h"
#include "Platform/DirectShow/CMemAllocator.h"
#include "Platform/DirectShow/FileStream.h"
#include "Platform/DirectShow/IAMAsyncReaderTimestampScaling.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSinkFilter.h"

#include <algorithm>
#include <new>

namespace Norvane::MediaKit::Filters {

namespace {

/// A byte position in a scaled sample time is a number of seconds, in units of 100 ns.
constexpr REFERENCE_TIME kScaledTimePerByte = 10'000'000;

REFERENCE_TIME TimePerByteOf(IPin* peer) {
    const auto scaling = ComPtr<IPin>(peer).query<IAMAsyncReaderTimestampScaling>();
    BOOL raw = TRUE;
    return scaling && SUCCEEDED(scaling->GetTimestampMode(&raw)) && raw == FALSE ? kScaledTimePerByte : 1;
}

constexpr LONG kLeastBuffer = 128 * 1024;

/// Gives larger buffers than asked for. Pages that no sample reaches are never touched, and buffers are used again
/// last in, first out, so that they cost address space and not memory.
class LargeBufferAllocator final : public CMemAllocator {
public:
    explicit LargeBufferAllocator(HRESULT* phr) : CMemAllocator("SharedFileSink allocator", nullptr, phr) {}

    HRESULT SetProperties(ALLOCATOR_PROPERTIES* pRequest, ALLOCATOR_PROPERTIES* pActual) override {
        if (pRequest == nullptr) return E_POINTER;
        ALLOCATOR_PROPERTIES larger = *pRequest;
        larger.cbBuffer = std::max(larger.cbBuffer, kLeastBuffer);
        return CMemAllocator::SetProperties(&larger, pActual);
    }
};

}  // namespace

SharedFileSinkInputPin::SharedFileSinkInputPin(SharedFileSinkFilter* filter, CCritSec* lock, HRESULT* phr)
    : CBaseInputPin("SharedFileSinkInputPin", filter, lock, phr, L"input") {}

SharedFileSinkInputPin::~SharedFileSinkInputPin() = default;

HRESULT SharedFileSinkInputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IStream || riid == IID_ISequentialStream) return GetInterface<IStream>(this, ppv);
    return CBaseInputPin::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT SharedFileSinkInputPin::CheckMediaType(const CMediaType*) { return S_OK; }

HRESULT SharedFileSinkInputPin::CompleteConnect(IPin* pReceivePin) {
    m_timePerByte = TimePerByteOf(pReceivePin);
    return S_OK;
}

HRESULT SharedFileSinkInputPin::GetAllocator(IMemAllocator** ppAllocator) {
    QZCheckCondition(ppAllocator != nullptr, E_POINTER);
    *ppAllocator = nullptr;
    const CAutoLock lock(m_pLock);
    if (m_pAllocator == nullptr) {
        HRESULT hr = S_OK;
        ComPtr<IMemAllocator> allocator = new (std::nothrow) LargeBufferAllocator(&hr);
        if (!allocator) return E_OUTOFMEMORY;
        QZCheckHRESULT(hr);
        m_pAllocator = allocator.detach();
    }
    m_pAllocator->AddRef();
    *ppAllocator = m_pAllocator;
    return S_OK;
}

void SharedFileSinkInputPin::SetFileName(const wchar_t* name) {
    m_fileName = name;
    m_failure.Reset();
}

HRESULT SharedFileSinkInputPin::Active() {
    m_failure.Reset();
    if (!m_stream) {
        constexpr DWORD kMode = STGM_CREATE | STGM_SHARE_DENY_WRITE | STGM_WRITE;
        QZCheckHRESULT(
            Keep(SHCreateStreamOnFileW(m_fileName.c_str(), kMode, m_stream.put()), L"cannot create the file"));
    }
    return S_OK;
}

HRESULT SharedFileSinkInputPin::Keep(HRESULT hr, const wchar_t* text) {
    if (SUCCEEDED(hr)) return hr;
    ULARGE_INTEGER position{};
    if (m_stream) m_stream->Seek({0}, STREAM_SEEK_CUR, &position);
    m_failure.Set(hr, text, position.QuadPart);
    return hr;
}

HRESULT SharedFileSinkInputPin::Inactive() { return S_OK; }

HRESULT SharedFileSinkInputPin::Receive(IMediaSample* pSample) {
    QZCheckHRESULT(CBaseInputPin::Receive(pSample));
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    QZCheckHRESULT(pSample->GetTime(&start, &stop));
    QZCheckHRESULT(Seek({start / m_timePerByte}, STREAM_SEEK_SET, nullptr));
    BYTE* data = nullptr;
    pSample->GetPointer(&data);
    const LONG length = pSample->GetActualDataLength();
    QZCheckCondition(length >= 0, E_INVALIDARG);
    QZCheckHRESULT(Write(data, static_cast<ULONG>(length), nullptr));
    if (m_timePerByte == 1) QZCheckHRESULT(Commit(STGC_DEFAULT));
    return S_OK;
}

template <class Operation, class... Args>
HRESULT SharedFileSinkInputPin::Forward(Operation operation, Args... args) {
    QZCheckCondition(m_stream.get() != nullptr, E_UNEXPECTED);
    const HRESULT hr = (m_stream.get()->*operation)(args...);
    QZCheckHRESULT(hr);
    return hr;
}

HRESULT SharedFileSinkInputPin::Read(void* pv, ULONG cb, ULONG* pcbRead) {
    return Forward(&IStream::Read, pv, cb, pcbRead);
}

HRESULT SharedFileSinkInputPin::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
    return Keep(Forward(&IStream::Write, pv, cb, pcbWritten), L"cannot write to the file");
}

HRESULT SharedFileSinkInputPin::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) {
    return Forward(&IStream::Seek, dlibMove, dwOrigin, plibNewPosition);
}

HRESULT SharedFileSinkInputPin::SetSize(ULARGE_INTEGER libNewSize) {
    return Keep(Forward(&IStream::SetSize, libNewSize), L"cannot set the size of the file");
}

HRESULT SharedFileSinkInputPin::CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                       ULARGE_INTEGER* pcbWritten) {
    return Forward(&IStream::CopyTo, pstm, cb, pcbRead, pcbWritten);
}

HRESULT SharedFileSinkInputPin::Commit(DWORD grfCommitFlags) {
    return Keep(Forward(&IStream::Commit, grfCommitFlags), L"cannot write what was gathered");
}

HRESULT SharedFileSinkInputPin::Revert() { return Forward(&IStream::Revert); }

HRESULT SharedFileSinkInputPin::LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) {
    return Forward(&IStream::LockRegion, libOffset, cb, dwLockType);
}

HRESULT SharedFileSinkInputPin::UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) {
    return Forward(&IStream::UnlockRegion, libOffset, cb, dwLockType);
}

HRESULT SharedFileSinkInputPin::Stat(STATSTG* pstatstg, DWORD grfStatFlag) {
    return Forward(&IStream::Stat, pstatstg, grfStatFlag);
}

HRESULT SharedFileSinkInputPin::Clone(IStream** ppstm) { return Forward(&IStream::Clone, ppstm); }

}  // namespace Norvane::MediaKit::Filters
