#include "Platform/DirectShow/CAMThread.h"

#include "Platform/Com/Results.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>

namespace {

constexpr DWORD kExit = 99;

class Worker : public CAMThread {
public:
    explicit Worker(std::function<void(Worker&)> body) : m_body(std::move(body)) {}
    ~Worker() override { Close(); }
    using CAMThread::m_EventSend;
    DWORD ThreadProc() override {
        m_body(*this);
        return 0;
    }

private:
    const std::function<void(Worker&)> m_body;
};

void AnswerTwiceTheRequest(Worker& worker) {
    for (;;) {
        const DWORD request = worker.GetRequest();
        worker.Reply(2 * request);
        if (request == kExit) return;
    }
}

}  // namespace

TEST(AMThread, AnswersEachRequest) {
    Worker worker(AnswerTwiceTheRequest);
    EXPECT_EQ(worker.CallWorker(1), static_cast<DWORD>(E_FAIL)) << "there is no thread yet";
    ASSERT_TRUE(worker.Create());
    EXPECT_FALSE(worker.Create());
    for (DWORD i = 0; i < 50; ++i) EXPECT_EQ(worker.CallWorker(i), 2 * i);
    EXPECT_EQ(worker.CallWorker(kExit), 2 * kExit);
    worker.Close();
    EXPECT_FALSE(worker.ThreadExists());

    ASSERT_TRUE(worker.Create()) << "a new thread after the old one";
    EXPECT_EQ(worker.CallWorker(3), 6u);
    worker.CallWorker(kExit);
}

TEST(AMThread, ARequestThatWasOnlyLookedAtComesAgain) {
    std::atomic<DWORD> seen{0};
    Worker worker([&](Worker& self) {
        DWORD request = 0;
        while (!self.CheckRequest(&request)) Sleep(1);
        seen = request;
        AnswerTwiceTheRequest(self);
    });
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(7), 14u);
    EXPECT_EQ(seen, 7u);
    worker.CallWorker(kExit);
}

/// Answered before the caller has set its event, a request would leave the event set for nobody.
TEST(AMThread, ARequestCountsOnceItsEventIsSet) {
    std::atomic<bool> early{false};
    std::atomic<bool> later{false};
    Worker worker([&](Worker& self) {
        self.GetRequest();
        self.m_EventSend.Reset();  // as a caller has it who was interrupted in front of that
        early = self.CheckRequest(nullptr);
        self.m_EventSend.Set();
        later = self.CheckRequest(nullptr);
        AnswerTwiceTheRequest(self);
    });
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(3), 6u);
    EXPECT_FALSE(early);
    EXPECT_TRUE(later);
    EXPECT_EQ(WaitForSingleObject(worker.GetRequestHandle(), 0), WAIT_TIMEOUT);
    worker.CallWorker(kExit);
}

TEST(AMThread, AWorkerThatEndsLeavesNobodyWaiting) {
    Worker worker([](Worker& self) { self.GetRequest(); });
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(1), static_cast<DWORD>(E_FAIL));
    EXPECT_EQ(worker.CallWorker(1), static_cast<DWORD>(E_FAIL));
}

TEST(AMThread, CallsComeFromUnderTheOwnersLock) {
    Worker worker(AnswerTwiceTheRequest);
    CCritSec state("state", LockRank::Filter);
    CAutoLock lock(&state);
    ASSERT_TRUE(worker.Create());
    EXPECT_EQ(worker.CallWorker(4), 8u);
    worker.CallWorker(kExit);
    worker.Close();
}
