#include "Platform/Kernel/Console.h"

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/LastError.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

struct SignalEvent {
    int signal;
    DWORD event;
};
constexpr SignalEvent kEvents[] = {
    {SIGINT, CTRL_C_EVENT}, {SIGQUIT, CTRL_BREAK_EVENT}, {SIGTERM, CTRL_CLOSE_EVENT}, {SIGHUP, CTRL_CLOSE_EVENT}};

/// Written to by the signal handler, which may do little else; a lock-free word, set before it is installed.
volatile int g_signalPipe = -1;

void OnSignal(int signal) {
    const int saved = errno;
    const auto byte = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(g_signalPipe, &byte, 1);
    errno = saved;
}

/// The handlers, and the thread that calls them. Lives from the first handler to the end of the process.
class ControlHandlers {
public:
    static ControlHandlers& Instance() {
        static ControlHandlers& handlers = *new ControlHandlers;
        return handlers;
    }

    DWORD Add(PHANDLER_ROUTINE handler) {
        CAutoLock lock(&m_lock);
        if (!m_listening) {
            if (const DWORD error = Listen(); error != NO_ERROR) return error;
            m_listening = true;
        }
        m_handlers.push_back(handler);
        return NO_ERROR;
    }

    DWORD Remove(PHANDLER_ROUTINE handler) {
        CAutoLock lock(&m_lock);
        const auto it = std::find(m_handlers.rbegin(), m_handlers.rend(), handler);
        if (it == m_handlers.rend()) return ERROR_INVALID_PARAMETER;
        m_handlers.erase(std::next(it).base());
        return NO_ERROR;
    }

private:
    DWORD Listen() {
        int pipe[2];
        if (pipe2(pipe, O_CLOEXEC) != 0) return ErrorFromErrno(errno);
        // A full pipe must not stop the thread that a signal interrupts.
        fcntl(pipe[1], F_SETFL, O_NONBLOCK);
        try {
            std::thread([this, readEnd = pipe[0]] { Run(readEnd); }).detach();
        } catch (const std::system_error& e) {
            ::close(pipe[0]);
            ::close(pipe[1]);
            return ErrorFromErrno(e.code().value());
        }
        g_signalPipe = pipe[1];
        struct sigaction action {};
        action.sa_handler = OnSignal;
        action.sa_flags = SA_RESTART;
        for (const SignalEvent& e : kEvents) sigaction(e.signal, &action, nullptr);
        return NO_ERROR;
    }

    void Run(int readEnd) {
        for (;;) {
            unsigned char signal = 0;
            const ssize_t count = ::read(readEnd, &signal, 1);
            if (count == 1)
                Dispatch(signal);
            else if (count == 0 || errno != EINTR)
                return;
        }
    }

    void Dispatch(int signal) {
        const auto event = std::find_if(std::begin(kEvents), std::end(kEvents),
                                        [signal](const SignalEvent& e) { return e.signal == signal; });
        const std::vector<PHANDLER_ROUTINE> handlers = Snapshot();
        const bool taken = std::any_of(handlers.rbegin(), handlers.rend(),
                                       [&](PHANDLER_ROUTINE handler) { return handler(event->event) != FALSE; });
        if (!taken) EndProcess(signal);
    }

    std::vector<PHANDLER_ROUTINE> Snapshot() {
        CAutoLock lock(&m_lock);
        return m_handlers;
    }

    /// As the signal would have without handlers, so that the parent sees what ended the process.
    static void EndProcess(int signal) {
        ::signal(signal, SIG_DFL);
        ::kill(getpid(), signal);
    }

    CCritSec m_lock{"console handlers", LockRank::Kernel};
    std::vector<PHANDLER_ROUTINE> m_handlers MK_GUARDED_BY(m_lock);
    bool m_listening MK_GUARDED_BY(m_lock) = false;
};

REFERENCE_TIME ToReferenceTime(const timeval& time) {
    return REFERENCE_TIME{time.tv_sec} * 10'000'000 + REFERENCE_TIME{time.tv_usec} * 10;
}

}  // namespace

bool IsTerminal(StandardStream stream) noexcept { return isatty(static_cast<int>(stream)) == 1; }

int TerminalWidth(StandardStream stream, int fallback) noexcept {
    winsize size{};
    if (ioctl(static_cast<int>(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return fallback;
    return size.ws_col;
}

BOOL SetConsoleCtrlHandler(PHANDLER_ROUTINE handler, BOOL add) noexcept {
    DWORD error = ERROR_INVALID_PARAMETER;
    if (handler != nullptr) {
        try {
            error = add ? ControlHandlers::Instance().Add(handler) : ControlHandlers::Instance().Remove(handler);
        } catch (const std::bad_alloc&) {
            error = ERROR_NOT_ENOUGH_MEMORY;
        }
    }
    if (error == NO_ERROR) return TRUE;
    SetLastError(error);
    return FALSE;
}

ProcessUsage QueryProcessUsage() noexcept {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    // The system counts memory in KiB here.
    return {ToReferenceTime(usage.ru_utime), ToReferenceTime(usage.ru_stime),
            static_cast<std::uint64_t>(usage.ru_maxrss) * 1024};
}
