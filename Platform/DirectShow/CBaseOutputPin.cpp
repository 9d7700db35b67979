#include "Platform/DirectShow/CBaseOutputPin.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/CMemAllocator.h"

#include <utility>

CBaseOutputPin::CBaseOutputPin(const char* pObjectName, CBaseFilter* pFilter, CCritSec* pLock, HRESULT* phr,
                               const wchar_t* pName)
    : CBasePin(pObjectName, pFilter, pLock, phr, pName, PINDIR_OUTPUT) {}

CBaseOutputPin::~CBaseOutputPin() {
    if (m_pAllocator != nullptr) m_pAllocator->Release();
    if (m_pInputPin != nullptr) m_pInputPin->Release();
}

HRESULT CBaseOutputPin::TryAllocator(IMemInputPin* pPin, IMemAllocator* pAlloc, ALLOCATOR_PROPERTIES* pRequest) {
    const HRESULT hr = DecideBufferSize(pAlloc, pRequest);
    return FAILED(hr) ? hr : pPin->NotifyAllocator(pAlloc, FALSE);
}

HRESULT CBaseOutputPin::DecideAllocator(IMemInputPin* pPin, IMemAllocator** pAlloc) {
    *pAlloc = nullptr;
    ALLOCATOR_PROPERTIES request{};
    // A peer without a wish leaves the zeros.
    pPin->GetAllocatorRequirements(&request);
    if (request.cbAlign == 0) request.cbAlign = 1;

    if (SUCCEEDED(pPin->GetAllocator(pAlloc))) {
        if (SUCCEEDED(TryAllocator(pPin, *pAlloc, &request))) return S_OK;
    }
    if (IMemAllocator* const refused = std::exchange(*pAlloc, nullptr)) refused->Release();

    HRESULT hr = InitAllocator(pAlloc);
    if (SUCCEEDED(hr)) hr = TryAllocator(pPin, *pAlloc, &request);
    if (FAILED(hr)) {
        if (IMemAllocator* const refused = std::exchange(*pAlloc, nullptr)) refused->Release();
    }
    return hr;
}

HRESULT CBaseOutputPin::GetDeliveryBuffer(IMediaSample** ppSample, REFERENCE_TIME* pStartTime, REFERENCE_TIME* pEndTime,
                                          DWORD dwFlags) {
    if (m_pAllocator == nullptr) return E_NOINTERFACE;
    return m_pAllocator->GetBuffer(ppSample, pStartTime, pEndTime, dwFlags);
}

HRESULT CBaseOutputPin::Deliver(IMediaSample* pSample) {
    return m_pInputPin != nullptr ? m_pInputPin->Receive(pSample) : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::InitAllocator(IMemAllocator** ppAlloc) { return CreateMemoryAllocator(ppAlloc); }

HRESULT CBaseOutputPin::DeliverEndOfStream() {
    return m_Connected != nullptr ? m_Connected->EndOfStream() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverBeginFlush() {
    return m_Connected != nullptr ? m_Connected->BeginFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverEndFlush() {
    return m_Connected != nullptr ? m_Connected->EndFlush() : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::DeliverNewSegment(REFERENCE_TIME tStart, REFERENCE_TIME tStop, double dRate) {
    return m_Connected != nullptr ? m_Connected->NewSegment(tStart, tStop, dRate) : VFW_E_NOT_CONNECTED;
}

HRESULT CBaseOutputPin::CheckConnect(IPin* pPin) {
    if (const HRESULT hr = CBasePin::CheckConnect(pPin); FAILED(hr)) return hr;
    void* input = nullptr;
    if (const HRESULT hr = pPin->QueryInterface(IID_IMemInputPin, &input); FAILED(hr)) return hr;
    if (m_pInputPin != nullptr) m_pInputPin->Release();
    m_pInputPin = static_cast<IMemInputPin*>(input);
    return S_OK;
}

HRESULT CBaseOutputPin::BreakConnect() {
    if (m_pAllocator != nullptr) {
        if (const HRESULT hr = m_pAllocator->Decommit(); FAILED(hr)) return hr;
        std::exchange(m_pAllocator, nullptr)->Release();
    }
    if (IMemInputPin* const input = std::exchange(m_pInputPin, nullptr)) input->Release();
    return S_OK;
}

HRESULT CBaseOutputPin::CompleteConnect(IPin*) { return DecideAllocator(m_pInputPin, &m_pAllocator); }

HRESULT CBaseOutputPin::Active() { return m_pAllocator != nullptr ? m_pAllocator->Commit() : VFW_E_NO_ALLOCATOR; }

HRESULT CBaseOutputPin::Inactive() {
    m_bRunTimeError = false;
    return m_pAllocator != nullptr ? m_pAllocator->Decommit() : VFW_E_NO_ALLOCATOR;
}

HRESULT CBaseOutputPin::EndOfStream() { return E_UNEXPECTED; }

HRESULT CBaseOutputPin::BeginFlush() { return E_UNEXPECTED; }

HRESULT CBaseOutputPin::EndFlush() { return E_UNEXPECTED; }
