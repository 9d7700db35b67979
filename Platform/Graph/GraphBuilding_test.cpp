// Filters in the graph and their connections.
#include "Platform/DirectShow/IEnumFilters.h"
#include "Platform/Graph/GraphTestFilters_test.h"

#include <gtest/gtest.h>

namespace graph_test {
namespace {

std::wstring NameOf(IBaseFilter& filter) {
    FILTER_INFO info{};
    filter.QueryFilterInfo(&info);
    if (info.pGraph) info.pGraph->Release();
    return info.achName;
}

class GraphBuildingTest : public testing::Test {
protected:
    Graph m_graph;
};

TEST_F(GraphBuildingTest, AllInterfacesAreOneObject) {
    const auto identity = m_graph.builder.query<IUnknown>();
    for (const ComPtr<IUnknown>& other :
         {m_graph.control.query<IUnknown>(), m_graph.events.query<IUnknown>(), m_graph.seeking.query<IUnknown>(),
          m_graph.builder.query<IMediaEventSink>().query<IUnknown>(),
          m_graph.events.query<IFilterGraph>().query<IUnknown>()}) {
        EXPECT_EQ(other.get(), identity.get());
    }
    EXPECT_FALSE(m_graph.builder.query<IBaseFilter>());
    EXPECT_EQ(CreateFilterGraph(nullptr), E_POINTER);
}

TEST_F(GraphBuildingTest, NamesAreMadeUniqueAndFound) {
    const auto first = m_graph.Make('s', "1"), second = m_graph.Make('s', "2"), third = m_graph.Make('s', "3"),
               fourth = m_graph.Make('s', "4");
    EXPECT_EQ(m_graph.builder->AddFilter(first.get(), L"Source"), S_OK);
    EXPECT_EQ(m_graph.builder->AddFilter(first.get(), L"Again"), E_INVALIDARG);
    EXPECT_EQ(m_graph.builder->AddFilter(second.get(), L"Source"), VFW_S_DUPLICATE_NAME);
    EXPECT_EQ(m_graph.builder->AddFilter(third.get(), L"Source"), VFW_S_DUPLICATE_NAME);
    EXPECT_EQ(m_graph.builder->AddFilter(fourth.get(), nullptr), S_OK);
    EXPECT_EQ(NameOf(*first), L"Source");
    EXPECT_EQ(NameOf(*second), L"Source 0001");
    EXPECT_EQ(NameOf(*third), L"Source 0002");
    EXPECT_NE(NameOf(*fourth), L"");

    ComPtr<IBaseFilter> found;
    EXPECT_EQ(m_graph.builder->FindFilterByName(L"Source 0001", found.put()), S_OK);
    EXPECT_EQ(found.get(), second.get());
    EXPECT_EQ(m_graph.builder->FindFilterByName(L"source", found.put()), VFW_E_NOT_FOUND);
    EXPECT_FALSE(found);

    EXPECT_EQ(m_graph.builder->RemoveFilter(second.get()), S_OK);
    EXPECT_EQ(m_graph.builder->RemoveFilter(second.get()), VFW_E_NOT_FOUND);
    EXPECT_EQ(NameOf(*second), L"");
    EXPECT_EQ(second->GetFilterGraph(), nullptr);
    EXPECT_EQ(m_graph.builder->AddFilter(second.get(), L"Source"), VFW_S_DUPLICATE_NAME);
    EXPECT_EQ(NameOf(*second), L"Source 0001");
}

TEST_F(GraphBuildingTest, EnumeratorsWalkTheFiltersAndNoticeChanges) {
    const auto a = m_graph.Add('s', "a"), b = m_graph.Add('s', "b"), c = m_graph.Add('s', "c");
    ComPtr<IEnumFilters> walk, clone;
    ASSERT_EQ(m_graph.builder->EnumFilters(walk.put()), S_OK);
    IBaseFilter* two[2] = {};
    ULONG fetched = 9;
    EXPECT_EQ(walk->Next(2, two, nullptr), E_INVALIDARG);
    EXPECT_EQ(walk->Next(2, two, &fetched), S_OK);
    EXPECT_EQ(two[0], a.get());
    EXPECT_EQ(two[1], b.get());
    for (IBaseFilter* filter : two) filter->Release();
    ASSERT_EQ(walk->Clone(clone.put()), S_OK);
    EXPECT_EQ(walk->Skip(2), S_FALSE);
    EXPECT_EQ(clone->Next(2, two, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(two[0], c.get());
    two[0]->Release();

    m_graph.builder->RemoveFilter(a.get());
    EXPECT_EQ(walk->Next(1, two, nullptr), VFW_E_ENUM_OUT_OF_SYNC);
    EXPECT_EQ(walk->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
    walk->Reset();
    EXPECT_EQ(walk->Next(1, two, nullptr), S_OK);
    EXPECT_EQ(two[0], b.get());
    two[0]->Release();
}

TEST_F(GraphBuildingTest, ConnectsOnlyWhatMayBeConnected) {
    const auto source = m_graph.Add('s', "source"), sink = m_graph.Add('k', "sink");
    const auto stranger = m_graph.Make('k', "stranger");
    IGraphBuilder& graph = *m_graph.builder;
    EXPECT_EQ(graph.ConnectDirect(nullptr, sink->In(), nullptr), E_POINTER);
    EXPECT_EQ(graph.ConnectDirect(sink->In(), source->Out(), nullptr), VFW_E_INVALID_DIRECTION);
    EXPECT_EQ(graph.ConnectDirect(source->Out(), stranger->In(), nullptr), VFW_E_NOT_IN_GRAPH);

    sink->In()->check = [](const CMediaType& type) { return type.subtype == MEDIASUBTYPE_AVC1 ? S_OK : S_FALSE; };
    EXPECT_EQ(graph.Connect(source->Out(), sink->In()), VFW_E_NO_ACCEPTABLE_TYPES);
    const CMediaType unfit = mediakit_test::make_type(MEDIATYPE_Video, MEDIASUBTYPE_None);
    EXPECT_TRUE(FAILED(graph.ConnectDirect(source->Out(), sink->In(), &unfit)));
    EXPECT_FALSE(source->Out()->IsConnected() || sink->In()->IsConnected());
    source->Out()->types.push_back(mediakit_test::make_type(MEDIATYPE_Video, MEDIASUBTYPE_AVC1));
    EXPECT_EQ(graph.Connect(source->Out(), sink->In()), S_OK) << "the pins' types are tried one after the other";
    EXPECT_TRUE(sink->In()->connection_type().subtype == MEDIASUBTYPE_AVC1);
    EXPECT_EQ(graph.Connect(source->Out(), sink->In()), VFW_E_ALREADY_CONNECTED);

    EXPECT_EQ(graph.Disconnect(source->Out()), S_OK);
    EXPECT_EQ(graph.Disconnect(sink->In()), S_OK);
    EXPECT_EQ(graph.Disconnect(sink->In()), S_FALSE);
    EXPECT_EQ(graph.Reconnect(sink->In()), VFW_E_NOT_CONNECTED);
}

TEST_F(GraphBuildingTest, RefusesCircles) {
    const auto a = m_graph.Add('t', "a"), b = m_graph.Add('t', "b"), c = m_graph.Add('t', "c");
    EXPECT_EQ(m_graph.Join(*a, *a), VFW_E_CIRCULAR_GRAPH);
    EXPECT_EQ(m_graph.Join(*a, *b), S_OK);
    EXPECT_EQ(m_graph.Join(*b, *c), S_OK);
    EXPECT_EQ(m_graph.Join(*c, *a), VFW_E_CIRCULAR_GRAPH);
    // Two ways to one filter are no circle.
    c->AddInput();
    a->AddOutput();
    EXPECT_EQ(m_graph.builder->Connect(a->pins.back().get(), c->pins.back().get()), S_OK);
}

TEST_F(GraphBuildingTest, ReconnectingAgreesAnewOrLeavesItAsItWas) {
    const auto source = m_graph.Add('s', "source"), sink = m_graph.Add('k', "sink");
    m_graph.Join(*source, *sink);
    const CMediaType former = sink->In()->connection_type();
    source->Out()->types = {mediakit_test::make_type(MEDIATYPE_Video, MEDIASUBTYPE_AVC1)};
    EXPECT_EQ(m_graph.builder->Reconnect(sink->In()), S_OK);
    EXPECT_TRUE(source->Out()->connection_type() == source->Out()->types[0]);
    const CMediaType latter = sink->In()->connection_type();
    EXPECT_FALSE(latter == former);

    source->Out()->types.clear();
    EXPECT_TRUE(FAILED(m_graph.builder->Reconnect(source->Out())));
    EXPECT_TRUE(sink->In()->IsConnected() && source->Out()->IsConnected());
    EXPECT_TRUE(sink->In()->connection_type() == latter);
    m_graph.control->Pause();
    EXPECT_EQ(m_graph.builder->Reconnect(source->Out()), VFW_E_NOT_STOPPED);
    EXPECT_TRUE(source->Out()->IsConnected());
}

TEST_F(GraphBuildingTest, RemovingAFilterEndsItsConnectionsUnlessTheGraphRuns) {
    const auto source = m_graph.Add('s', "source"), sink = m_graph.Add('k', "sink"), loose = m_graph.Add('k', "loose");
    m_graph.Join(*source, *sink);
    m_graph.control->Run();
    EXPECT_EQ(m_graph.builder->RemoveFilter(source.get()), VFW_E_NOT_STOPPED);
    EXPECT_TRUE(source->Out()->IsConnected() && sink->In()->IsConnected());
    EXPECT_EQ(m_graph.builder->RemoveFilter(loose.get()), S_OK);
    EXPECT_TRUE(loose->IsStopped()) << "what leaves a running graph does not run on";
    m_graph.control->Stop();
    EXPECT_EQ(m_graph.builder->RemoveFilter(source.get()), S_OK);
    EXPECT_FALSE(source->Out()->IsConnected() || sink->In()->IsConnected());
}

TEST(GraphLifeTest, TheLastReferenceStopsDisconnectsAndFrees) {
    ASSERT_EQ(TracedFilter::alive, 0);
    Journal last;
    {
        Graph graph;
        const auto source = graph.Add('s', "source"), sink = graph.Add('k', "sink");
        EXPECT_EQ(graph.Join(*source, *sink), S_OK);
        EXPECT_EQ(graph.control->Run(), S_OK);
        EXPECT_EQ(TracedFilter::alive, 2);
        graph.TakeJournal();
        graph.control.reset();
        graph.events.reset();
        graph.seeking.reset();
        graph.builder.reset();
        last = graph.journal;
        EXPECT_EQ(source->GetFilterGraph(), nullptr);
        EXPECT_FALSE(source->Out()->IsConnected());
        EXPECT_EQ(source->NotifyEvent(EC_USER, 0, 0), E_NOTIMPL);
    }
    EXPECT_EQ(last, (Journal{"sink.Stop", "source.Stop"}));
    EXPECT_EQ(TracedFilter::alive, 0);
}

}  // namespace
}  // namespace graph_test
