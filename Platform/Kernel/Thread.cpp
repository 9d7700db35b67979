#include "Platform/Kernel/Thread.h"

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/LastError.h"

#include <chrono>
#include <exception>
#include <string>
#include <system_error>
#include <utility>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

/// The system takes 15 bytes and refuses more.
constexpr std::size_t kNameBytes = 15;

void NameThisThread(const std::string& name) {
    if (!name.empty()) pthread_setname_np(pthread_self(), name.substr(0, kNameBytes).c_str());
}

}  // namespace

DWORD GetCurrentThreadId() noexcept {
    // Of constant initialisation, so that reading it is one access: locks ask for it all the time.
    thread_local DWORD id = 0;
    if (id == 0) id = static_cast<DWORD>(syscall(SYS_gettid));
    return id;
}

void Sleep(DWORD milliseconds) noexcept {
    AssertMayWait("Sleep");
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool Thread::Start(std::function<void()> body, const char* name) noexcept {
    if (m_thread.joinable()) {
        SetLastError(ERROR_BUSY);
        return false;
    }
    try {
        m_thread = std::thread([run = std::move(body), text = std::string(name)] {
            NameThisThread(text);
            run();
        });
        return true;
    } catch (const std::system_error& e) {
        SetLastErrorFromErrno(e.code().value());
    } catch (const std::exception&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return false;
}

void Thread::Join() noexcept {
    if (!m_thread.joinable()) return;
    AssertMayWait("Thread::Join");
    m_thread.join();
}
