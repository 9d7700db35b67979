#include "Platform/DirectShow/CMemAllocator.h"

#include "Platform/Com/ComPtr.h"
#include "Platform/DirectShow/IMemAllocatorCallbackTemp.h"
#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace {

class Allocator : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(CreateMemoryAllocator(m_allocator.put()), S_OK); }
    void TearDown() override {
        if (m_allocator) m_allocator->Decommit();
    }

    HRESULT Set(LONG count, LONG size, LONG align = 1, LONG prefix = 0) {
        ALLOCATOR_PROPERTIES request{count, size, align, prefix};
        return m_allocator->SetProperties(&request, &m_actual);
    }
    ComPtr<IMediaSample> Get(DWORD flags = AM_GBF_NOWAIT) {
        ComPtr<IMediaSample> sample;
        m_result = m_allocator->GetBuffer(sample.put(), nullptr, nullptr, flags);
        return sample;
    }
    static BYTE* Data(const ComPtr<IMediaSample>& sample) {
        BYTE* data = nullptr;
        sample->GetPointer(&data);
        return data;
    }

    ComPtr<IMemAllocator> m_allocator;
    ALLOCATOR_PROPERTIES m_actual{};
    HRESULT m_result = S_OK;
};

}  // namespace

TEST_F(Allocator, RoundsBufferAndPrefixUpToTheAlignment) {
    ASSERT_EQ(Set(3, 100, 64, 20), S_OK);
    EXPECT_EQ(m_actual.cbBuffer, 108);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    std::vector<ComPtr<IMediaSample>> samples;
    for (int i = 0; i < 3; ++i) {
        samples.push_back(Get());
        ASSERT_TRUE(samples.back());
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(Data(samples.back())) % 64, 0u);
        EXPECT_EQ(samples.back()->GetSize(), 108);
        // All of prefix and buffer is this sample's own: filled here, looked at below.
        std::fill_n(Data(samples.back()) - 20, 128, static_cast<BYTE>(i));
    }
    for (int i = 0; i < 3; ++i) {
        for (int k = -20; k < 108; ++k) ASSERT_EQ(Data(samples[static_cast<std::size_t>(i)])[k], i);
    }
}

TEST_F(Allocator, RefusesPropertiesThatItCannotTake) {
    EXPECT_EQ(m_allocator->Commit(), VFW_E_SIZENOTSET);
    EXPECT_EQ(Set(1, 10, 3), VFW_E_BADALIGN);
    EXPECT_EQ(Set(1, 10, 0), VFW_E_BADALIGN);
    EXPECT_EQ(Set(1, 0x7FFFFFFF, 1, 1), E_INVALIDARG);
    ASSERT_EQ(Set(1, 10), S_OK);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    EXPECT_EQ(Set(2, 10), VFW_E_ALREADY_COMMITTED);
    auto sample = Get();
    m_allocator->Decommit();
    EXPECT_EQ(Set(2, 10), VFW_E_BUFFERS_OUTSTANDING);
    sample.reset();
    EXPECT_EQ(Set(2, 10), S_OK);
}

TEST_F(Allocator, HandsOutTheSampleThatCameBackLast) {
    ASSERT_EQ(Set(8, 16), S_OK);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    auto first = Get();
    auto second = Get();
    IMediaSample* const last = first.get();
    second.reset();
    first.reset();
    EXPECT_EQ(Get().get(), last);
}

TEST_F(Allocator, ReturnedSamplesAreWithoutTimesMarksAndType) {
    ASSERT_EQ(Set(1, 16), S_OK);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    auto sample = Get();
    REFERENCE_TIME start = 5;
    REFERENCE_TIME stop = 9;
    sample->SetTime(&start, &stop);
    sample->SetMediaTime(&start, &stop);
    sample->SetSyncPoint(TRUE);
    sample->SetDiscontinuity(TRUE);
    sample->SetPreroll(TRUE);
    CMediaType type = mediakit_test::make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264);
    sample->SetMediaType(&type);
    sample.reset();
    sample = Get();
    AM_MEDIA_TYPE* none = nullptr;
    EXPECT_EQ(sample->GetTime(&start, &stop), VFW_E_SAMPLE_TIME_NOT_SET);
    EXPECT_EQ(sample->GetMediaTime(&start, &stop), VFW_E_MEDIA_TIME_NOT_SET);
    EXPECT_EQ(sample->IsSyncPoint(), S_FALSE);
    EXPECT_EQ(sample->IsDiscontinuity(), S_FALSE);
    EXPECT_EQ(sample->IsPreroll(), S_FALSE);
    EXPECT_EQ(sample->GetMediaType(&none), S_FALSE);
    EXPECT_EQ(none, nullptr);
}

TEST_F(Allocator, WaitsForASampleOrForDecommit) {
    EXPECT_FALSE(Get());
    EXPECT_EQ(m_result, VFW_E_NOT_COMMITTED);
    ASSERT_EQ(Set(1, 16), S_OK);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    auto held = Get();
    EXPECT_FALSE(Get());
    EXPECT_EQ(m_result, VFW_E_TIMEOUT);

    IMediaSample* const expected = held.get();
    IMediaSample* got = nullptr;
    std::thread waiter([&] { m_allocator->GetBuffer(&got, nullptr, nullptr, 0); });
    held.reset();
    waiter.join();
    EXPECT_EQ(got, expected);

    std::vector<HRESULT> results(3, S_OK);
    std::vector<std::thread> waiters;
    for (HRESULT& result : results) {
        waiters.emplace_back([&] {
            IMediaSample* none = nullptr;
            result = m_allocator->GetBuffer(&none, nullptr, nullptr, 0);
        });
    }
    m_allocator->Decommit();
    for (std::thread& thread : waiters) thread.join();
    EXPECT_EQ(results, std::vector<HRESULT>(3, VFW_E_NOT_COMMITTED));
    got->Release();
}

TEST_F(Allocator, ManyThreadsShareFewSamples) {
    ASSERT_EQ(Set(2, 16), S_OK);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 500; ++i) {
                ComPtr<IMediaSample> sample;
                ASSERT_EQ(m_allocator->GetBuffer(sample.put(), nullptr, nullptr, 0), S_OK);
                BYTE* data = nullptr;
                sample->GetPointer(&data);
                std::fill_n(data, 16, static_cast<BYTE>(t));
                std::this_thread::yield();
                for (int k = 0; k < 16; ++k) ASSERT_EQ(data[k], t) << "two holders of one sample";
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    auto callback = m_allocator.query<IMemAllocatorCallbackTemp>();
    LONG count = 0;
    callback->GetFreeCount(&count);
    EXPECT_EQ(count, 2);
}

TEST_F(Allocator, LivesUntilTheLastSampleIsBack) {
    ASSERT_EQ(Set(2, 16), S_OK);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    auto one = Get();
    auto two = Get();
    m_allocator->Decommit();
    m_allocator.reset();
    one.reset();
    // Memory that is gone would be found by the address sanitizer.
    std::fill_n(Data(two), 16, BYTE{1});
    two.reset();
}

TEST_F(Allocator, CommitWhileSamplesAreOutGoesOnWithThem) {
    ASSERT_EQ(Set(2, 16), S_OK);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    auto one = Get();
    m_allocator->Decommit();
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    auto two = Get();
    ASSERT_TRUE(two);
    EXPECT_NE(one.get(), two.get());
    EXPECT_FALSE(Get());
}

TEST_F(Allocator, TellsOfEachSampleThatComesBack) {
    class Notify : public CUnknown, public IMemAllocatorNotifyCallbackTemp {
    public:
        DECLARE_IUNKNOWN
        HRESULT NotifyRelease() override {
            ++calls;
            return S_OK;
        }
        int calls = 0;
    };
    ASSERT_EQ(Set(2, 16), S_OK);
    ASSERT_EQ(m_allocator->Commit(), S_OK);
    const ComPtr<Notify> notify(new Notify);
    auto callback = m_allocator.query<IMemAllocatorCallbackTemp>();
    callback->SetNotify(notify.get());
    Get().reset();
    Get().reset();
    EXPECT_EQ(notify->calls, 2);
    callback->SetNotify(nullptr);
    Get().reset();
    EXPECT_EQ(notify->calls, 2);
}
