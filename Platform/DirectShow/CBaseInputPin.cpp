#include "Platform/DirectShow/CBaseInputPin.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CMemAllocator.h"

#include <utility>

CBaseInputPin::CBaseInputPin(const char* pObjectName, CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr,
                             const wchar_t* pName)
    : CBasePin(pObjectName, pFilter, pLock, phr, pName, PINDIR_INPUT) {}

CBaseInputPin::~CBaseInputPin() {
    if (m_pAllocator != nullptr) m_pAllocator->Release();
}

HRESULT CBaseInputPin::NonDelegatingQueryInterface(REFIID riid, void** ppv) {
    if (riid == IID_IMemInputPin) return GetInterface<IMemInputPin>(this, ppv);
    return CBasePin::NonDelegatingQueryInterface(riid, ppv);
}

HRESULT CBaseInputPin::BeginFlush() {
    CAutoLock lock(m_pLock);
    m_bFlushing = true;
    return S_OK;
}

HRESULT CBaseInputPin::EndFlush() {
    CAutoLock lock(m_pLock);
    m_bFlushing = false;
    m_bRunTimeError = false;
    return S_OK;
}

HRESULT CBaseInputPin::GetAllocator(IMemAllocator** ppAllocator) {
    if (ppAllocator == nullptr) return E_POINTER;
    *ppAllocator = nullptr;
    CAutoLock lock(m_pLock);
    if (m_pAllocator == nullptr) {
        if (const HRESULT hr = CreateMemoryAllocator(&m_pAllocator); FAILED(hr)) return hr;
    }
    *ppAllocator = m_pAllocator;
    m_pAllocator->AddRef();
    return S_OK;
}

HRESULT CBaseInputPin::NotifyAllocator(IMemAllocator* pAllocator, BOOL bReadOnly) {
    if (pAllocator == nullptr) return E_POINTER;
    CAutoLock lock(m_pLock);
    pAllocator->AddRef();
    if (IMemAllocator* const old = std::exchange(m_pAllocator, pAllocator)) old->Release();
    m_bReadOnly = bReadOnly != FALSE;
    return S_OK;
}

HRESULT CBaseInputPin::GetAllocatorRequirements(ALLOCATOR_PROPERTIES*) { return E_NOTIMPL; }

HRESULT CBaseInputPin::Receive(IMediaSample* pSample) {
    if (pSample == nullptr) return E_POINTER;
    if (const HRESULT hr = CheckStreaming(); hr != S_OK) return hr;
    ReadSampleProperties(pSample);
    const bool typeChanged = (m_SampleProps.dwSampleFlags & AM_SAMPLE_TYPECHANGED) != 0;
    if (!typeChanged || m_SampleProps.pMediaType == nullptr) return S_OK;

    const CMediaType type(*m_SampleProps.pMediaType);
    if (CheckMediaType(&type) == S_OK) return S_OK;
    // Nothing that follows can be decoded: end the stream here.
    m_bRunTimeError = true;
    EndOfStream();
    m_pFilter->NotifyEvent(EC_ERRORABORT, VFW_E_TYPE_NOT_ACCEPTED, 0);
    return VFW_E_INVALIDMEDIATYPE;
}

void CBaseInputPin::ReadSampleProperties(IMediaSample* pSample) {
    m_SampleProps = {};
    m_SampleProps.cbData = sizeof m_SampleProps;
    void* extended = nullptr;
    if (SUCCEEDED(pSample->QueryInterface(IID_IMediaSample2, &extended))) {
        auto* const sample2 = static_cast<IMediaSample2*>(extended);
        const HRESULT hr = sample2->GetProperties(sizeof m_SampleProps, reinterpret_cast<BYTE*>(&m_SampleProps));
        sample2->Release();
        if (SUCCEEDED(hr)) return;
        m_SampleProps = {};
        m_SampleProps.cbData = sizeof m_SampleProps;
    }

    DWORD& flags = m_SampleProps.dwSampleFlags;
    m_SampleProps.dwStreamId = AM_STREAM_MEDIA;
    if (pSample->IsDiscontinuity() == S_OK) flags |= AM_SAMPLE_DATADISCONTINUITY;
    if (pSample->IsPreroll() == S_OK) flags |= AM_SAMPLE_PREROLL;
    if (pSample->IsSyncPoint() == S_OK) flags |= AM_SAMPLE_SPLICEPOINT;
    const HRESULT timed = pSample->GetTime(&m_SampleProps.tStart, &m_SampleProps.tStop);
    if (SUCCEEDED(timed)) flags |= AM_SAMPLE_TIMEVALID;
    if (timed == S_OK) flags |= AM_SAMPLE_STOPVALID;
    AM_MEDIA_TYPE* type = nullptr;
    if (pSample->GetMediaType(&type) == S_OK) {
        m_sampleType.Set(*type);
        DeleteMediaType(type);
        m_SampleProps.pMediaType = &m_sampleType;
        flags |= AM_SAMPLE_TYPECHANGED;
    }
    pSample->GetPointer(&m_SampleProps.pbBuffer);
    m_SampleProps.lActual = pSample->GetActualDataLength();
    m_SampleProps.cbBuffer = pSample->GetSize();
}

HRESULT CBaseInputPin::ReceiveMultiple(IMediaSample** pSamples, LONG nSamples, LONG* nSamplesProcessed) {
    if (pSamples == nullptr || nSamplesProcessed == nullptr) return E_POINTER;
    *nSamplesProcessed = 0;
    for (LONG i = 0; i < nSamples; ++i) {
        if (const HRESULT hr = Receive(pSamples[i]); hr != S_OK) return hr;
        ++*nSamplesProcessed;
    }
    return S_OK;
}

HRESULT CBaseInputPin::ReceiveCanBlock() {
    int outputs = 0;
    const int count = m_pFilter->GetPinCount();
    for (int i = 0; i < count; ++i) {
        CBasePin* const pin = m_pFilter->GetPin(i);
        PIN_DIRECTION direction = PINDIR_INPUT;
        if (pin == nullptr || FAILED(pin->QueryDirection(&direction)) || direction == PINDIR_INPUT) continue;
        ++outputs;
        if (!pin->IsConnected()) continue;
        const auto downstream = ComPtr<IPin>(pin->GetConnected()).query<IMemInputPin>();
        if (!downstream || downstream->ReceiveCanBlock() != S_FALSE) return S_OK;
    }
    return outputs == 0 ? S_OK : S_FALSE;
}

HRESULT CBaseInputPin::BreakConnect() {
    if (m_pAllocator == nullptr) return S_OK;
    if (const HRESULT hr = m_pAllocator->Decommit(); FAILED(hr)) return hr;
    std::exchange(m_pAllocator, nullptr)->Release();
    return S_OK;
}

HRESULT CBaseInputPin::Inactive() {
    m_bRunTimeError = false;
    if (m_pAllocator == nullptr) return VFW_E_NO_ALLOCATOR;
    m_bFlushing = false;
    return m_pAllocator->Decommit();
}

HRESULT CBaseInputPin::CheckStreaming() {
    if (IsStopped()) return VFW_E_WRONG_STATE;
    if (m_bFlushing) return S_FALSE;
    return m_bRunTimeError ? VFW_E_RUNTIME_ERROR : S_OK;
}

HRESULT CBaseInputPin::PassNotify(Quality& q) {
    if (m_pQSink != nullptr) return m_pQSink->Notify(m_pFilter, q);
    const auto upstream = ComPtr<IPin>(m_Connected).query<IQualityControl>();
    return upstream ? upstream->Notify(m_pFilter, q) : VFW_E_NOT_FOUND;
}
