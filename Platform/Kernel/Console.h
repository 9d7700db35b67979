// The terminal, its interrupts, and what the process has used.
#pragma once

#include "Platform/Com/Types.h"
#include "Platform/Kernel/Export.h"

#include <cstdint>

enum class StandardStream { Input = 0, Output = 1, Error = 2 };

PLATFORM_KERNEL_API bool IsTerminal(StandardStream stream) noexcept;
/// Columns of the terminal behind the stream, or `fallback` when there is none.
PLATFORM_KERNEL_API int TerminalWidth(StandardStream stream, int fallback) noexcept;

inline constexpr DWORD CTRL_C_EVENT = 0;      ///< interrupt from the keyboard
inline constexpr DWORD CTRL_BREAK_EVENT = 1;  ///< quit from the keyboard
inline constexpr DWORD CTRL_CLOSE_EVENT = 2;  ///< the terminal went away, or a request to terminate

/// True when the event is dealt with; false passes it to the handler added before.
using PHANDLER_ROUTINE = BOOL (*)(DWORD event);

/// Adds or removes a handler. Handlers run one event at a time on a thread of their own, the last
/// added first, so that they may take locks and wait. An event that no handler takes ends the
/// process as if there were none. False with ERROR_INVALID_PARAMETER for one that was not added.
PLATFORM_KERNEL_API BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) noexcept;

/// What the process has used since its start.
struct ProcessUsage {
    REFERENCE_TIME user_time = 0;    ///< processor time in units of 100 ns, over all threads
    REFERENCE_TIME kernel_time = 0;  ///< the same, inside the system
    std::uint64_t peak_memory = 0;   ///< most bytes resident at once
};
PLATFORM_KERNEL_API ProcessUsage QueryProcessUsage() noexcept;
