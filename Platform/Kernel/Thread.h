// Threads, their ids and sleep.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"

#include <functional>
#include <thread>

/// The system's number of the calling thread; the system uses the number of an ended thread again.
PLATFORM_KERNEL_API DWORD GetCurrentThreadId() noexcept;

/// Blocks the calling thread; no lock may be held.
PLATFORM_KERNEL_API void Sleep(DWORD milliseconds) noexcept;

/// A thread that is joined at the latest by its destructor. One owner; Start and Join from one
/// thread at a time.
class PLATFORM_KERNEL_API Thread {
public:
    Thread() noexcept = default;
    ~Thread() { Join(); }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Runs `body` on a new thread. `name` is what debuggers and process lists show (15 bytes of
    /// it). False with the last error set when the system has no thread to give or one is running.
    bool Start(std::function<void()> body, const char* name = "") noexcept;
    /// Waits for the thread's end; a wait in the sense of AssertMayWait. Nothing to join is no fault.
    void Join() noexcept;
    bool Running() const noexcept { return m_thread.joinable(); }

private:
    std::thread m_thread;
};
