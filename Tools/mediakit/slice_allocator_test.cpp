#include "Tools/mediakit/slice_allocator.h"

#include "Platform/Com/ComPtr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <thread>

namespace mediakit_tool {
namespace {

constexpr REFERENCE_TIME kMillisecond = 10'000;

class SliceAllocatorTest : public testing::Test {
protected:
    void SetUp() override { m_allocator->Commit(); }
    void TearDown() override { m_held.clear(); }

    /// Fills a sample without waiting; false when the allocator is full.
    bool Add(REFERENCE_TIME start, std::size_t size) {
        ComPtr<IMediaSample> sample;
        const HRESULT hr = m_allocator->GetBuffer(sample.put(), nullptr, nullptr, AM_GBF_NOWAIT);
        if (hr == VFW_E_TIMEOUT) return false;
        EXPECT_EQ(hr, S_OK);
        Unit unit;
        unit.slice = {m_pool->Get(size), nullptr, size};
        unit.slice.data = unit.slice.block->Data();
        unit.start = start;
        unit.stop = start + kMillisecond;
        unit.sync = true;
        EXPECT_EQ(m_allocator->Fill(sample.get(), unit), S_OK);
        m_held.push_back(sample);
        return true;
    }

    const SliceAllocator::Limits m_limits{8, 1000, 100 * kMillisecond};
    const std::shared_ptr<BlockPool> m_pool = BlockPool::Create(64, 100);
    ComPtr<SliceAllocator> m_allocator{new SliceAllocator(m_limits)};
    std::deque<ComPtr<IMediaSample>> m_held;
};

TEST_F(SliceAllocatorTest, SamplesShowTheirUnit) {
    ASSERT_TRUE(Add(50 * kMillisecond, 40));
    IMediaSample& sample = *m_held.front();
    REFERENCE_TIME start = 0, stop = 0;
    EXPECT_EQ(sample.GetTime(&start, &stop), S_OK);
    EXPECT_EQ(start, 50 * kMillisecond);
    EXPECT_EQ(stop, 51 * kMillisecond);
    EXPECT_EQ(sample.GetActualDataLength(), 40);
    EXPECT_EQ(sample.IsSyncPoint(), S_OK);
}

TEST_F(SliceAllocatorTest, HoldsBackByCountOnceThereIsTime) {
    for (int i = 0; i < 8; ++i) ASSERT_TRUE(Add(i * 10 * kMillisecond, 1));
    // Eight are out, but they span 70 ms only: more may come until the span is there.
    for (int i = 8; i <= 10; ++i) ASSERT_TRUE(Add(i * 10 * kMillisecond, 1)) << i;
    EXPECT_FALSE(Add(110 * kMillisecond, 1));
}

TEST_F(SliceAllocatorTest, HoldsBackByBytesOnceThereIsTime) {
    ASSERT_TRUE(Add(0, 5000));
    ASSERT_TRUE(Add(99 * kMillisecond, 5000));
    ASSERT_TRUE(Add(100 * kMillisecond, 1));
    EXPECT_FALSE(Add(101 * kMillisecond, 1));
    m_held.clear();
    EXPECT_TRUE(Add(102 * kMillisecond, 1));
}

TEST_F(SliceAllocatorTest, AWaitingSourceGoesOnAtHalfTheLimit) {
    for (int i = 0; i < 8; ++i) ASSERT_TRUE(Add(i * 100 * kMillisecond, 1));
    std::atomic<bool> through{false};
    std::thread source([&] {
        ComPtr<IMediaSample> sample;
        EXPECT_EQ(m_allocator->GetBuffer(sample.put(), nullptr, nullptr, 0), S_OK);
        through = true;
    });
    for (int i = 0; i < 3; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        m_held.pop_front();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(through);  // five are out
    m_held.pop_front();
    source.join();
    EXPECT_TRUE(through);
}

TEST_F(SliceAllocatorTest, DecommitWakesAWaitingSource) {
    for (int i = 0; i < 8; ++i) ASSERT_TRUE(Add(i * 100 * kMillisecond, 1));
    std::thread source([&] {
        ComPtr<IMediaSample> sample;
        EXPECT_EQ(m_allocator->GetBuffer(sample.put(), nullptr, nullptr, 0), VFW_E_NOT_COMMITTED);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    m_allocator->Decommit();
    source.join();
}

TEST_F(SliceAllocatorTest, TheLastSampleGivesTheBlockBack) {
    const BlockRef block = m_pool->Get(64);
    ComPtr<IMediaSample> samples[2];
    for (ComPtr<IMediaSample>& sample : samples) {
        ASSERT_EQ(m_allocator->GetBuffer(sample.put(), nullptr, nullptr, 0), S_OK);
        Unit unit;
        unit.slice = {block, nullptr, 10};
        m_allocator->Fill(sample.get(), unit);
    }
    samples[0].reset();
    EXPECT_FALSE(block.Alone());
    samples[1].reset();
    EXPECT_TRUE(block.Alone());
}

TEST_F(SliceAllocatorTest, SamplesGoRoundBetweenTwoThreads) {
    constexpr int kSamples = 20'000;
    std::atomic<IMediaSample*> slots[4] = {};
    std::thread downstream([&] {
        for (int i = 0; i < kSamples; ++i) {
            IMediaSample* sample = nullptr;
            while ((sample = slots[i % 4].exchange(nullptr)) == nullptr) std::this_thread::yield();
            REFERENCE_TIME start = 0, stop = 0;
            sample->GetTime(&start, &stop);
            EXPECT_EQ(start, i * 100 * kMillisecond);
            sample->Release();
        }
    });
    for (int i = 0; i < kSamples; ++i) {
        IMediaSample* sample = nullptr;
        ASSERT_EQ(m_allocator->GetBuffer(&sample, nullptr, nullptr, 0), S_OK);
        Unit unit;
        unit.slice = {m_pool->Get(1), nullptr, 1};
        unit.start = i * 100 * kMillisecond;
        unit.stop = unit.start + 1;
        m_allocator->Fill(sample, unit);
        while (slots[i % 4].load() != nullptr) std::this_thread::yield();
        slots[i % 4] = sample;
    }
    downstream.join();
}

// A multiplexer that holds all samples until the track is so far ahead always gets there: the limits of
// a source never stop it before.
TEST_F(SliceAllocatorTest, NeverLocksUpBelowItsSpan) {
    const std::shared_ptr<BlockPool> pool = BlockPool::Create(1 << 16, 4);
    for (const std::size_t size : {std::size_t{1}, std::size_t{100'000}}) {
        for (const REFERENCE_TIME step : {kMillisecond / 10, 40 * kMillisecond}) {
            ComPtr<SliceAllocator> allocator(new SliceAllocator(m_limits));
            allocator->Commit();
            m_allocator = allocator;
            m_held.clear();
            REFERENCE_TIME start = 0;
            while (Add(start, size)) start += step;
            EXPECT_GE(start - step, m_limits.span);
            m_held.clear();
        }
    }
}

}  // namespace
}  // namespace mediakit_tool
