// States of the graph.
#include "Platform/Graph/GraphTestFilters_test.h"
#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/Thread.h"

#include <gtest/gtest.h>

namespace graph_test {
namespace {

/// source -> mux -> sink and source2 -> mux, added in no helpful order.
class GraphControlTest : public testing::Test {
protected:
    void SetUp() override {
        m_mux->AddInput();
        std::swap(m_mux->pins[1], m_mux->pins[2]);  // the output stays last
        ASSERT_EQ(m_graph.Join(*m_source, *m_mux), S_OK);
        ASSERT_EQ(m_graph.builder->Connect(m_source2->Out(), m_mux->pins[1].get()), S_OK);
        ASSERT_EQ(m_graph.Join(*m_mux, *m_sink), S_OK);
    }

    LONG State(HRESULT expected = S_OK, LONG timeout = 0) {
        OAFilterState state = 99;
        EXPECT_EQ(m_graph.control->GetState(timeout, &state), expected);
        return state;
    }

    Graph m_graph;
    ComPtr<TracedFilter> m_source2 = m_graph.Add('s', "source2");
    ComPtr<TracedFilter> m_mux = m_graph.Add('t', "mux");
    ComPtr<TracedFilter> m_sink = m_graph.Add('k', "sink");
    ComPtr<TracedFilter> m_source = m_graph.Add('s', "source");
};

TEST_F(GraphControlTest, StartsDownstreamFirstAndStopsUpstreamFirst) {
    m_sink->isFileSink = true;
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(m_graph.control->Run(), S_OK);
    EXPECT_EQ(State(), State_Running);
    EXPECT_EQ(m_graph.TakeJournal(), (Journal{"sink.Pause", "mux.Pause", "source2.Pause", "source.Pause", "sink.Run",
                                              "mux.Run", "source2.Run", "source.Run"}));
    EXPECT_EQ(m_graph.control->Run(), S_OK);
    EXPECT_EQ(m_graph.TakeJournal(), Journal{}) << "it runs already";
    EXPECT_EQ(m_graph.control->Pause(), S_OK);
    EXPECT_EQ(State(), State_Paused);
    EXPECT_EQ(m_graph.TakeJournal(), (Journal{"sink.Pause", "mux.Pause", "source2.Pause", "source.Pause"}));
    EXPECT_EQ(m_graph.control->Stop(), S_OK);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(m_graph.TakeJournal(), (Journal{"source.Stop", "source2.Stop", "mux.Stop", "sink.Stop"}));
    EXPECT_EQ(m_graph.control->Stop(), S_OK);
    EXPECT_EQ(m_graph.TakeJournal(), Journal{});
}

TEST_F(GraphControlTest, RendererWithoutFileStopsFirst) {
    m_graph.control->Pause();
    m_graph.TakeJournal();
    m_graph.control->Stop();
    EXPECT_EQ(m_graph.TakeJournal(), (Journal{"sink.Stop", "source.Stop", "source2.Stop", "mux.Stop"}));
}

TEST_F(GraphControlTest, AFilterThatCannotStartStopsTheOthers) {
    m_mux->pauseResult = make_result(0x80070020);
    EXPECT_EQ(m_graph.control->Run(), make_result(0x80070020));
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_TRUE(m_sink->IsStopped() && m_source->IsStopped());
    EXPECT_EQ(m_graph.TakeJournal(),
              (Journal{"sink.Pause", "mux.Pause", "sink.Stop", "source.Stop", "source2.Stop", "mux.Stop"}));

    m_mux->pauseResult = S_OK;
    m_mux->runResult = E_FAIL;
    EXPECT_EQ(m_graph.control->Run(), E_FAIL);
    EXPECT_TRUE(m_sink->IsStopped() && m_mux->IsStopped() && m_source->IsStopped());
    EXPECT_EQ(m_sink->In()->active, 0);

    m_mux->runResult = S_OK;
    m_mux->stopResult = E_ABORT;
    EXPECT_EQ(m_graph.control->Run(), S_OK);
    EXPECT_EQ(m_graph.control->Stop(), E_ABORT) << "a failure to stop is told";
    EXPECT_TRUE(m_sink->IsStopped()) << "and stops nobody from stopping";
}

TEST_F(GraphControlTest, TellsWhetherFiltersAreStillOnTheirWay) {
    m_sink->pauseResult = S_FALSE;
    EXPECT_EQ(m_graph.control->Pause(), S_FALSE);
    m_mux->stateResult = VFW_S_CANT_CUE;
    EXPECT_EQ(State(VFW_S_CANT_CUE), State_Paused);
    m_source->stateResult = VFW_S_STATE_INTERMEDIATE;
    State(VFW_S_STATE_INTERMEDIATE, 500);
    EXPECT_LE(m_source->askedTimeout, 500u);
    EXPECT_GT(m_source->askedTimeout, 0u);
    State(VFW_S_STATE_INTERMEDIATE, -1);
    EXPECT_EQ(m_source->askedTimeout, INFINITE);
    m_sink->stateResult = E_FAIL;
    m_source->stateResult = S_OK;
    State(E_FAIL);
    EXPECT_EQ(m_graph.control->GetState(0, nullptr), E_POINTER);
}

TEST_F(GraphControlTest, StreamTimeGoesOnBehindAPauseAndStartsAnewBehindAStop) {
    m_graph.control->Run();
    IReferenceClock* const clock = m_sink->SyncSource();
    ASSERT_NE(clock, nullptr) << "the graph brings a clock";
    EXPECT_EQ(m_source->SyncSource(), clock);
    EXPECT_EQ(m_source->startTime, m_sink->startTime);
    const REFERENCE_TIME first = m_sink->startTime;
    Sleep(20);
    m_graph.control->Pause();
    Sleep(50);
    m_graph.control->Run();
    EXPECT_GE(m_sink->startTime - first, 500'000) << "the pause is no part of the stream";
    REFERENCE_TIME streamTime = 0;
    EXPECT_EQ(m_sink->StreamTime(streamTime), S_OK);
    EXPECT_GE(streamTime, 200'000);

    m_graph.control->Stop();
    REFERENCE_TIME stopped = 0;
    clock->GetTime(&stopped);
    m_graph.control->Run();
    EXPECT_GE(m_sink->startTime, stopped);
    EXPECT_EQ(m_graph.builder->SetDefaultSyncSource(), VFW_E_NOT_STOPPED);

    const auto late = m_graph.Add('k', "late");
    EXPECT_EQ(late->SyncSource(), clock);
    EXPECT_TRUE(late->IsStopped());
    m_graph.builder->RemoveFilter(late.get());
    EXPECT_EQ(late->SyncSource(), nullptr);
}

TEST_F(GraphControlTest, WhatNeedsAStoreOfFiltersIsNotOffered) {
    IBaseFilter* filter = nullptr;
    EXPECT_EQ(m_graph.builder->Render(m_source->Out()), E_NOTIMPL);
    EXPECT_EQ(m_graph.builder->RenderFile(L"x.mp4", nullptr), E_NOTIMPL);
    EXPECT_EQ(m_graph.builder->AddSourceFilter(L"x.mp4", L"x", &filter), E_NOTIMPL);
    EXPECT_EQ(m_graph.control->RenderFile(L"x.mp4"), E_NOTIMPL);
    EXPECT_EQ(m_graph.builder->ShouldOperationContinue(), S_OK);
    EXPECT_EQ(m_graph.builder->Abort(), S_OK);
    EXPECT_EQ(m_graph.builder->ShouldOperationContinue(), S_FALSE);
}

TEST_F(GraphControlTest, StopWhenReadyEndsStopped) {
    EXPECT_EQ(m_graph.control->StopWhenReady(), S_OK);
    EXPECT_EQ(State(), State_Stopped);
    EXPECT_EQ(m_graph.TakeJournal().size(), 8u) << "all were paused and stopped";
}

}  // namespace
}  // namespace graph_test
