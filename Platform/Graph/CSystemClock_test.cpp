#include "Platform/Graph/CSystemClock.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/Kernel/Wil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

constexpr REFERENCE_TIME kMillisecond = 10'000;
constexpr DWORD kLong = 10'000;

HEVENT ToNumber(const wil::unique_event& event) { return reinterpret_cast<HEVENT>(event.get()); }

class SystemClockTest : public testing::Test {
protected:
    REFERENCE_TIME Now() {
        REFERENCE_TIME now = 0;
        m_clock->GetTime(&now);
        return now;
    }
    void ExpectIdle() {
        for (int i = 0; i < 1000 && m_clock->IsThreadRunning(); ++i) std::this_thread::sleep_for(1ms);
        EXPECT_FALSE(m_clock->IsThreadRunning()) << "an idle clock costs no thread";
    }

    ComPtr<CSystemClock> m_clock{new CSystemClock};
    wil::unique_event m_event{wil::EventOptions::None};
    wil::unique_event m_other{wil::EventOptions::None};
    DWORD_PTR m_cookie = 0;
};

TEST_F(SystemClockTest, GoesForwardInUnitsOf100Nanoseconds) {
    const REFERENCE_TIME first = Now();
    std::this_thread::sleep_for(20ms);
    const REFERENCE_TIME second = Now();
    EXPECT_GE(second - first, 20 * kMillisecond);
    EXPECT_LT(second - first, 5000 * kMillisecond);
    EXPECT_EQ(m_clock->GetTime(nullptr), E_POINTER);
    EXPECT_FALSE(m_clock->IsThreadRunning());
}

TEST_F(SystemClockTest, SignalsAnAdviceOnceWhenItsTimeHasCome) {
    const REFERENCE_TIME base = Now();
    DWORD_PTR later = 0;
    ASSERT_EQ(m_clock->AdviseTime(base, 10'000'000 * kMillisecond, ToNumber(m_other), &later), S_OK);
    ASSERT_EQ(m_clock->AdviseTime(base, 30 * kMillisecond, ToNumber(m_event), &m_cookie), S_OK);
    EXPECT_NE(m_cookie, later);
    ASSERT_TRUE(m_event.wait(kLong)) << "the nearer one, although it came second";
    EXPECT_GE(Now(), base + 30 * kMillisecond);
    EXPECT_FALSE(m_event.wait(50));
    EXPECT_EQ(m_clock->Unadvise(m_cookie), S_FALSE);
    EXPECT_FALSE(m_other.is_signaled());
    EXPECT_TRUE(m_clock->IsThreadRunning());
    EXPECT_EQ(m_clock->Unadvise(later), S_OK);
    ExpectIdle();
    // A thread that ended comes back when it is needed; what is past is due at once.
    ASSERT_EQ(m_clock->AdviseTime(base, 0, ToNumber(m_event), &m_cookie), S_OK);
    EXPECT_TRUE(m_event.wait(kLong));
    ExpectIdle();
}

TEST_F(SystemClockTest, PeriodicAdvicesComeUntilTheyAreTakenBack) {
    const REFERENCE_TIME start = Now() + 10 * kMillisecond;
    ASSERT_EQ(m_clock->AdvisePeriodic(start, 5 * kMillisecond, ToNumber(m_event), &m_cookie), S_OK);
    for (int period = 0; period < 5; ++period) {
        ASSERT_TRUE(m_event.wait(kLong));
        EXPECT_GE(Now(), start + period * 5 * kMillisecond) << "never before its time";
    }
    EXPECT_EQ(m_clock->Unadvise(m_cookie), S_OK);
    m_event.ResetEvent();
    EXPECT_FALSE(m_event.wait(30)) << "nothing comes behind Unadvise";
    ExpectIdle();
}

TEST_F(SystemClockTest, RefusesWhatHasNoSense) {
    EXPECT_EQ(m_clock->AdviseTime(-1, 0, ToNumber(m_event), &m_cookie), E_INVALIDARG);
    EXPECT_EQ(m_clock->AdviseTime(1, INT64_MAX, ToNumber(m_event), &m_cookie), E_INVALIDARG);
    EXPECT_EQ(m_clock->AdviseTime(0, 0, 0, &m_cookie), E_INVALIDARG);
    EXPECT_EQ(m_clock->AdviseTime(0, 0, ToNumber(m_event), nullptr), E_POINTER);
    EXPECT_EQ(m_clock->AdvisePeriodic(0, 0, ToNumber(m_event), &m_cookie), E_INVALIDARG);
    EXPECT_EQ(m_clock->Unadvise(12345), S_FALSE);
    EXPECT_FALSE(m_clock->IsThreadRunning());
}

TEST_F(SystemClockTest, MayBeReleasedWithAdvicesPendingAndALockHeld) {
    m_clock->AdviseTime(Now(), 10'000'000 * kMillisecond, ToNumber(m_event), &m_cookie);
    CCritSec filterLock("a filter's", LockRank::Filter);
    CAutoLock lock(&filterLock);
    m_clock.reset();
    EXPECT_FALSE(m_event.is_signaled());
}

TEST_F(SystemClockTest, ThreadsAdviseAndTakeBackAtOnce) {
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this] {
            wil::unique_event event(wil::EventOptions::None);
            for (int i = 0; i < 200; ++i) {
                DWORD_PTR cookie = 0;
                ASSERT_EQ(m_clock->AdviseTime(Now(), i % 3 * kMillisecond, ToNumber(event), &cookie), S_OK);
                if (i % 2 == 0) {
                    ASSERT_TRUE(event.wait(kLong));
                } else {
                    m_clock->Unadvise(cookie);
                    event.ResetEvent();
                }
            }
        });
    }
    threads.clear();
    ExpectIdle();
}

}  // namespace
