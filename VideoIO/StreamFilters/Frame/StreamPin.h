// What the pins that push streams from a thread of their own have in common.
#pragma once

#include "Platform/DirectShow/CSource.h"

#include <string>

namespace Norvane::MediaKit::Filters {

/// Names the calling thread for the log while it lives.
class ThreadNameScope {
public:
    explicit ThreadNameScope(const std::wstring& name);
    ~ThreadNameScope();
    ThreadNameScope(const ThreadNameScope&) = delete;
    ThreadNameScope& operator=(const ThreadNameScope&) = delete;

private:
    const DWORD m_threadId;
};

/// A stream whose thread bears a name in the log. Its allocator is decided as CBaseOutputPin does it: the peer's, when
/// it takes the properties that DecideBufferSize wants, else one of InitAllocator.
class StreamPin : public CSourceStream {
public:
    using CSourceStream::CSourceStream;

    DWORD ThreadProc() override;

protected:
    /// Filter name, "-", pin name. Called once, on the thread, as it starts.
    virtual std::wstring ThreadName() const;
};

}  // namespace Norvane::MediaKit::Filters
