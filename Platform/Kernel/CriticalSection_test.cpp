#include "Platform/Kernel/CriticalSection.h"

#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/Thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

/// clang's analysis knows no recursion and no order by rank, which these tests are about.
struct Unanalysed {
    explicit Unanalysed(CCritSec& l) MK_NO_THREAD_SAFETY_ANALYSIS : lock(l) { lock.Lock(); }
    ~Unanalysed() MK_NO_THREAD_SAFETY_ANALYSIS { lock.Unlock(); }
    CCritSec& lock;
};

bool CanTakeOnAnotherThread(CCritSec& lock) MK_NO_THREAD_SAFETY_ANALYSIS {
    bool taken = false;
    std::thread([&]() MK_NO_THREAD_SAFETY_ANALYSIS {
        taken = lock.TryLock();
        if (taken) lock.Unlock();
    }).join();
    return taken;
}

TEST(CriticalSectionTest, IsFreeAfterAsManyUnlocksAsLocks) {
    CCritSec lock;
    {
        Unanalysed outer(lock);
        {
            Unanalysed inner(lock);
            EXPECT_FALSE(CanTakeOnAnotherThread(lock));
        }
        EXPECT_FALSE(CanTakeOnAnotherThread(lock));
    }
    EXPECT_TRUE(CanTakeOnAnotherThread(lock));
}

TEST(CriticalSectionTest, KeepsThreadsApart) {
    CCritSec lock;
    int count = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] {
                for (int n = 0; n < 10000; ++n) {
                    CAutoLock hold(&lock);
                    ++count;
                }
            });
    }
    EXPECT_EQ(count, 40000);
}

TEST(CriticalSectionTest, ManyContendersThatTakeItTryItAndTakeItAgain) {
    constexpr int kThreads = 16;
    constexpr int kRounds = 2000;
    CCritSec lock;
    int count = 0;
    std::atomic<int> missed{0};
    const auto contend = [&](int thread) MK_NO_THREAD_SAFETY_ANALYSIS {
        for (int n = 0; n < kRounds; ++n) {
            if ((n + thread) % 3 != 0) {
                lock.Lock();
            } else if (!lock.TryLock()) {
                ++missed;
                continue;
            }
            const int before = count;
            EXPECT_TRUE(lock.TryLock()) << "its own";
            Unanalysed again(lock);
            lock.Unlock();
            count = before + 1;
            lock.Unlock();
        }
    };
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) threads.emplace_back(contend, i);
    }
    EXPECT_EQ(count + missed, kThreads * kRounds);
    EXPECT_TRUE(CanTakeOnAnotherThread(lock));
}

class LockChecksTest : public testing::Test {
protected:
    void SetUp() override {
        if (!LockChecksEnabled()) GTEST_SKIP() << "this kernel was built without checks";
        testing::FLAGS_gtest_death_test_style = "threadsafe";
    }

    CCritSec m_filter{"filter", LockRank::Filter};
    CCritSec m_nextFilter{"next filter", LockRank::Filter};
    CCritSec m_low{"low", 310};
    CCritSec m_high{"high", 320};
    CCritSec m_equal{"equal", 320};
    CCritSec m_free{"unranked"};
};

TEST_F(LockChecksTest, AllowsAscendingRanksFiltersRecursionAndUnrankedLocks) {
    Unanalysed filter(m_filter);
    Unanalysed nextFilter(m_nextFilter);
    Unanalysed second(m_high);
    Unanalysed again(m_filter);
    Unanalysed free(m_free);
}

TEST_F(LockChecksTest, AbortsUnlessRankRises) {
    const auto take = [](CCritSec& first, CCritSec& second) {
        Unanalysed outer(first);
        Unanalysed inner(second);
    };
    EXPECT_DEATH(take(m_high, m_low), "taking \"low\" \\(rank 310\\) after \"high\" \\(rank 320\\)");
    EXPECT_DEATH(take(m_high, m_equal), "taking \"equal\" \\(rank 320\\) after \"high\" \\(rank 320\\)");
}

TEST_F(LockChecksTest, ForgetsALockThatWasGivenBackOutOfOrder) {
    const auto outOfOrder = [this]() MK_NO_THREAD_SAFETY_ANALYSIS {
        m_low.Lock();
        m_high.Lock();
        m_low.Unlock();
        m_high.Unlock();
        m_low.Lock();
        m_low.Unlock();
    };
    outOfOrder();
}

TEST_F(LockChecksTest, EndsTheProcessOnAnUnlockWithoutALock) {
    const auto unlock = [this]() MK_NO_THREAD_SAFETY_ANALYSIS { m_low.Unlock(); };
    EXPECT_DEATH(unlock(), "Unlocking \"low\"");
}

TEST_F(LockChecksTest, EndsTheProcessOnAnyWaitWithALockHeld) {
    Unanalysed hold(m_free);
    CAMEvent event;
    EXPECT_DEATH(event.Wait(1), "Waiting for events with a lock held\n  held: \"unranked\"");
    EXPECT_DEATH(Sleep(1), "Sleep with a lock held");
    EXPECT_FALSE(event.Check()) << "looking is no wait";
}

TEST_F(LockChecksTest, ExemptsTheScopeThatSaysWhy) {
    Unanalysed hold(m_low);
    CAMEvent event;
    {
        AllowWaitWithLocks outer("the signalling thread takes no lock");
        { AllowWaitWithLocks inner("nested"); }
        EXPECT_FALSE(event.Wait(1));
    }
    EXPECT_DEATH(event.Wait(1), "with a lock held");
}

}  // namespace
