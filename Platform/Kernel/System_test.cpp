// Pages, clocks, dates, modules, threads and error numbers.
#include "Platform/Kernel/Clock.h"
#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Memory.h"
#include "Platform/Kernel/Module.h"
#include "Platform/Kernel/Thread.h"
#include "Platform/Kernel/Time.h"

#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t kPage = 4096;

DWORD FreeError(void* address, std::size_t size, DWORD type) {
    return VirtualFree(address, size, type) ? NO_ERROR : GetLastError();
}

TEST(MemoryTest, CommittedPagesAreAlignedZeroedAndReleasedAsAWhole) {
    auto* block = static_cast<unsigned char*>(VirtualAlloc(nullptr, 3 * kPage + 1, MEM_COMMIT, PAGE_READWRITE));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::bit_cast<std::uintptr_t>(block) % kPage, 0u);
    for (std::size_t i = 0; i < 4 * kPage; ++i) ASSERT_EQ(block[i], 0) << i;
    std::memset(block, 0xA5, 4 * kPage);
    EXPECT_EQ(FreeError(block, kPage, MEM_RELEASE), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(FreeError(block + kPage, 0, MEM_RELEASE), ERROR_INVALID_ADDRESS);
    EXPECT_EQ(FreeError(block, 0, MEM_RELEASE), NO_ERROR);
    EXPECT_EQ(FreeError(block, 0, MEM_RELEASE), ERROR_INVALID_ADDRESS) << "once";
}

TEST(MemoryTest, ReservedPagesAreCommittedAndDecommittedInPlace) {
    auto* block = static_cast<unsigned char*>(VirtualAlloc(nullptr, 16 * kPage, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_NE(block, nullptr);
    ASSERT_EQ(VirtualAlloc(block + kPage + 10, kPage, MEM_COMMIT, PAGE_READWRITE), block + kPage);
    std::memset(block + kPage, 1, 2 * kPage);  // the range touches two pages
    EXPECT_EQ(VirtualAlloc(block + 15 * kPage, 2 * kPage, MEM_COMMIT, PAGE_READWRITE), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_ADDRESS);
    EXPECT_EQ(FreeError(block + kPage, kPage, MEM_DECOMMIT), NO_ERROR);
    ASSERT_EQ(VirtualAlloc(block + kPage, kPage, MEM_COMMIT, PAGE_READWRITE), block + kPage);
    EXPECT_EQ(block[kPage], 0) << "decommitting drops the contents";
    EXPECT_EQ(block[2 * kPage], 1) << "of its own pages only";
    EXPECT_EQ(FreeError(block, 0, MEM_RELEASE), NO_ERROR);
}

TEST(MemoryTest, WhatTheSystemDoesNotHaveFailsWithAnError) {
    for (const std::size_t size : {SIZE_MAX, SIZE_MAX / 2, std::size_t{1} << 47}) {
        SetLastError(NO_ERROR);
        EXPECT_EQ(VirtualAlloc(nullptr, size, MEM_COMMIT, PAGE_READWRITE), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
    }
    EXPECT_EQ(VirtualAlloc(nullptr, 0, MEM_COMMIT, PAGE_READWRITE), nullptr);
    EXPECT_EQ(VirtualAlloc(nullptr, kPage, MEM_COMMIT, 0x1234), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(ClockTest, CountsUnitsOf100Nanoseconds) {
    LARGE_INTEGER before, after, frequency;
    QueryPerformanceFrequency(&frequency);
    EXPECT_EQ(frequency.QuadPart, 10'000'000);
    QueryPerformanceCounter(&before);
    const auto start = std::chrono::steady_clock::now();
    Sleep(20);
    const auto slept = std::chrono::steady_clock::now() - start;
    QueryPerformanceCounter(&after);
    EXPECT_GE(after.QuadPart - before.QuadPart, 200'000);
    EXPECT_NEAR(static_cast<double>(after.QuadPart - before.QuadPart),
                static_cast<double>(std::chrono::nanoseconds(slept).count()) / 100, 5'000'000);

    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    const auto days = FileTimeToUInt64(now) / 10'000'000 / 86400;
    EXPECT_GT(days, 154'498u);  // 2024-01-01
    EXPECT_LT(days, 190'000u);
}

TEST(TimeTest, DatesCountFromTheEndOf1899) {
    const auto date = [](WORD year, WORD month, WORD day, WORD hour = 0, WORD minute = 0, WORD second = 0) {
        const SYSTEMTIME time{year, month, 0, day, hour, minute, second, 999};
        double result = 4711;
        return SystemTimeToVariantTime(&time, &result) ? result : -1e9;
    };
    EXPECT_EQ(date(1899, 12, 30), 0.0);
    EXPECT_EQ(date(1904, 1, 1), 1462.0);
    EXPECT_EQ(date(2000, 2, 29, 18), 36585.75);
    EXPECT_EQ(date(1899, 12, 29, 6), -1.25) << "before the epoch the time of day counts away from zero";
    EXPECT_EQ(date(100, 1, 1), -657434.0);
    EXPECT_DOUBLE_EQ(date(9999, 12, 31, 23, 59, 59), 2958465.0 + 86399 / 86400.0);
    for (const double bad : {date(99, 12, 31), date(10000, 1, 1), date(2001, 2, 29), date(2001, 13, 1),
                             date(2001, 0, 1), date(2001, 1, 0), date(2001, 1, 1, 24), date(2001, 1, 1, 0, 60)})
        EXPECT_EQ(bad, -1e9);
}

TEST(TimeTest, SpellsDurationsToTheDigitsAskedFor) {
    const struct {
        DWORD milliseconds;
        int digits;
        const wchar_t* text;
    } cases[] = {
        {34000, 3, L" 34 sec"},
        {34000, 2, L" 34 sec"},
        {34000, 1, L" 30 sec"},
        {74000, 3, L" 1 min 14 sec"},
        {74000, 2, L" 1 min 10 sec"},
        {74000, 1, L" 1 min"},
        {0, 30, L" 0 sec"},
        {499, 30, L" 0 sec"},
        {500, 30, L" 1 sec"},
        {3600000, 30, L" 1 hr"},
        {3723000, 30, L" 1 hr 2 min 3 sec"},
        {3605000, 30, L" 1 hr 5 sec"},
        {0xFFFFFFFF, 30, L" 1193 hr 2 min 47 sec"},
    };
    for (const auto& c : cases) {
        wchar_t text[30];
        EXPECT_EQ(StrFromTimeIntervalW(text, 30, c.milliseconds, c.digits), static_cast<int>(std::wcslen(c.text)));
        EXPECT_STREQ(text, c.text);
    }
    wchar_t small[5];
    EXPECT_EQ(StrFromTimeIntervalW(small, 5, 34000, 3), 4);
    EXPECT_STREQ(small, L" 34 ");
}

TEST(ModuleTest, LoadsByNameFindsFunctionsAndReportsWhatIsMissing) {
    const HMODULE math = LoadLibraryW(L"libm.so.6");
    ASSERT_NE(math, nullptr);
    const auto cosine = std::bit_cast<double (*)(double)>(GetProcAddress(math, "cos"));
    ASSERT_NE(cosine, nullptr);
    EXPECT_EQ(cosine(0.0), 1.0);
    EXPECT_EQ(GetProcAddress(math, "CreateNothingAtAll"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    EXPECT_TRUE(FreeLibrary(math));

    const HMODULE translated = LoadLibraryW(L"resolv.dll");  // libresolv.so comes with the C library's headers
    EXPECT_NE(translated, nullptr);
    EXPECT_TRUE(FreeLibrary(translated));

    for (const wchar_t* name : {L"nowhere.dll", L"", L"/nowhere/at/all.dll"}) {
        SetLastError(NO_ERROR);
        EXPECT_EQ(LoadLibraryW(name), nullptr);
        EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
    }
    EXPECT_FALSE(FreeLibrary(nullptr));
}

TEST(ThreadTest, RunsJoinsAndHasAnIdOfItsOwn) {
    DWORD id = 0;
    Thread thread;
    EXPECT_TRUE(thread.Start([&] { id = GetCurrentThreadId(); }, "a name that is long"));
    EXPECT_FALSE(thread.Start([] {})) << "one at a time";
    thread.Join();
    EXPECT_NE(id, 0u);
    EXPECT_NE(id, GetCurrentThreadId());
    EXPECT_EQ(GetCurrentThreadId(), GetCurrentThreadId());
    bool again = false;
    EXPECT_TRUE(thread.Start([&] { again = true; }));
    thread.Join();
    EXPECT_TRUE(again);
}

TEST(LastErrorTest, IsEachThreadsOwnAndTranslatesTheSystemsNumbers) {
    SetLastError(5);
    Thread other;
    DWORD seen = 99;
    other.Start([&] {
        seen = GetLastError();
        SetLastError(7);
    });
    other.Join();
    EXPECT_EQ(seen, NO_ERROR);
    EXPECT_EQ(GetLastError(), 5u);

    EXPECT_EQ(ErrorFromErrno(ENOENT), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ErrorFromErrno(ENOSPC), ERROR_DISK_FULL);
    EXPECT_EQ(ErrorFromErrno(EACCES), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorFromErrno(EXDEV), ERROR_GEN_FAILURE);
    EXPECT_EQ(SetLastErrorFromErrno(ENOTDIR), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
}

}  // namespace
