// Base of filters whose pins push samples on threads of their own.
#pragma once

#include "Platform/DirectShow/CAMThread.h"
#include "Platform/DirectShow/CBaseOutputPin.h"

#include <vector>

class CSourceStream;

/// Holds the streams, which add and remove themselves, and the state lock. Deletes the streams that are left.
class CSource : public CBaseFilter {
public:
    CSource(const char* pName, IUnknown* pUnk, CLSID clsid, HRESULT* phr = nullptr);
    ~CSource() override;

    int GetPinCount() override;
    CBasePin* GetPin(int n) override;

    CCritSec* pStateLock() { return &m_cStateLock; }

    HRESULT AddPin(CSourceStream* pStream);
    /// S_OK, or S_FALSE when it is not here.
    HRESULT RemovePin(CSourceStream* pStream);
    /// By name, or by a stream's number from 1 as its QueryId tells.
    HRESULT FindPin(const wchar_t* Id, IPin** ppPin) override;
    /// The stream's position in the array, or -1.
    int FindPinNumber(IPin* iPin);

protected:
    /// How many of m_paStreams are there to be found; called with the state lock held. A filter that makes its streams
    /// while others may look hides the last ones until they are whole.
    virtual std::size_t StreamCount() const { return m_paStreams.size(); }

    std::vector<CSourceStream*> m_paStreams;
    CCritSec m_cStateLock{"CSource state", LockRank::Filter};
};

/// One stream: a thread between Active and Inactive that fills and delivers samples.
class CSourceStream : public CAMThread, public CBaseOutputPin {
public:
    /// Commands to the thread.
    enum Command : DWORD { CMD_INIT = 0, CMD_PAUSE = 1, CMD_RUN = 2, CMD_STOP = 3, CMD_EXIT = 4 };

    CSourceStream(const char* pObjectName, HRESULT* phr, CSource* pms, const wchar_t* pName);

    /// Answers commands until CMD_EXIT; DoBufferProcessingLoop at CMD_PAUSE and CMD_RUN.
    DWORD ThreadProc() override;
    ~CSourceStream() override;

    /// S_OK: deliver it. S_FALSE: the stream ended. Failure: the stream is broken, which ends it with EC_ERRORABORT.
    virtual HRESULT FillBuffer(IMediaSample* pSample) = 0;
    /// At CMD_INIT, on the thread. A failure is Active's result and ends the thread after OnThreadDestroy.
    virtual HRESULT OnThreadCreate();
    virtual HRESULT OnThreadDestroy();
    /// At the head of each run of the buffer loop.
    virtual HRESULT OnThreadStartPlay();
    /// Fills and delivers until a CMD_STOP is seen (S_FALSE, left for ThreadProc to answer) or the stream ends (S_OK,
    /// or FillBuffer's failure). A Deliver that is not S_OK ends it quietly.
    virtual HRESULT DoBufferProcessingLoop();
    /// The one type of a stream that has just one.
    virtual HRESULT GetMediaType(CMediaType* pMediaType);

    HRESULT Active() override;
    HRESULT Inactive() override;
    /// Accepts what GetMediaType(type) offers and nothing else.
    HRESULT CheckMediaType(const CMediaType* pMediaType) override;
    HRESULT GetMediaType(int iPosition, CMediaType* pMediaType) override;
    /// The stream's number from 1.
    HRESULT QueryId(wchar_t** Id) override;

    /// Commands from the owner's thread, answered by the stream's.
    HRESULT Init() { return Send(CMD_INIT); }
    HRESULT Exit() { return Send(CMD_EXIT); }
    HRESULT Pause() { return Send(CMD_PAUSE); }
    HRESULT Stop() { return Send(CMD_STOP); }
    using CBaseOutputPin::Run;
    HRESULT Run() { return Send(CMD_RUN); }

protected:
    Command GetRequest() { return static_cast<Command>(CAMThread::GetRequest()); }
    bool CheckRequest(Command* pCom);
    void Reply(HRESULT hr) { CAMThread::Reply(static_cast<DWORD>(hr)); }

    CSource* const m_pFilter;  ///< Hides the base's pointer to the same filter.

private:
    HRESULT Send(Command command) { return static_cast<HRESULT>(CallWorker(command)); }
};
