#include "VideoIO/StreamFilters/SharedFile/SharedFileSourceOutputPin.h"

#include "Logging/Checks.h"
#include "Platform/DirectShow/FileStream.h"
#include "Platform/Kernel/Thread.h"
#include "VideoIO/StreamFilters/SharedFile/SharedFileSourceFilter.h"

namespace Norvane::MediaKit::Filters {

SharedFileSourceOutputPin::SharedFileSourceOutputPin(SharedFileSourceFilter* filter, CCritSec* lock, HRESULT* phr)
    : CBaseOutputPin("SharedFileSourceOutputPin", filter, lock, phr, L"out") {}

SharedFileSourceOutputPin::~SharedFileSourceOutputPin() = default;

HRESULT SharedFileSourceOutputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IAsyncReader) return GetInterface<IAsyncReader>(this, ppv);
    if (riid == IID_IAMAsyncReaderTimestampScaling) return GetInterface<IAMAsyncReaderTimestampScaling>(this, ppv);
    return CBaseOutputPin::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT SharedFileSourceOutputPin::Load(const wchar_t* name, const AM_MEDIA_TYPE* type) {
    CAutoLock lock(m_pLock);
    m_streams.clear();
    if (name != nullptr) {
        m_fileName = name;
        m_failure.Reset();
        ComPtr<IStream> stream;
        QZCheckHRESULT(GetStream(GetCurrentThreadId(), stream.put()));
    }
    if (type != nullptr) QZCheckHRESULT(m_mediaType.Set(*type));
    return S_OK;
}

HRESULT SharedFileSourceOutputPin::GetStream(DWORD threadId, IStream** ppStream) {
    CAutoLock lock(m_pLock);
    auto found = m_streams.find(threadId);
    if (found == m_streams.end()) {
        ComPtr<IStream> opened;
        QZCheckHRESULT(
            RecordFailure(SHCreateStreamOnFileW(m_fileName.c_str(), STGM_READ | STGM_SHARE_DENY_NONE, opened.put()),
                          L"cannot open the file"));
        found = m_streams.emplace(threadId, std::move(opened)).first;
    }
    if (ppStream == nullptr) return E_POINTER;
    *ppStream = ComPtr<IStream>(found->second).detach();
    return S_OK;
}

HRESULT SharedFileSourceOutputPin::RecordFailure(HRESULT result, const wchar_t* text, std::uint64_t position) {
    if (FAILED(result)) m_failure.Set(result, text, position);
    return result;
}

HRESULT SharedFileSourceOutputPin::GetMediaType(int iPosition, CMediaType* pMediaType) {
    QZCheckCondition(pMediaType != 0, E_POINTER);
    QZCheckCondition(iPosition >= 0, E_INVALIDARG);
    if (iPosition > 0) return VFW_S_NO_MORE_ITEMS;
    CAutoLock lock(m_pLock);
    return pMediaType->Set(m_mediaType);
}

HRESULT SharedFileSourceOutputPin::CheckMediaType(const CMediaType*) { return S_OK; }

HRESULT SharedFileSourceOutputPin::DecideBufferSize(IMemAllocator*, ALLOCATOR_PROPERTIES*) { return S_OK; }

HRESULT SharedFileSourceOutputPin::Active() { return S_OK; }

HRESULT SharedFileSourceOutputPin::Inactive() { return S_OK; }

HRESULT SharedFileSourceOutputPin::Run(REFERENCE_TIME) { return S_OK; }

HRESULT SharedFileSourceOutputPin::RequestAllocator(IMemAllocator*, ALLOCATOR_PROPERTIES*, IMemAllocator** ppActual) {
    if (ppActual != nullptr) *ppActual = nullptr;
    return S_OK;
}

HRESULT SharedFileSourceOutputPin::Request(IMediaSample*, DWORD_PTR) { return E_NOTIMPL; }

HRESULT SharedFileSourceOutputPin::WaitForNext(DWORD, IMediaSample**, DWORD_PTR*) { return E_NOTIMPL; }

HRESULT SharedFileSourceOutputPin::SyncReadAligned(IMediaSample*) { return E_NOTIMPL; }

HRESULT SharedFileSourceOutputPin::SyncRead(LONGLONG llPosition, LONG lLength, BYTE* pBuffer) {
    QZCheckCondition(lLength >= 0, E_INVALIDARG);
    ComPtr<IStream> stream;
    QZCheckHRESULT(GetStream(GetCurrentThreadId(), stream.put()));
    // Fails for a negative position alone, which says nothing of the file.
    QZCheckHRESULT(stream->Seek({llPosition}, STREAM_SEEK_SET, nullptr));
    QZCheckHRESULT(RecordFailure(stream->Read(pBuffer, static_cast<ULONG>(lLength), nullptr),
                                 L"cannot read from the file", static_cast<std::uint64_t>(llPosition)));
    return S_OK;
}

HRESULT SharedFileSourceOutputPin::Length(LONGLONG* pTotal, LONGLONG* pAvailable) {
    ComPtr<IStream> stream;
    QZCheckHRESULT(GetStream(GetCurrentThreadId(), stream.put()));
    STATSTG stat{};
    QZCheckHRESULT(RecordFailure(stream->Stat(&stat, STATFLAG_NONAME), L"cannot query the size of the file"));
    if (pTotal != nullptr) *pTotal = static_cast<LONGLONG>(stat.cbSize.QuadPart);
    if (pAvailable != nullptr) *pAvailable = static_cast<LONGLONG>(stat.cbSize.QuadPart);
    return S_OK;
}

HRESULT SharedFileSourceOutputPin::BeginFlush() { return S_OK; }

HRESULT SharedFileSourceOutputPin::EndFlush() { return S_OK; }

HRESULT SharedFileSourceOutputPin::GetTimestampMode(BOOL* pfRaw) {
    QZCheckCondition(pfRaw != nullptr, E_POINTER);
    *pfRaw = m_rawTimestamps ? TRUE : FALSE;
    return S_OK;
}

HRESULT SharedFileSourceOutputPin::SetTimestampMode(BOOL fRaw) {
    m_rawTimestamps = fRaw != FALSE;
    return S_OK;
}

}  // namespace Norvane::MediaKit::Filters
