#include "Platform/Kernel/Event.h"

#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/Wil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using wil::EventOptions;
using wil::unique_event;

/// Made at once, unlike its base.
struct Event : unique_event {
    explicit Event(EventOptions options = EventOptions::None) : unique_event(options) {}
};

constexpr DWORD kLong = 10'000;  // a wait that a test expects to end by a signal

DWORD WaitAny(std::vector<HANDLE> handles, DWORD milliseconds) {
    return WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), FALSE, milliseconds);
}
DWORD WaitAll(std::vector<HANDLE> handles, DWORD milliseconds) {
    return WaitForMultipleObjects(static_cast<DWORD>(handles.size()), handles.data(), TRUE, milliseconds);
}

/// Runs a wait on a thread of its own and gives it the time to fall asleep.
class SleepingWait {
public:
    template <class Wait>
    explicit SleepingWait(Wait wait)
        : m_thread([this, wait] {
              m_begun = true;
              m_result = wait();
          }) {
        while (!m_begun) std::this_thread::yield();
        std::this_thread::sleep_for(30ms);
    }
    DWORD Result() {
        m_thread.join();
        return m_result;
    }

private:
    std::atomic<bool> m_begun{false};
    DWORD m_result = 12345;
    std::thread m_thread;
};

TEST(EventTest, AutoResetIsTakenByOneWaitAndManualResetStays) {
    Event automatic(EventOptions::Signaled);
    EXPECT_EQ(WaitForSingleObject(automatic.get(), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(automatic.get(), 0), WAIT_TIMEOUT);
    automatic.SetEvent();
    automatic.SetEvent();
    EXPECT_TRUE(automatic.wait(kLong));
    EXPECT_FALSE(automatic.is_signaled()) << "signals do not add up";

    Event manual(EventOptions::ManualReset);
    EXPECT_FALSE(manual.is_signaled());
    manual.SetEvent();
    EXPECT_TRUE(manual.wait(kLong));
    EXPECT_TRUE(manual.is_signaled());
    manual.ResetEvent();
    EXPECT_FALSE(manual.is_signaled());
}

TEST(EventTest, TheFirstSetEventInArrayOrderWinsAndOnlyItIsReset) {
    Event a, b(EventOptions::Signaled), c(EventOptions::Signaled);
    EXPECT_EQ(WaitAny({a.get(), b.get(), c.get()}, kLong), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitAny({a.get(), b.get(), c.get()}, kLong), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(WaitAny({a.get(), b.get(), c.get()}, 0), WAIT_TIMEOUT);
    c.SetEvent();
    EXPECT_EQ(WaitAny({c.get(), a.get(), c.get()}, 0), WAIT_OBJECT_0) << "an event may stand twice";
}

TEST(EventTest, ASleepingWaitLearnsWhichEventWoke) {
    Event a, b;
    SleepingWait waiting([&] { return WaitAny({a.get(), b.get()}, INFINITE); });
    b.SetEvent();
    EXPECT_EQ(waiting.Result(), WAIT_OBJECT_0 + 1);
    EXPECT_FALSE(b.is_signaled());
    a.SetEvent();
    EXPECT_TRUE(a.is_signaled()) << "the wait is off the other event's list";
}

TEST(EventTest, AnAutoResetSignalWakesOneOfManyAndAManualOneAll) {
    Event automatic, manual(EventOptions::ManualReset);
    const auto wait = [&] { return WaitAny({automatic.get(), manual.get()}, kLong); };
    SleepingWait first(wait);
    SleepingWait second(wait);
    SleepingWait third(wait);
    automatic.SetEvent();
    EXPECT_EQ(first.Result(), WAIT_OBJECT_0) << "who waits longest is served first";
    EXPECT_FALSE(automatic.is_signaled());
    manual.SetEvent();
    EXPECT_EQ(second.Result(), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(third.Result(), WAIT_OBJECT_0 + 1);
}

TEST(EventTest, AWaitForAllTakesNothingBeforeItCanTakeEverything) {
    Event a(EventOptions::Signaled), b;
    EXPECT_EQ(WaitAll({a.get(), b.get()}, 20), WAIT_TIMEOUT);
    EXPECT_TRUE(a.is_signaled()) << "and a look takes it";

    SleepingWait waiting([&] { return WaitAll({a.get(), b.get()}, kLong); });
    a.SetEvent();
    std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(a.is_signaled()) << "another may still have it";
    b.SetEvent();
    std::this_thread::sleep_for(20ms);
    EXPECT_TRUE(b.is_signaled());
    b.SetEvent();
    a.SetEvent();
    EXPECT_EQ(waiting.Result(), WAIT_OBJECT_0);
    EXPECT_FALSE(a.is_signaled());
    EXPECT_FALSE(b.is_signaled());
}

TEST(EventTest, TimeOutsTakeAboutTheirTime) {
    Event event;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(WaitForSingleObject(event.get(), 50), WAIT_TIMEOUT);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, 50ms);
    EXPECT_LT(elapsed, 5s);
    event.SetEvent();
    EXPECT_TRUE(event.is_signaled()) << "a wait that timed out takes no later signal";
}

TEST(EventTest, ClosedAndForeignHandlesAreRefused) {
    const HANDLE stale = Event(EventOptions::Signaled).get();
    // The next event is likely to live where the closed one did.
    Event next(EventOptions::Signaled);
    for (const HANDLE handle : {HANDLE{nullptr}, stale, reinterpret_cast<HANDLE>(std::intptr_t{-1}),
                                reinterpret_cast<HANDLE>(std::intptr_t{0x7FFFFFFC})}) {
        for (const auto call : {&SetEvent, &ResetEvent, &CloseHandle}) {
            SetLastError(NO_ERROR);
            EXPECT_FALSE(call(handle));
            EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        }
        SetLastError(NO_ERROR);
        EXPECT_EQ(WaitAny({next.get(), handle}, 0), WAIT_FAILED);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    }
    EXPECT_TRUE(next.is_signaled()) << "a wait that fails takes no signal";
}

TEST(EventTest, ImpossibleWaitsAreRefused) {
    Event event(EventOptions::Signaled);
    const std::vector<HANDLE> most(MAXIMUM_WAIT_OBJECTS, event.get());
    const std::vector<HANDLE> tooMany(MAXIMUM_WAIT_OBJECTS + 1, event.get());
    EXPECT_EQ(WaitAny({}, 0), WAIT_FAILED);
    EXPECT_EQ(WaitAny(tooMany, 0), WAIT_FAILED);
    EXPECT_EQ(WaitAll({event.get(), event.get()}, 0), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WaitAny(most, 0), WAIT_OBJECT_0);
    EXPECT_EQ(CreateEventExW(nullptr, L"named", 0, EVENT_ALL_ACCESS), nullptr);
    EXPECT_EQ(CreateEventExW(nullptr, nullptr, 4, EVENT_ALL_ACCESS), nullptr);
}

TEST(EventTest, ClosingUnderAWaitLeavesItsOtherEventsInForce) {
    Event closed, other;
    SleepingWait waiting([a = closed.get(), b = other.get()] { return WaitAny({a, b}, kLong); });
    SleepingWait timing([a = closed.get()] { return WaitForSingleObject(a, 100); });
    closed.reset();
    // Whoever reuses the closed event's place must not be heard by the old waiters.
    std::vector<Event> fresh(8);
    for (const Event& event : fresh) event.SetEvent();
    other.SetEvent();
    EXPECT_EQ(waiting.Result(), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(timing.Result(), WAIT_TIMEOUT);
    for (const Event& event : fresh) EXPECT_TRUE(event.is_signaled());
}

TEST(EventTest, OwnersThrowOnlyWhenMaking) {
    unique_event event;
    EXPECT_FALSE(event);
    event.create();
    unique_event moved = std::move(event);
    EXPECT_TRUE(moved && !event);
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    try {
        wil::ThrowLastError("CreateEventExW");
    } catch (const wil::ResultException& e) {
        EXPECT_EQ(e.GetErrorCode(), make_result(0x80070008));
        EXPECT_STREQ(e.what(), "CreateEventExW failed with system error 8");
    }
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(event.SetEvent(), "SetEvent failed with system error 6");
    EXPECT_DEATH(event.wait(), "WaitForSingleObject failed with system error 6");
}

/// Auto-reset events as the forks of dining philosophers: who takes a fork may touch its counter, which nothing
/// else guards. Some take both forks at once, some whichever is free, some give up and come again.
TEST(EventStressTest, EveryTakenSignalIsExclusiveAndNoneIsLost) {
    constexpr int kForks = 5;
    constexpr int kThreads = 8;
    constexpr int kMeals = 10000;
    std::vector<Event> forks(kForks);
    for (const Event& fork : forks) fork.SetEvent();
    int used[kForks] = {};
    int expected[kThreads] = {};
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                std::minstd_rand random(static_cast<unsigned>(t) + 1);
                for (int meal = 0; meal < kMeals; ++meal) {
                    const std::size_t left = random() % kForks;
                    const std::size_t right = (left + 1 + random() % (kForks - 1)) % kForks;
                    const std::vector<HANDLE> pair = {forks[left].get(), forks[right].get()};
                    const DWORD patience = random() % 3 == 0 ? INFINITE : random() % 2;
                    const bool both = t % 2 == 0;
                    const DWORD result = both ? WaitAll(pair, patience) : WaitAny(pair, patience);
                    if (result == WAIT_TIMEOUT) continue;
                    ASSERT_LE(result, WAIT_OBJECT_0 + 1);
                    for (const std::size_t fork : {left, right}) {
                        if (!both && fork != (result == WAIT_OBJECT_0 ? left : right)) continue;
                        ++used[fork];
                        ++expected[t];
                        forks[fork].SetEvent();
                    }
                }
            });
        }
    }
    int total = 0;
    for (const int n : expected) total += n;
    int counted = 0;
    for (const int n : used) counted += n;
    EXPECT_EQ(counted, total);
    for (const Event& fork : forks) EXPECT_TRUE(fork.is_signaled());
}

TEST(EventStressTest, HandlesOfEventsThatComeAndGoNeverMix) {
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 3000; ++i) {
                Event mine, gate(EventOptions::ManualReset);
                std::jthread other;
                if (i % 100 == 0)
                    other = std::jthread([&] { mine.SetEvent(); });
                else
                    mine.SetEvent();
                ASSERT_EQ(WaitAny({gate.get(), mine.get()}, kLong), WAIT_OBJECT_0 + 1);
                ASSERT_FALSE(gate.is_signaled());
            }
        });
    }
}

}  // namespace
