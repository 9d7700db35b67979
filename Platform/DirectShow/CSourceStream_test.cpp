#include "Platform/DirectShow/CMemAllocator.h"
#include "Platform/DirectShow/CSource.h"
#include "Platform/Kernel/Memory.h"
#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace {

using mediakit_test::fake_sink;
using mediakit_test::make_type;

/// Numbers its samples, from `next` up to `end`.
class NumberStream : public CSourceStream {
public:
    NumberStream(CSource* source, const wchar_t* name) : CSourceStream("NumberStream", nullptr, source, name) {}

    HRESULT FillBuffer(IMediaSample* sample) override {
        if (next == end) return end_result;
        REFERENCE_TIME start = next;
        REFERENCE_TIME stop = ++next;
        sample->SetTime(&start, &stop);
        return sample->SetActualDataLength(0);
    }
    using CSourceStream::GetMediaType;
    HRESULT GetMediaType(CMediaType* type) override { return type->Set(make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264)); }
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES*) override {
        ALLOCATOR_PROPERTIES request{2, 16, 1, 0};
        ALLOCATOR_PROPERTIES actual{};
        return allocator->SetProperties(&request, &actual);
    }
    HRESULT OnThreadCreate() override { return create_result; }
    HRESULT OnThreadDestroy() override {
        ++destroyed;
        return S_OK;
    }
    HRESULT OnThreadStartPlay() override {
        ++plays;
        return S_OK;
    }

    std::atomic<LONGLONG> next{0};
    std::atomic<LONGLONG> end{3};
    HRESULT end_result = S_FALSE;
    HRESULT create_result = S_OK;
    std::atomic<int> destroyed{0};
    std::atomic<int> plays{0};
};

class NumberSource : public CSource {
public:
    NumberSource() : CSource("NumberSource", nullptr, GUID_NULL) {}
};

class Source : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(m_stream->Connect(m_sink.pin, nullptr), S_OK); }
    void TearDown() override {
        m_source->Stop();
        m_stream->Disconnect();
    }
    void Start() {
        ASSERT_EQ(m_sink.filter->Pause(), S_OK);
        ASSERT_EQ(m_source->Pause(), S_OK);
    }
    bool WaitFor(const std::function<bool()>& condition) {
        for (int i = 0; i < 5000 && !condition(); ++i) Sleep(1);
        return condition();
    }

    ComPtr<NumberSource> m_source{new NumberSource};
    NumberStream* const m_stream = new NumberStream(m_source.get(), L"numbers");
    fake_sink m_sink{L"in"};
};

}  // namespace

TEST_F(Source, DeliversUntilTheStreamEnds) {
    Start();
    ASSERT_TRUE(WaitFor([&] { return m_sink->ends() == 1; }));
    const auto samples = m_sink->samples();
    ASSERT_EQ(samples.size(), 3u);
    EXPECT_EQ(samples[2].start, 2);
    // The thread waits for commands: it can be run again, as after a seek.
    m_stream->end = 5;
    EXPECT_EQ(m_stream->Run(), S_OK);
    ASSERT_TRUE(WaitFor([&] { return m_sink->ends() == 2; }));
    EXPECT_EQ(m_sink->samples().size(), 5u);
    EXPECT_EQ(m_stream->plays, 2);
    EXPECT_EQ(m_source->Stop(), S_OK);
    EXPECT_FALSE(m_stream->ThreadExists());
    EXPECT_EQ(m_stream->destroyed, 1);
}

TEST_F(Source, StopsWhileTheThreadWaitsForASample) {
    m_stream->end = 1000000;
    std::vector<ComPtr<IMediaSample>> held;
    std::atomic<int> taken{0};
    m_sink->on_receive = [&](IMediaSample* sample) {
        held.emplace_back(sample);
        ++taken;
        return S_OK;
    };
    Start();
    ASSERT_TRUE(WaitFor([&] { return taken == 2; }));
    EXPECT_EQ(m_source->Stop(), S_OK);
    EXPECT_EQ(m_sink->ends(), 0);
    held.clear();
    EXPECT_EQ(taken, 2);
}

TEST_F(Source, RunsAgainAfterAStop) {
    m_stream->end = 1000000;
    for (int round = 0; round < 3; ++round) {
        const std::size_t before = m_sink->samples().size();
        Start();
        EXPECT_EQ(m_source->Run(0), S_OK);
        EXPECT_TRUE(WaitFor([&] { return m_sink->samples().size() > before; }));
        EXPECT_EQ(m_source->Stop(), S_OK);
        m_sink.filter->Stop();
    }
    EXPECT_EQ(m_stream->destroyed, 3);
}

TEST_F(Source, ReceiverThatWantsNoMoreEndsTheLoopQuietly) {
    for (const HRESULT answer : {S_FALSE, E_FAIL}) {
        m_stream->end = 1000000;
        std::atomic<int> taken{0};
        m_sink->on_receive = [&](IMediaSample*) {
            ++taken;
            return answer;
        };
        Start();
        ASSERT_TRUE(WaitFor([&] { return taken == 1; }));
        EXPECT_EQ(m_source->Stop(), S_OK);
        m_sink.filter->Stop();
        EXPECT_EQ(taken, 1);
    }
    EXPECT_EQ(m_sink->ends(), 0);
}

TEST_F(Source, FailureOfFillBufferEndsTheStream) {
    const ComPtr<mediakit_test::event_graph> graph(new mediakit_test::event_graph);
    m_source->JoinFilterGraph(graph.get(), L"source");
    m_stream->end_result = E_OUTOFMEMORY;
    Start();
    ASSERT_TRUE(WaitFor([&] { return !graph->events().empty(); }));
    EXPECT_EQ(m_sink->samples().size(), 3u);
    EXPECT_EQ(m_sink->ends(), 1);
    EXPECT_EQ(graph->events()[0].code, EC_ERRORABORT);
    EXPECT_EQ(graph->events()[0].first, E_OUTOFMEMORY);
    m_source->Stop();
    m_source->JoinFilterGraph(nullptr, nullptr);
}

TEST_F(Source, FailureOfThreadCreationIsPausesResult) {
    m_stream->create_result = E_ABORT;
    m_sink.filter->Pause();
    EXPECT_EQ(m_source->Pause(), E_ABORT);
    EXPECT_TRUE(m_source->IsStopped());
    EXPECT_FALSE(m_stream->ThreadExists());
    EXPECT_EQ(m_stream->destroyed, 1);
    m_stream->create_result = S_OK;
    EXPECT_EQ(m_source->Pause(), S_OK);
}

TEST_F(Source, WithoutAThreadGivesItsBuffersBack) {
    ASSERT_TRUE(m_stream->Create()) << "a thread of somebody else's";
    m_sink.filter->Pause();
    EXPECT_EQ(m_source->Pause(), E_FAIL);
    ComPtr<IMediaSample> sample;
    EXPECT_EQ(m_sink->allocator()->GetBuffer(sample.put(), nullptr, nullptr, 0), VFW_E_NOT_COMMITTED);
    m_stream->CallWorker(CSourceStream::CMD_INIT);
    m_stream->CallWorker(CSourceStream::CMD_EXIT);
    m_stream->Close();
}

/// Decommits, and says that it did not.
class UnsureAllocator : public CMemAllocator {
public:
    UnsureAllocator() : CMemAllocator("UnsureAllocator", nullptr, nullptr) {}
    HRESULT Decommit() override {
        CMemAllocator::Decommit();
        return result;
    }
    HRESULT result = S_OK;
};

TEST_F(Source, EndsItsThreadWhateverComesOfTheBuffers) {
    const ComPtr<UnsureAllocator> allocator(new UnsureAllocator);
    m_sink->Disconnect();
    m_stream->Disconnect();
    ASSERT_EQ(m_sink->NotifyAllocator(allocator.get(), FALSE), S_OK);
    ASSERT_EQ(m_stream->Connect(m_sink.pin, nullptr), S_OK);
    m_stream->end = 1000000;
    Start();
    allocator->result = E_ABORT;
    EXPECT_EQ(m_source->Stop(), E_ABORT);
    EXPECT_FALSE(m_stream->ThreadExists());
    allocator->result = S_OK;
}

TEST_F(Source, UnknownCommandsAreUnexpected) {
    m_stream->end = 1000000;
    Start();
    EXPECT_EQ(static_cast<HRESULT>(m_stream->CallWorker(77)), E_UNEXPECTED) << "in the buffer loop";
    EXPECT_EQ(m_stream->CallWorker(CSourceStream::CMD_PAUSE), 0u);
    m_stream->CallWorker(CSourceStream::CMD_STOP);
    EXPECT_EQ(static_cast<HRESULT>(m_stream->CallWorker(77)), E_UNEXPECTED) << "between runs";
    EXPECT_EQ(m_stream->plays, 1);
}

TEST_F(Source, OffersItsOneTypeAndAcceptsNoOther) {
    CMediaType type;
    EXPECT_EQ(m_stream->GetMediaType(1, &type), VFW_S_NO_MORE_ITEMS);
    EXPECT_EQ(m_stream->GetMediaType(-1, &type), E_INVALIDARG);
    ASSERT_EQ(m_stream->GetMediaType(0, &type), S_OK);
    EXPECT_EQ(m_stream->CheckMediaType(&type), S_OK);
    type.SetSubtype(&MEDIASUBTYPE_AVC1);
    EXPECT_EQ(m_stream->CheckMediaType(&type), E_FAIL);
}

TEST_F(Source, FindsPinsByTheirIdAndByTheirName) {
    auto* const second = new NumberStream(m_source.get(), L"more");
    EXPECT_EQ(m_source->GetPinCount(), 2);
    for (IPin* pin : {static_cast<IPin*>(m_stream), static_cast<IPin*>(second)}) {
        wchar_t* id = nullptr;
        ASSERT_EQ(pin->QueryId(&id), S_OK);
        ComPtr<IPin> found;
        EXPECT_EQ(m_source->FindPin(id, found.put()), S_OK);
        EXPECT_EQ(found.get(), pin);
        CoTaskMemFree(id);
    }
    ComPtr<IPin> found;
    EXPECT_EQ(m_source->FindPin(L"more", found.put()), S_OK);
    EXPECT_EQ(found.get(), second);
    EXPECT_EQ(m_source->FindPin(L"3", found.put()), VFW_E_NOT_FOUND);
    EXPECT_EQ(m_source->FindPin(L"1x", found.put()), VFW_E_NOT_FOUND);
    EXPECT_EQ(m_source->FindPinNumber(second), 1);
    delete second;
    EXPECT_EQ(m_source->GetPinCount(), 1);
}
