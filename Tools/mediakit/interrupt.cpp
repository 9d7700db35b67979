#include "Tools/mediakit/interrupt.h"

#include "Platform/Kernel/Console.h"

#include <atomic>

namespace mediakit_tool {

namespace {

std::atomic<HANDLE> g_event{nullptr};

}  // namespace

InterruptWatch::InterruptWatch() {
    g_event = m_event;
    SetConsoleCtrlHandler(Handle, TRUE);
}

InterruptWatch::~InterruptWatch() {
    SetConsoleCtrlHandler(Handle, FALSE);
    g_event = nullptr;
}

BOOL InterruptWatch::Handle(DWORD) {
    const HANDLE event = g_event;
    if (event == nullptr || WaitForSingleObject(event, 0) == WAIT_OBJECT_0) return FALSE;
    SetEvent(event);
    return TRUE;
}

}  // namespace mediakit_tool
