// A worker thread that is asked and answers.
#pragma once

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/Thread.h"

#include <atomic>

/// The owner's side: Create, CallWorker, Close, from one thread at a time. The worker's side: GetRequest or
/// CheckRequest, then Reply to each request exactly once.
///
/// CallWorker and Close may be called with the owner's locks held, as filters do in their state changes: the
/// worker answers a request without taking those locks.
class CAMThread {
public:
    explicit CAMThread(HRESULT* phr = nullptr);
    CAMThread(const CAMThread&) = delete;
    CAMThread& operator=(const CAMThread&) = delete;

    /// What the thread runs; its end is the thread's.
    virtual DWORD ThreadProc() = 0;
    /// The thread must have ended, or be about to: it is joined.
    virtual ~CAMThread();

    /// False when a thread exists, or none can be had.
    bool Create();
    /// Sends a request and waits for the reply, which is the result. E_FAIL when no thread is there to answer.
    DWORD CallWorker(DWORD dwParam);
    /// Waits for the thread's end.
    void Close();
    bool ThreadExists() const { return m_thread.Running(); }

    /// Waits for a request. One that was looked at and not answered comes again.
    DWORD GetRequest();
    /// Looks for a request without waiting; dwParam may be null.
    bool CheckRequest(DWORD* pParam);
    /// Set while a request is unanswered, for a worker that waits for other things as well.
    HANDLE GetRequestHandle() const { return m_EventSend; }
    DWORD GetRequestParam() const { return m_dwParam; }
    void Reply(DWORD dwReturnVal);

protected:
    CAMEvent m_EventSend;      ///< Manual reset, so that looking does not take the request.
    CAMEvent m_EventComplete;  ///< Auto reset.

private:
    CCritSec m_AccessLock{"CAMThread", LockRank::Object};  ///< One request at a time.
    Thread m_thread;
    std::atomic<DWORD> m_dwParam{0};
    std::atomic<DWORD> m_dwReturnVal{0};
    std::atomic<bool> m_bEnded{false};
    /// Set before m_EventSend; spares a worker the look at the event for every sample.
    std::atomic<bool> m_bRequested{false};
};
