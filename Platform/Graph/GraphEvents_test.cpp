// What the host hears of.
#include "Platform/Graph/GraphTestFilters_test.h"
#include "Platform/Kernel/Event.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace graph_test {
namespace {

using namespace std::chrono_literals;

struct Received {
    HRESULT hr;
    LONG code;
    LONG_PTR param1;
    LONG_PTR param2;
};

/// Two sources with a sink each: two renderers.
class GraphEventsTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(m_graph.Join(*m_source, *m_sink), S_OK);
        ASSERT_EQ(m_graph.Join(*m_source2, *m_sink2), S_OK);
    }

    Received Next(LONG timeout = 0) {
        Received r{};
        r.hr = m_graph.events->GetEvent(&r.code, &r.param1, &r.param2, timeout);
        return r;
    }
    bool Waiting() {
        OAEVENT handle = 0;
        m_graph.events->GetEventHandle(&handle);
        return WaitForSingleObject(reinterpret_cast<HANDLE>(handle), 0) == WAIT_OBJECT_0;
    }
    HRESULT Completion(LONG* code, LONG timeout = 0) { return m_graph.events->WaitForCompletion(timeout, code); }

    Graph m_graph;
    ComPtr<TracedFilter> m_source = m_graph.Add('s', "source");
    ComPtr<TracedFilter> m_sink = m_graph.Add('k', "sink");
    ComPtr<TracedFilter> m_source2 = m_graph.Add('s', "source2");
    ComPtr<TracedFilter> m_sink2 = m_graph.Add('k', "sink2");
    LONG m_code = 99;
};

TEST_F(GraphEventsTest, EventsComeInOrderAndTheHandleSaysThatOneWaits) {
    EXPECT_FALSE(Waiting());
    EXPECT_EQ(Next(10).hr, E_ABORT);
    m_source->NotifyEvent(0x8216, 1, 2);
    m_sink->NotifyEvent(EC_ERRORABORT, static_cast<LONG_PTR>(E_FAIL), 0);
    EXPECT_TRUE(Waiting());
    Received r = Next();
    EXPECT_EQ(r.code, 0x8216);
    EXPECT_EQ(r.param1, 1);
    EXPECT_EQ(r.param2, 2);
    EXPECT_TRUE(Waiting());
    r = Next();
    EXPECT_EQ(r.code, EC_ERRORABORT);
    EXPECT_EQ(static_cast<HRESULT>(r.param1), E_FAIL);
    EXPECT_LT(r.param1, 0) << "a result keeps its sign in the wider parameter";
    EXPECT_FALSE(Waiting());
    EXPECT_EQ(m_graph.events->GetEvent(nullptr, nullptr, nullptr, 0), E_POINTER);
}

TEST_F(GraphEventsTest, TheGraphCompletesWhenEachRendererHas) {
    m_graph.control->Run();
    EXPECT_EQ(Completion(&m_code), E_ABORT);
    m_sink->Complete();
    m_sink->Complete();
    m_source->Complete();
    EXPECT_EQ(Next().hr, E_ABORT) << "twice the same one, and one that is no renderer";
    m_sink2->Complete();
    const Received r = Next();
    EXPECT_EQ(r.code, EC_COMPLETE);
    EXPECT_EQ(r.param1, S_OK);
    EXPECT_EQ(r.param2, 0);
    EXPECT_EQ(Next().hr, E_ABORT) << "once";
    EXPECT_EQ(Completion(&m_code), S_OK) << "known also when the event was taken";
    EXPECT_EQ(m_code, EC_COMPLETE);

    // A second run counts from the start, and nothing of the first is left in the queue.
    m_graph.control->Stop();
    m_graph.control->Run();
    m_sink->Complete();
    m_sink2->Complete();
    EXPECT_TRUE(Waiting());
    m_graph.control->Stop();
    m_graph.control->Run();
    EXPECT_FALSE(Waiting());
    m_sink->Complete();
    EXPECT_EQ(Completion(&m_code), E_ABORT);
}

TEST_F(GraphEventsTest, RendererIsAlsoWhoSaysSo) {
    m_source->flags = AM_FILTER_MISC_FLAGS_IS_RENDERER;
    m_graph.control->Run();
    m_sink->Complete();
    m_sink2->Complete();
    EXPECT_EQ(Completion(&m_code), E_ABORT);
    m_source->Complete();
    EXPECT_EQ(Completion(&m_code), S_OK);
}

TEST_F(GraphEventsTest, AHostThatAsksSeesEachCompletionWithItsFilter) {
    EXPECT_EQ(m_graph.events->CancelDefaultHandling(EC_COMPLETE), S_OK);
    EXPECT_EQ(m_graph.events->CancelDefaultHandling(EC_USER), S_FALSE);
    m_graph.control->Run();
    m_sink->Complete();
    Received r = Next();
    EXPECT_EQ(r.code, EC_COMPLETE);
    EXPECT_EQ(reinterpret_cast<IBaseFilter*>(r.param2), m_sink.get());
    // The event holds the filter.
    m_graph.control->Stop();
    m_graph.builder->RemoveFilter(m_sink.get());
    const int before = TracedFilter::alive;
    m_sink.reset();
    EXPECT_EQ(TracedFilter::alive, before);
    EXPECT_EQ(m_graph.events->FreeEventParams(r.code, r.param1, r.param2), S_OK);
    EXPECT_EQ(TracedFilter::alive, before - 1);

    m_graph.control->Run();
    m_sink2->Complete();
    m_graph.events->RestoreDefaultHandling(EC_COMPLETE);
    m_graph.control->Stop();
}

TEST_F(GraphEventsTest, WaitingForCompletionEndsWithTheWorkOrTheRun) {
    EXPECT_EQ(Completion(&m_code), VFW_E_WRONG_STATE);
    m_graph.control->Pause();
    EXPECT_EQ(Completion(&m_code), VFW_E_WRONG_STATE);
    m_graph.control->Run();
    {
        std::jthread failing([this] {
            std::this_thread::sleep_for(30ms);
            m_graph.control->Pause();
            m_graph.control->Run();
            m_source->NotifyEvent(EC_ERRORABORT, static_cast<LONG_PTR>(E_FAIL), 0);
        });
        EXPECT_EQ(Completion(&m_code, 10'000), S_OK) << "a pause in between ends nothing";
    }
    EXPECT_EQ(m_code, EC_ERRORABORT);
    EXPECT_EQ(Next().code, EC_ERRORABORT) << "and the event itself is there";

    m_graph.control->Stop();
    m_graph.control->Run();
    std::jthread stopping([this] {
        std::this_thread::sleep_for(30ms);
        m_graph.control->Stop();
    });
    EXPECT_EQ(Completion(&m_code, 10'000), VFW_E_WRONG_STATE);
    EXPECT_EQ(m_code, 0);
}

TEST_F(GraphEventsTest, StreamingThreadsNotifyWhileHostsTakeAndTheGraphChangesState) {
    constexpr int kEvents = 2000;
    std::atomic<int> taken{0};
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 2; ++t) {
            threads.emplace_back([this] {
                for (int i = 0; i < kEvents; ++i) m_source->NotifyEvent(EC_USER, i, 0);
            });
            threads.emplace_back([this, &taken] {
                while (taken < 2 * kEvents) {
                    if (Next(5).hr == S_OK) ++taken;
                }
            });
        }
        for (int i = 0; i < 50; ++i) {
            m_graph.control->Run();
            m_sink->Complete();
            m_graph.control->Stop();
        }
    }
    EXPECT_EQ(taken, 2 * kEvents);
    EXPECT_FALSE(Waiting());
}

}  // namespace
}  // namespace graph_test
