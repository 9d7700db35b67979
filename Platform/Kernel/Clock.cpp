#include "Platform/Kernel/Clock.h"

#include <chrono>
#include <ratio>

namespace {

using Ticks = std::chrono::duration<LONGLONG, std::ratio<1, 10'000'000>>;

/// From 1601-01-01 to 1970-01-01 in units of 100 ns.
constexpr LONGLONG kUnixEpoch = 116'444'736'000'000'000;

}  // namespace

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) noexcept {
    count->QuadPart = std::chrono::duration_cast<Ticks>(std::chrono::steady_clock::now().time_since_epoch()).count();
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) noexcept {
    frequency->QuadPart = Ticks::period::den;
    return TRUE;
}

void GetSystemTimeAsFileTime(FILETIME* time) noexcept {
    const auto sinceUnixEpoch = std::chrono::system_clock::now().time_since_epoch();
    const LONGLONG value = std::chrono::duration_cast<Ticks>(sinceUnixEpoch).count() + kUnixEpoch;
    *time = FileTimeFromUInt64(static_cast<std::uint64_t>(value));
}
