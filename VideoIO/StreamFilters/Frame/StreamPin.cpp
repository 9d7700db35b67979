#include "VideoIO/StreamFilters/Frame/StreamPin.h"

#include "Logging/qz_log.h"
#include "Platform/Kernel/Text.h"
#include "Platform/Kernel/Thread.h"

namespace Norvane::MediaKit::Filters {

ThreadNameScope::ThreadNameScope(const std::wstring& name) : m_threadId(GetCurrentThreadId()) {
    // A host's name with text that is not valid must not end a stream.
    qz_log::set_thread_name(m_threadId, win32::NarrowForDisplay(name).c_str());
}

ThreadNameScope::~ThreadNameScope() { qz_log::reset_thread_name(m_threadId); }

DWORD StreamPin::ThreadProc() {
    const ThreadNameScope named(ThreadName());
    return CSourceStream::ThreadProc();
}

std::wstring StreamPin::ThreadName() const { return std::wstring(m_pFilter->Name()) + L"-" + Name(); }

}  // namespace Norvane::MediaKit::Filters
