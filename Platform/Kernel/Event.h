// Events and waits, in user space: an event costs a few dozen bytes and no descriptor.
//
// All functions may be called from any thread. A handle that was never given out, or that is
// closed, fails with ERROR_INVALID_HANDLE; it is never mistaken for a later event. A thread that
// waits on an event while another closes it goes on waiting on its other events or for its time-out.
#pragma once

#include "Platform/Com/Results.h"
#include "Platform/Kernel/Export.h"

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 0x102;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
/// A time-out in milliseconds that never comes.
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

inline constexpr DWORD CREATE_EVENT_MANUAL_RESET = 1;
inline constexpr DWORD CREATE_EVENT_INITIAL_SET = 2;
inline constexpr DWORD EVENT_ALL_ACCESS = 0x1F0003;

struct SECURITY_ATTRIBUTES;

/// A new event, or null with the last error set. `name` must be null (ERROR_NOT_SUPPORTED
/// otherwise): events are not shared between processes. Attributes and access are ignored.
PLATFORM_KERNEL_API HANDLE CreateEventExW(const SECURITY_ATTRIBUTES* attributes, const wchar_t* name, DWORD flags,
                                          DWORD access) noexcept;
PLATFORM_KERNEL_API BOOL SetEvent(HANDLE event) noexcept;
PLATFORM_KERNEL_API BOOL ResetEvent(HANDLE event) noexcept;
PLATFORM_KERNEL_API BOOL CloseHandle(HANDLE handle) noexcept;

/// WAIT_OBJECT_0, WAIT_TIMEOUT, or WAIT_FAILED with the last error set. An auto-reset event is
/// reset by the one wait that it satisfies. With a time-out of 0 the call only looks; with any
/// other it is a wait, which no thread may do with a lock held (see AssertMayWait).
PLATFORM_KERNEL_API DWORD WaitForSingleObject(HANDLE event, DWORD milliseconds) noexcept;

/// Waits for one event, or for all of them at once (`waitAll`; no event is reset before all are
/// set). 1 to 64 events, for `waitAll` all different. The result is WAIT_OBJECT_0 + index of the
/// first set one in array order, or WAIT_OBJECT_0 for all; else as WaitForSingleObject.
PLATFORM_KERNEL_API DWORD WaitForMultipleObjects(DWORD count, const HANDLE* events, BOOL waitAll,
                                                 DWORD milliseconds) noexcept;

/// An event as a member; auto-reset unless asked otherwise.
class PLATFORM_KERNEL_API CAMEvent {
public:
    /// Stores E_OUTOFMEMORY in *phr when the event cannot be made; success stores nothing.
    explicit CAMEvent(bool manualReset = false, HRESULT* phr = nullptr) noexcept;
    ~CAMEvent();
    CAMEvent(const CAMEvent&) = delete;
    CAMEvent& operator=(const CAMEvent&) = delete;

    operator HANDLE() const noexcept { return m_hEvent; }
    void Set() noexcept { SetEvent(m_hEvent); }
    void Reset() noexcept { ResetEvent(m_hEvent); }
    /// True when the event was set within the time-out.
    bool Wait(DWORD milliseconds = INFINITE) noexcept {
        return WaitForSingleObject(m_hEvent, milliseconds) == WAIT_OBJECT_0;
    }
    /// True when it is set now; an auto-reset event is reset by that.
    bool Check() noexcept { return Wait(0); }

private:
    HANDLE m_hEvent;
};
