// Owners of handles and modules. Making an event throws when it fails; a failure to signal, reset
// or close one is a fault of the program and ends the process.
#pragma once

#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/Memory.h"
#include "Platform/Kernel/Module.h"

#include <exception>
#include <memory>
#include <string>
#include <utility>

namespace wil {

/// A failed system call as an exception.
class PLATFORM_KERNEL_API ResultException : public std::exception {
public:
    ResultException(HRESULT hr, const char* what);
    ~ResultException() override;

    HRESULT GetErrorCode() const noexcept { return m_hr; }
    const char* what() const noexcept override { return m_what.c_str(); }

private:
    HRESULT m_hr;
    std::string m_what;
};

/// Ends the process with the operation and the last error on standard error.
[[noreturn]] PLATFORM_KERNEL_API void FailFastLastError(const char* operation) noexcept;

/// Throws ResultException with the last error as its result.
[[noreturn]] PLATFORM_KERNEL_API void ThrowLastError(const char* operation);

/// Owns one value of a type whose empty value is null and closes it with `Close`.
template <class T, auto Close>
class unique_any {
public:
    unique_any() noexcept = default;
    explicit unique_any(T value) noexcept : m_value(value) {}
    unique_any(unique_any&& other) noexcept : m_value(other.release()) {}
    unique_any& operator=(unique_any&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    ~unique_any() { reset(); }

    T get() const noexcept { return m_value; }
    explicit operator bool() const noexcept { return m_value != nullptr; }
    [[nodiscard]] T release() noexcept { return std::exchange(m_value, nullptr); }
    void reset(T value = nullptr) noexcept {
        T old = std::exchange(m_value, value);
        if (old != nullptr) Close(old);
    }

private:
    T m_value = nullptr;
};

namespace details {
inline void close_handle(HANDLE handle) noexcept {
    if (!::CloseHandle(handle)) FailFastLastError("CloseHandle");
}
inline void free_library(HMODULE module) noexcept {
    if (!::FreeLibrary(module)) FailFastLastError("FreeLibrary");
}
struct cotaskmem_deleter {
    void operator()(void* block) const noexcept { ::CoTaskMemFree(block); }
};
}  // namespace details

using unique_handle = unique_any<HANDLE, details::close_handle>;
using unique_hmodule = unique_any<HMODULE, details::free_library>;
template <class T>
using unique_cotaskmem_ptr = std::unique_ptr<T, details::cotaskmem_deleter>;

enum class EventOptions { None = 0, ManualReset = 1, Signaled = 2 };
constexpr EventOptions operator|(EventOptions a, EventOptions b) {
    return static_cast<EventOptions>(static_cast<int>(a) | static_cast<int>(b));
}

/// Owns an event.
class PLATFORM_KERNEL_API unique_event : public unique_handle {
public:
    unique_event() noexcept = default;  ///< owns nothing; `create` makes the event
    explicit unique_event(HANDLE handle) noexcept : unique_handle(handle) {}
    explicit unique_event(EventOptions options) { create(options); }

    /// Replaces the owned event by a new one; throws ResultException.
    void create(EventOptions options = EventOptions::None);
    void SetEvent() const noexcept {
        if (!::SetEvent(get())) FailFastLastError("SetEvent");
    }
    void ResetEvent() const noexcept {
        if (!::ResetEvent(get())) FailFastLastError("ResetEvent");
    }
    bool is_signaled() const noexcept { return wait(0); }
    /// True when signalled within the time-out; a wait that fails ends the process.
    bool wait(DWORD milliseconds = INFINITE) const noexcept;
};

}  // namespace wil
