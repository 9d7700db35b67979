// A source with a thread, streaming through a graph to its end.
#include "Platform/DirectShow/CSource.h"
#include "Platform/Graph/GraphTestFilters_test.h"
#include "Platform/Kernel/Event.h"

#include <gtest/gtest.h>

namespace graph_test {
namespace {

class CountingStream final : public CSourceStream {
public:
    CountingStream(CSource* source, HRESULT* phr) : CSourceStream("counting", phr, source, L"out") {}

    HRESULT GetMediaType(CMediaType* type) override {
        return type->Set(mediakit_test::make_type(MEDIATYPE_Stream, MEDIASUBTYPE_None));
    }
    HRESULT DecideBufferSize(IMemAllocator* allocator, ALLOCATOR_PROPERTIES*) override {
        ALLOCATOR_PROPERTIES wanted{2, 16, 1, 0}, actual{};
        return allocator->SetProperties(&wanted, &actual);
    }
    HRESULT FillBuffer(IMediaSample* sample) override {
        if (m_count == total) return result;
        BYTE* data = nullptr;
        sample->GetPointer(&data);
        data[0] = static_cast<BYTE>(m_count++);
        return sample->SetActualDataLength(1);
    }

    int total = 100;
    HRESULT result = S_FALSE;

private:
    int m_count = 0;
};

class CountingSource final : public CSource {
public:
    CountingSource() : CSource("counting", nullptr, GUID_NULL) {}
    HRESULT m_hr = S_OK;
    CountingStream* const stream = new CountingStream(this, &m_hr);
};

/// Completes at the end of its stream, as a renderer does.
class CompletingInput : public mediakit_test::fake_input {
public:
    using fake_input::fake_input;
    HRESULT EndOfStream() override {
        fake_input::EndOfStream();
        return m_pFilter->NotifyEvent(EC_COMPLETE, S_OK, 0);
    }
};

/// Keeps the first sample until the filter runs or stops, as a renderer that shows a still picture does while paused.
class WaitingRenderer final : public mediakit_test::fake_filter {
public:
    WaitingRenderer() {
        add<mediakit_test::fake_input>(L"in")->on_receive = [this](IMediaSample*) {
            m_received.Set();
            if (!m_released.Wait(5'000)) timedOut = true;
            return S_OK;
        };
    }
    HRESULT Stop() override {
        m_released.Set();
        return fake_filter::Stop();
    }
    bool WaitForSample() { return m_received.Wait(5'000); }

    std::atomic<bool> timedOut{false};

private:
    CAMEvent m_received, m_released;
};

class GraphStreamingTest : public testing::Test {
protected:
    void SetUp() override {
        m_input = m_sink->add<CompletingInput>(L"in");
        m_graph.builder->AddFilter(m_source.get(), L"source");
        m_graph.builder->AddFilter(m_sink.get(), L"sink");
        ASSERT_EQ(m_graph.builder->Connect(m_source->stream, m_input), S_OK);
    }

    Graph m_graph;
    ComPtr<CountingSource> m_source{new CountingSource};
    ComPtr<mediakit_test::fake_filter> m_sink{new mediakit_test::fake_filter};
    CompletingInput* m_input = nullptr;
};

TEST_F(GraphStreamingTest, EverySampleArrivesAndTheGraphCompletes) {
    ASSERT_EQ(m_graph.control->Run(), S_OK);
    LONG code = 0;
    ASSERT_EQ(m_graph.events->WaitForCompletion(10'000, &code), S_OK);
    EXPECT_EQ(code, EC_COMPLETE);
    EXPECT_EQ(m_graph.control->Stop(), S_OK);
    const auto samples = m_input->samples();
    ASSERT_EQ(samples.size(), 100u);
    for (std::size_t i = 0; i < samples.size(); ++i)
        EXPECT_EQ(samples[i].data, std::vector<BYTE>{static_cast<BYTE>(i)});
}

TEST_F(GraphStreamingTest, AFailingSourceEndsTheWorkWithItsResult) {
    m_source->stream->total = 3;
    m_source->stream->result = make_result(0x80070070);
    ASSERT_EQ(m_graph.control->Run(), S_OK);
    OAEVENT handle = 0;
    m_graph.events->GetEventHandle(&handle);
    bool failed = false;
    LONG code = 0;
    LONG_PTR param1 = 0, param2 = 0;
    while (!failed && m_graph.events->GetEvent(&code, &param1, &param2, 10'000) == S_OK)
        failed = code == EC_ERRORABORT && static_cast<HRESULT>(param1) == make_result(0x80070070);
    EXPECT_TRUE(failed);
    EXPECT_EQ(m_input->samples().size(), 3u);
}

TEST_F(GraphStreamingTest, StopsInTheMiddleOfAStreamAgainAndAgain) {
    m_source->stream->total = 1 << 30;
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(m_graph.control->Run(), S_OK);
        ASSERT_EQ(m_graph.control->Stop(), S_OK);
    }
    EXPECT_TRUE(m_sink->IsStopped() && m_source->IsStopped());
}

TEST(GraphStopTest, RendererThatWaitsInReceiveStopsFirst) {
    Graph graph;
    const ComPtr<CountingSource> source(new CountingSource);
    const ComPtr<WaitingRenderer> renderer(new WaitingRenderer);
    graph.builder->AddFilter(source.get(), L"source");
    graph.builder->AddFilter(renderer.get(), L"renderer");
    ASSERT_EQ(graph.builder->Connect(source->stream, renderer->pins[0].get()), S_OK);
    ASSERT_EQ(graph.control->Pause(), S_OK);
    ASSERT_TRUE(renderer->WaitForSample());
    EXPECT_EQ(graph.control->Stop(), S_OK);
    EXPECT_FALSE(renderer->timedOut);
}

}  // namespace
}  // namespace graph_test
