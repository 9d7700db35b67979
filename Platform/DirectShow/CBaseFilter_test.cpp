#include "Platform/DirectShow/CBaseFilter.h"

#include "Testing/Kit/fake_filters.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using mediakit_test::event_graph;
using mediakit_test::fake_input;
using mediakit_test::fake_sink;
using mediakit_test::fake_source;
using mediakit_test::make_type;

class Streaming : public ::testing::Test {
protected:
    void SetUp() override {
        m_source->types = {make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264)};
        ASSERT_EQ(m_source->Connect(m_sink.pin, nullptr), S_OK);
    }
    void Pause() {
        ASSERT_EQ(m_sink.filter->Pause(), S_OK);
        ASSERT_EQ(m_source.filter->Pause(), S_OK);
    }

    ComPtr<event_graph> m_graph{new event_graph};
    fake_source m_source{L"out"};
    fake_sink m_sink{L"in"};
};

}  // namespace

TEST_F(Streaming, StatesReachConnectedPins) {
    m_sink.filter->add<fake_input>(L"unconnected");
    auto* const unconnected = static_cast<fake_input*>(m_sink.filter->GetPin(1));
    FILTER_STATE state = State_Running;
    ASSERT_EQ(m_sink.filter->Run(1000), S_OK);
    EXPECT_EQ(m_sink->active, 1);
    EXPECT_EQ(unconnected->active, 0);
    m_sink.filter->GetState(0, &state);
    EXPECT_EQ(state, State_Running);
    ASSERT_EQ(m_sink.filter->Pause(), S_OK);
    EXPECT_EQ(m_sink->active, 1) << "from running, nothing is made active again";
    ASSERT_EQ(m_sink.filter->Stop(), S_OK);
    EXPECT_EQ(m_sink->active, 0);
    m_sink.filter->Stop();
    EXPECT_EQ(m_sink->active, 0);
}

TEST_F(Streaming, EventsMayBeSentWhileTheFilterJoins) {
    std::atomic<bool> done{false};
    std::jthread sender([&] {
        while (!done) {
            const HRESULT hr = m_sink.filter->NotifyEvent(EC_USER, 1, 2);
            EXPECT_TRUE(hr == S_OK || hr == E_NOTIMPL) << hr;
        }
    });
    for (int n = 0; n < 200; ++n) {
        EXPECT_EQ(m_sink.filter->JoinFilterGraph(m_graph.get(), L"sink"), S_OK);
        EXPECT_EQ(m_sink.filter->JoinFilterGraph(nullptr, nullptr), S_OK);
    }
    done = true;
}

TEST_F(Streaming, PauseThatFailsTakesBackWhatItStarted) {
    fake_source second(L"out 2");
    second->types = m_source->types;
    auto* const refusing = m_sink.filter->add<fake_input>(L"refusing");
    refusing->active_result = E_OUTOFMEMORY;
    ASSERT_EQ(second->Connect(refusing, nullptr), S_OK);
    EXPECT_EQ(m_sink.filter->Run(0), E_OUTOFMEMORY);
    EXPECT_TRUE(m_sink.filter->IsStopped());
    EXPECT_EQ(m_sink->active, 0);
    refusing->Disconnect();
}

TEST_F(Streaming, StopGoesOnPastAFailureAndTellsIt) {
    Pause();
    EXPECT_EQ(m_sink.filter->Stop(), S_OK);
    // A pin without an allocator has nothing to decommit, and says so.
    fake_sink bare(L"bare");
    fake_source feeder(L"feeder");
    feeder->types = m_source->types;
    ASSERT_EQ(feeder->Connect(bare.pin, nullptr), S_OK);
    static_cast<CBaseInputPin*>(bare.pin)->CBaseInputPin::BreakConnect();
    bare.filter->Pause();
    EXPECT_EQ(bare.filter->Stop(), VFW_E_NO_ALLOCATOR);
    EXPECT_TRUE(bare.filter->IsStopped());
}

TEST_F(Streaming, SamplesArriveOnlyWhileStreaming) {
    EXPECT_EQ(m_source->send({1}, 0, 1), VFW_E_NOT_COMMITTED);
    Pause();
    EXPECT_EQ(m_source->send({1, 2}, 10, 20, true), S_OK);
    m_source->DeliverBeginFlush();
    EXPECT_EQ(m_source->send({3}, 20, 30), S_FALSE);
    m_source->DeliverEndFlush();
    EXPECT_EQ(m_source->send({4}, 30, 40), S_OK);
    m_sink.filter->Stop();
    EXPECT_EQ(m_source->send({5}, 40, 50), VFW_E_NOT_COMMITTED) << "the shared allocator is decommitted";

    const auto samples = m_sink->samples();
    ASSERT_EQ(samples.size(), 2u);
    EXPECT_EQ(samples[0].data, (std::vector<BYTE>{1, 2}));
    EXPECT_EQ(samples[0].stop, 20);
    EXPECT_TRUE(samples[0].sync);
    EXPECT_EQ(samples[1].data, (std::vector<BYTE>{4}));

    m_source->DeliverNewSegment(5, 6, 2.0);
    EXPECT_EQ(m_sink->CurrentStartTime(), 5);
    EXPECT_EQ(m_sink->CurrentRate(), 2.0);
    EXPECT_EQ(m_source->EndOfStream(), E_UNEXPECTED);
}

TEST_F(Streaming, ATypeThatIsNotAcceptedEndsTheStream) {
    ASSERT_EQ(m_sink.filter->JoinFilterGraph(m_graph.get(), L"sink"), S_OK);
    Pause();
    m_sink->check = [](const CMediaType& type) { return *type.Subtype() == MEDIASUBTYPE_H264 ? S_OK : E_FAIL; };
    ComPtr<IMediaSample> sample;
    ASSERT_EQ(m_source->GetDeliveryBuffer(sample.put(), nullptr, nullptr, 0), S_OK);
    CMediaType type = make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264);
    sample->SetMediaType(&type);
    EXPECT_EQ(m_source->Deliver(sample.get()), S_OK);
    type.SetSubtype(&MEDIASUBTYPE_AVC1);
    sample->SetMediaType(&type);
    EXPECT_EQ(m_source->Deliver(sample.get()), VFW_E_INVALIDMEDIATYPE);
    EXPECT_EQ(m_sink->ends(), 1);
    ASSERT_EQ(m_graph->events().size(), 1u);
    EXPECT_EQ(m_graph->events()[0].code, EC_ERRORABORT);
    EXPECT_EQ(static_cast<HRESULT>(m_graph->events()[0].first), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_LT(m_graph->events()[0].first, 0) << "a result keeps its sign in a wider parameter";
    sample->SetMediaType(nullptr);
    EXPECT_EQ(m_source->Deliver(sample.get()), VFW_E_RUNTIME_ERROR);
    m_source->DeliverEndFlush();
    EXPECT_EQ(m_source->Deliver(sample.get()), S_OK);
    m_sink.filter->JoinFilterGraph(nullptr, nullptr);
}

TEST_F(Streaming, ReceiveMultipleStopsAtTheFirstRefusal) {
    Pause();
    ComPtr<IMediaSample> samples[3];
    IMediaSample* raw[3];
    for (int i = 0; i < 3; ++i) {
        m_source->GetDeliveryBuffer(samples[i].put(), nullptr, nullptr, 0);
        raw[i] = samples[i].get();
    }
    m_sink->on_receive = [&](IMediaSample* sample) { return sample == raw[1] ? S_FALSE : S_OK; };
    LONG processed = -1;
    EXPECT_EQ(m_sink->ReceiveMultiple(raw, 3, &processed), S_FALSE);
    EXPECT_EQ(processed, 1);
}

TEST_F(Streaming, ReceiveCanBlockAsksWhatIsDownstream) {
    EXPECT_EQ(m_sink->ReceiveCanBlock(), S_OK) << "a renderer may wait for its clock";
    m_sink.filter->add<mediakit_test::fake_output>(L"unconnected");
    EXPECT_EQ(m_sink->ReceiveCanBlock(), S_FALSE);
}

TEST(BaseFilter, JoinsAGraphWithoutCountingIt) {
    const ComPtr<event_graph> graph(new event_graph);
    fake_sink sink(L"in");
    EXPECT_EQ(sink.filter->NotifyEvent(EC_USER, 1, 2), E_NOTIMPL);
    ASSERT_EQ(sink.filter->JoinFilterGraph(graph.get(), L"a sink"), S_OK);
    EXPECT_EQ(graph->count(), 1);
    FILTER_INFO info{};
    ASSERT_EQ(sink.filter->QueryFilterInfo(&info), S_OK);
    EXPECT_STREQ(info.achName, L"a sink");
    EXPECT_EQ(info.pGraph, graph.get());
    info.pGraph->Release();

    EXPECT_EQ(sink.filter->NotifyEvent(EC_COMPLETE, S_OK, 0), S_OK);
    ASSERT_EQ(graph->events().size(), 1u);
    EXPECT_EQ(graph->events()[0].second, reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(sink.filter.get())));
    sink.filter->JoinFilterGraph(nullptr, nullptr);
    EXPECT_EQ(sink.filter->NotifyEvent(EC_USER, 1, 2), E_NOTIMPL);
    EXPECT_STREQ(sink.filter->Name(), L"");
}
