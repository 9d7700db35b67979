#include "Platform/Kernel/Wil.h"

#include "Platform/Kernel/LastError.h"

#include <cstdio>
#include <cstdlib>

namespace wil {

ResultException::ResultException(HRESULT hr, const char* what) : m_hr(hr), m_what(what) {}
ResultException::~ResultException() = default;

void FailFastLastError(const char* operation) noexcept {
    std::fprintf(stderr, "%s failed with system error %u\n", operation, ::GetLastError());
    std::abort();
}

void ThrowLastError(const char* operation) {
    const DWORD error = ::GetLastError();
    throw ResultException(HRESULT_FROM_WIN32(error),
                          (std::string(operation) + " failed with system error " + std::to_string(error)).c_str());
}

void unique_event::create(EventOptions options) {
    const auto has = [options](EventOptions option) {
        return (static_cast<int>(options) & static_cast<int>(option)) != 0;
    };
    const HANDLE handle = ::CreateEventExW(nullptr, nullptr,
                                           (has(EventOptions::ManualReset) ? CREATE_EVENT_MANUAL_RESET : 0) |
                                               (has(EventOptions::Signaled) ? CREATE_EVENT_INITIAL_SET : 0),
                                           EVENT_ALL_ACCESS);
    if (handle == nullptr) ThrowLastError("CreateEventExW");
    reset(handle);
}

bool unique_event::wait(DWORD milliseconds) const noexcept {
    const DWORD result = ::WaitForSingleObject(get(), milliseconds);
    if (result == WAIT_FAILED) FailFastLastError("WaitForSingleObject");
    return result == WAIT_OBJECT_0;
}

}  // namespace wil
