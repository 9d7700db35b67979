#include "Platform/DirectShow/CAMThread.h"

#include "Platform/Com/Results.h"

CAMThread::CAMThread(HRESULT* phr) : m_EventSend(true, phr), m_EventComplete(false, phr) {}

CAMThread::~CAMThread() { Close(); }

bool CAMThread::Create() {
    CAutoLock lock(&m_AccessLock);
    if (ThreadExists()) return false;
    m_bRequested = false;
    m_EventSend.Reset();
    m_EventComplete.Reset();
    m_bEnded = false;
    return m_thread.Start(
        [this] {
            ThreadProc();
            // Nobody answers any more; a caller that has just asked must not wait for ever.
            m_bEnded = true;
            m_EventComplete.Set();
        },
        "worker");
}

DWORD CAMThread::CallWorker(DWORD dwParam) {
    CAutoLock lock(&m_AccessLock);
    if (!ThreadExists() || m_bEnded) return static_cast<DWORD>(E_FAIL);
    m_dwParam = dwParam;
    m_dwReturnVal = static_cast<DWORD>(E_FAIL);
    m_bRequested = true;
    m_EventSend.Set();
    AllowWaitWithLocks allow("the worker answers without the caller's locks");
    m_EventComplete.Wait();
    return m_dwReturnVal;
}

void CAMThread::Close() {
    AllowWaitWithLocks allow("the worker was told to end, and does so without the caller's locks");
    m_thread.Join();
}

DWORD CAMThread::GetRequest() {
    m_EventSend.Wait();
    return m_dwParam;
}

bool CAMThread::CheckRequest(DWORD* pParam) {
    // A request counts once its event is set, too: an answer before that would reset the event too early, and leave
    // it set without a request.
    if (!m_bRequested || !m_EventSend.Check()) return false;
    if (pParam != nullptr) *pParam = m_dwParam;
    return true;
}

void CAMThread::Reply(DWORD dwReturnVal) {
    m_dwReturnVal = dwReturnVal;
    m_bRequested = false;
    // Reset first: once the caller is woken it may send the next request.
    m_EventSend.Reset();
    m_EventComplete.Set();
}
