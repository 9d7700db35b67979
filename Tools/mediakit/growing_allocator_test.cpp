#include "Tools/mediakit/growing_allocator.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace mediakit_tool {
namespace {

constexpr HRESULT kPending = E_UNEXPECTED;  // no answer yet

ComPtr<TrackAllocator> Committed(TrackCrowd& crowd, LONG buffers) {
    HRESULT hr = S_OK;
    ComPtr<TrackAllocator> allocator(new TrackAllocator(crowd, &hr));
    ALLOCATOR_PROPERTIES wanted{.cBuffers = buffers, .cbBuffer = 16, .cbAlign = 1, .cbPrefix = 0}, actual{};
    EXPECT_EQ(allocator->SetProperties(&wanted, &actual), S_OK);
    EXPECT_EQ(allocator->Commit(), S_OK);
    allocator->Begin();
    return allocator;
}

ComPtr<IMediaSample> Get(TrackAllocator& allocator) {
    ComPtr<IMediaSample> sample;
    EXPECT_EQ(allocator.GetBuffer(sample.put(), nullptr, nullptr, 0), S_OK);
    return sample;
}

TEST(TrackAllocator, AloneItNeverWaits) {
    TrackCrowd crowd;
    const auto allocator = Committed(crowd, 2);
    std::vector<ComPtr<IMediaSample>> out;
    for (int i = 0; i < 5; ++i) out.push_back(Get(*allocator));
    BYTE* data = nullptr;
    EXPECT_EQ(out[4]->GetPointer(&data), S_OK);
    EXPECT_EQ(out[4]->GetSize(), 16);
    std::fill_n(data, 16, BYTE{1});
    out.clear();
    EXPECT_NE(Get(*allocator).get(), nullptr);
    EXPECT_EQ(allocator->Decommit(), S_OK);
}

/// Waits in GetBuffer on a thread of its own, with all its buffers out.
class WaitingTrack {
public:
    WaitingTrack(TrackCrowd& crowd) : allocator(Committed(crowd, 1)), m_out(Get(*allocator)) {
        m_thread = std::thread([this] { result = allocator->GetBuffer(m_got.put(), nullptr, nullptr, 0); });
    }
    ~WaitingTrack() {
        m_thread.join();
        m_got.reset();
        m_out.reset();
        allocator->Decommit();
    }
    void GiveBack() { m_out.reset(); }

    const ComPtr<TrackAllocator> allocator;
    std::atomic<HRESULT> result{kPending};

private:
    ComPtr<IMediaSample> m_out, m_got;
    std::thread m_thread;
};

TEST(TrackAllocator, WaitsWhileAnotherIsAtWork) {
    for (const int way : {0, 1, 2}) {
        TrackCrowd crowd;
        const auto worker = Committed(crowd, 1);
        WaitingTrack waiting(crowd);
        while (crowd.Waiting() == 0) std::this_thread::yield();
        EXPECT_EQ(waiting.result, kPending);
        // The one at work makes as many as it needs.
        const ComPtr<IMediaSample> first = Get(*worker), second = Get(*worker);
        EXPECT_EQ(waiting.result, kPending);
        if (way == 0) waiting.GiveBack();
        if (way == 1) worker->End();  // nobody is left to wait for
        if (way == 2) waiting.allocator->Decommit();
        while (waiting.result == kPending) std::this_thread::yield();
        EXPECT_EQ(waiting.result, way == 2 ? VFW_E_NOT_COMMITTED : S_OK);
        worker->Decommit();
    }
}

TEST(CopyAllocator, CopiesKeepTheirOriginalsAndTheirRoom) {
    TrackCrowd crowd;
    const auto originals = Committed(crowd, 1);
    HRESULT hr = S_OK;
    const ComPtr<CopyAllocator> copies(new CopyAllocator(&hr));
    ALLOCATOR_PROPERTIES wanted{.cBuffers = 1, .cbBuffer = 1, .cbAlign = 1, .cbPrefix = 0}, actual{};
    ASSERT_EQ(copies->SetProperties(&wanted, &actual), S_OK);
    ASSERT_EQ(copies->Commit(), S_OK);
    const void* room = nullptr;
    for (int i = 0; i < 3; ++i) {
        ComPtr<IMediaSample> original = Get(*originals);
        REFERENCE_TIME start = 5, stop = 7;
        original->SetTime(&start, &stop);
        original->SetSyncPoint(TRUE);
        CopySample* made = nullptr;
        ASSERT_EQ(copies->GetCopy(&made), S_OK);
        ComPtr<IMediaSample> copy;
        copy.attach(made);
        made->Bytes().assign(100, 9);
        ASSERT_EQ(made->BecomeCopyOf(*original), S_OK);
        EXPECT_TRUE(room == nullptr || made->Bytes().data() == room);
        room = made->Bytes().data();
        original.reset();
        LONG free = 0;
        EXPECT_EQ(originals->GetFreeCount(&free), S_OK);
        EXPECT_EQ(free, 0);
        start = stop = 0;
        EXPECT_EQ(copy->GetTime(&start, &stop), S_OK);
        EXPECT_EQ(stop, 7);
        EXPECT_EQ(copy->IsSyncPoint(), S_OK);
        EXPECT_EQ(copy->GetActualDataLength(), 100);
        copy.reset();
        EXPECT_EQ(originals->GetFreeCount(&free), S_OK);
        EXPECT_EQ(free, 1);
    }
    copies->Decommit();
    originals->Decommit();
}

}  // namespace
}  // namespace mediakit_tool
