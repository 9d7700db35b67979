#include "Platform/Kernel/Time.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>

namespace {

/// `value` with all but its first `digits` digits replaced by zeros; counts the digits down.
std::uint64_t TakeDigits(std::uint64_t value, int& digits) {
    int length = 1;
    for (std::uint64_t v = value; v >= 10; v /= 10) ++length;
    std::uint64_t scale = 1;
    for (int i = digits; i < length; ++i) scale *= 10;
    digits = std::max(0, digits - length);
    return value / scale * scale;
}

}  // namespace

BOOL SystemTimeToVariantTime(const SYSTEMTIME* time, double* date) noexcept {
    using namespace std::chrono;
    const year_month_day day{year(time->wYear), month(time->wMonth), std::chrono::day(time->wDay)};
    if (time->wYear < 100 || time->wYear > 9999 || !day.ok()) return FALSE;
    if (time->wHour > 23 || time->wMinute > 59 || time->wSecond > 59) return FALSE;

    const sys_days epoch = year(1899) / December / 30;
    const auto days = static_cast<double>((sys_days(day) - epoch).count());
    const double fraction = (time->wHour * 3600 + time->wMinute * 60 + time->wSecond) / 86400.0;
    *date = days < 0 ? days - fraction : days + fraction;
    return TRUE;
}

int StrFromTimeIntervalW(wchar_t* text, UINT capacity, DWORD milliseconds, int digits) noexcept {
    const std::uint64_t seconds = (std::uint64_t{milliseconds} + 500) / 1000;
    const struct {
        std::uint64_t value;
        const wchar_t* unit;
    } parts[] = {{seconds / 3600, L" hr"}, {seconds / 60 % 60, L" min"}, {seconds % 60, L" sec"}};

    std::wstring spelled;
    bool begun = false;
    for (const auto& part : parts) {
        const bool last = &part == &parts[2];
        if (part.value == 0 && !(last && !begun)) continue;
        if (digits <= 0 && begun) break;
        begun = true;
        const std::uint64_t shown = TakeDigits(part.value, digits);
        if (shown == 0 && !spelled.empty()) continue;
        spelled += L" " + std::to_wstring(shown) + part.unit;
    }
    if (capacity == 0) return 0;
    const std::size_t length = spelled.copy(text, capacity - 1);
    text[length] = L'\0';
    return static_cast<int>(length);
}
