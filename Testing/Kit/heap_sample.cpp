#include "Testing/Kit/heap_sample.h"

namespace mediakit_test {

ComPtr<heap_sample> heap_sample::create(std::vector<BYTE> bytes, REFERENCE_TIME start, REFERENCE_TIME stop, bool sync) {
    ComPtr<heap_sample> sample(new heap_sample);
    sample->bytes = std::move(bytes);
    sample->time = {start, stop};
    sample->sync = sync;
    return sample;
}

HRESULT heap_sample::QueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IUnknown || riid == IID_IMediaSample) return GetInterface(static_cast<IMediaSample*>(this), ppv);
    *ppv = nullptr;
    return E_NOINTERFACE;
}

ULONG heap_sample::Release() {
    const ULONG left = --m_count;
    if (left == 0) delete this;
    return left;
}

HRESULT heap_sample::GetPointer(BYTE** ppBuffer) {
    *ppBuffer = bytes.data();
    return S_OK;
}

HRESULT heap_sample::GetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) {
    if (!time) return VFW_E_SAMPLE_TIME_NOT_SET;
    *pTimeStart = time->first;
    *pTimeEnd = time->second;
    return S_OK;
}

HRESULT heap_sample::SetTime(REFERENCE_TIME* pTimeStart, REFERENCE_TIME* pTimeEnd) {
    time.reset();
    if (pTimeStart != nullptr) time = {*pTimeStart, pTimeEnd != nullptr ? *pTimeEnd : *pTimeStart + 1};
    return S_OK;
}

HRESULT heap_sample::SetSyncPoint(BOOL bIsSyncPoint) {
    sync = bIsSyncPoint != FALSE;
    return S_OK;
}

HRESULT heap_sample::SetActualDataLength(LONG length) {
    bytes.resize(static_cast<std::size_t>(length));
    return S_OK;
}

HRESULT heap_sample::GetMediaType(AM_MEDIA_TYPE** ppMediaType) {
    *ppMediaType = type ? CreateMediaType(&*type) : nullptr;
    return type ? S_OK : S_FALSE;
}

HRESULT heap_sample::SetMediaType(AM_MEDIA_TYPE* pMediaType) {
    type.reset();
    if (pMediaType != nullptr) type.emplace(*pMediaType);
    return S_OK;
}

HRESULT heap_sample::GetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) {
    if (!media_time) return VFW_E_MEDIA_TIME_NOT_SET;
    *pTimeStart = media_time->first;
    *pTimeEnd = media_time->second;
    return S_OK;
}

HRESULT heap_sample::SetMediaTime(LONGLONG* pTimeStart, LONGLONG* pTimeEnd) {
    media_time.reset();
    if (pTimeStart != nullptr) media_time = {*pTimeStart, *pTimeEnd};
    return S_OK;
}

}  // namespace mediakit_test
