#include "Platform/DirectShow/CSource.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IMediaSample.h"
#include "Platform/DirectShow/TaskString.h"

#include <string>

CSourceStream::CSourceStream(const char* pObjectName, HRESULT* phr, CSource* pms, const wchar_t* pName)
    : CAMThread(phr), CBaseOutputPin(pObjectName, pms, pms->pStateLock(), phr, pName), m_pFilter(pms) {
    const HRESULT hr = m_pFilter->AddPin(this);
    if (phr != nullptr && FAILED(hr)) *phr = hr;
}

CSourceStream::~CSourceStream() { m_pFilter->RemovePin(this); }

DWORD CSourceStream::ThreadProc() {
    for (Command command = GetRequest(); command != CMD_INIT; command = GetRequest()) Reply(E_UNEXPECTED);
    if (const HRESULT hr = OnThreadCreate(); FAILED(hr)) {
        OnThreadDestroy();
        Reply(hr);
        return 1;
    }
    Reply(S_OK);

    for (;;) {
        switch (GetRequest()) {
            case CMD_EXIT: Reply(S_OK); return FAILED(OnThreadDestroy()) ? 1 : 0;
            case CMD_RUN:
            case CMD_PAUSE:
                Reply(S_OK);
                DoBufferProcessingLoop();
                break;
            case CMD_STOP: Reply(S_OK); break;
            default: Reply(E_UNEXPECTED);
        }
    }
}

HRESULT CSourceStream::OnThreadCreate() { return S_OK; }

HRESULT CSourceStream::OnThreadDestroy() { return S_OK; }

HRESULT CSourceStream::OnThreadStartPlay() { return S_OK; }

HRESULT CSourceStream::DoBufferProcessingLoop() {
    OnThreadStartPlay();
    for (;;) {
        Command command = CMD_STOP;
        while (!CheckRequest(&command)) {
            IMediaSample* next = nullptr;
            if (FAILED(GetDeliveryBuffer(&next, nullptr, nullptr, 0))) {
                // Most likely decommitted by an Inactive whose command is on its way.
                Sleep(1);
                continue;
            }
            ComPtr<IMediaSample> sample;
            sample.attach(next);
            const HRESULT filled = FillBuffer(next);
            if (filled == S_OK) {
                if (Deliver(next) != S_OK) return S_OK;
                continue;
            }
            sample.reset();
            DeliverEndOfStream();
            if (filled == S_FALSE) return S_OK;
            m_pFilter->NotifyEvent(EC_ERRORABORT, filled, 0);
            return filled;
        }
        if (command == CMD_STOP) return S_FALSE;
        Reply(command == CMD_RUN || command == CMD_PAUSE ? S_OK : E_UNEXPECTED);
    }
}

HRESULT CSourceStream::GetMediaType(CMediaType*) { return E_UNEXPECTED; }

HRESULT CSourceStream::GetMediaType(int iPosition, CMediaType* pMediaType) {
    CAutoLock lock(m_pFilter->pStateLock());
    if (iPosition < 0) return E_INVALIDARG;
    if (iPosition > 0) return VFW_S_NO_MORE_ITEMS;
    return GetMediaType(pMediaType);
}

HRESULT CSourceStream::CheckMediaType(const CMediaType* pMediaType) {
    CAutoLock lock(m_pFilter->pStateLock());
    CMediaType offered;
    GetMediaType(&offered);
    return offered == *pMediaType ? S_OK : E_FAIL;
}

HRESULT CSourceStream::QueryId(wchar_t** Id) {
    return AMGetWideString(std::to_wstring(m_pFilter->FindPinNumber(this) + 1).c_str(), Id);
}

HRESULT CSourceStream::Active() {
    CAutoLock lock(m_pFilter->pStateLock());
    if (m_pFilter->IsActive()) return S_FALSE;
    if (!IsConnected()) return S_OK;
    if (const HRESULT hr = CBaseOutputPin::Active(); FAILED(hr)) return hr;
    if (!Create()) {
        CBaseOutputPin::Inactive();
        return E_FAIL;
    }
    HRESULT hr = Init();
    if (FAILED(hr)) {
        // The thread has answered and is about to end.
        Close();
        CBaseOutputPin::Inactive();
        return hr;
    }
    return Pause();
}

HRESULT CSourceStream::Inactive() {
    CAutoLock lock(m_pFilter->pStateLock());
    if (!IsConnected()) return S_OK;
    // First, since the thread may be waiting for a sample. Whatever comes of it, the thread has to end.
    const HRESULT decommitted = CBaseOutputPin::Inactive();
    if (ThreadExists()) {
        if (const HRESULT hr = Stop(); FAILED(hr)) return hr;
        if (const HRESULT hr = Exit(); FAILED(hr)) return hr;
        Close();
    }
    return FAILED(decommitted) ? decommitted : S_OK;
}

bool CSourceStream::CheckRequest(Command* pCom) {
    DWORD param = 0;
    if (!CAMThread::CheckRequest(&param)) return false;
    *pCom = static_cast<Command>(param);
    return true;
}
