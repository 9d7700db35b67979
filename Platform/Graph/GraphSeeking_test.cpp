// Positions of the graph.
#include "Platform/Graph/GraphTestFilters_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace graph_test {
namespace {

using testing::_;
using testing::DoAll;
using testing::NiceMock;
using testing::Return;
using testing::SetArgPointee;

/// Outlives whoever holds it.
class MockSeeking : public IMediaSeeking {
public:
    HRESULT QueryInterface(REFIID, void** ppv) override { return GetInterface<IMediaSeeking>(this, ppv); }
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }

    MOCK_METHOD(HRESULT, GetCapabilities, (DWORD*), (override));
    MOCK_METHOD(HRESULT, CheckCapabilities, (DWORD*), (override));
    MOCK_METHOD(HRESULT, IsFormatSupported, (const GUID*), (override));
    MOCK_METHOD(HRESULT, QueryPreferredFormat, (GUID*), (override));
    MOCK_METHOD(HRESULT, GetTimeFormat, (GUID*), (override));
    MOCK_METHOD(HRESULT, IsUsingTimeFormat, (const GUID*), (override));
    MOCK_METHOD(HRESULT, SetTimeFormat, (const GUID*), (override));
    MOCK_METHOD(HRESULT, GetDuration, (LONGLONG*), (override));
    MOCK_METHOD(HRESULT, GetStopPosition, (LONGLONG*), (override));
    MOCK_METHOD(HRESULT, GetCurrentPosition, (LONGLONG*), (override));
    MOCK_METHOD(HRESULT, ConvertTimeFormat, (LONGLONG*, const GUID*, LONGLONG, const GUID*), (override));
    MOCK_METHOD(HRESULT, SetPositions, (LONGLONG*, DWORD, LONGLONG*, DWORD), (override));
    MOCK_METHOD(HRESULT, GetPositions, (LONGLONG*, LONGLONG*), (override));
    MOCK_METHOD(HRESULT, GetAvailable, (LONGLONG*, LONGLONG*), (override));
    MOCK_METHOD(HRESULT, SetRate, (double), (override));
    MOCK_METHOD(HRESULT, GetRate, (double*), (override));
    MOCK_METHOD(HRESULT, GetPreroll, (LONGLONG*), (override));
};

class GraphSeekingTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(m_graph.Join(*m_source, *m_sink), S_OK);
        ASSERT_EQ(m_graph.Join(*m_source2, *m_sink2), S_OK);
        m_source->seeking = &m_unasked;  // no renderer
        m_sink->seeking = &m_first;
        m_sink2->seeking = &m_second;
    }

    Graph m_graph;
    ComPtr<TracedFilter> m_source = m_graph.Add('s', "source");
    ComPtr<TracedFilter> m_sink = m_graph.Add('k', "sink");
    ComPtr<TracedFilter> m_source2 = m_graph.Add('s', "source2");
    ComPtr<TracedFilter> m_sink2 = m_graph.Add('k', "sink2");
    NiceMock<MockSeeking> m_first, m_second;
    testing::StrictMock<MockSeeking> m_unasked;
};

TEST_F(GraphSeekingTest, WithoutASeekableRendererNothingIsOffered) {
    m_sink->seeking = m_sink2->seeking = nullptr;
    LONGLONG value = 0;
    DWORD capabilities = 1;
    EXPECT_EQ(m_graph.seeking->GetDuration(&value), E_NOTIMPL);
    EXPECT_EQ(m_graph.seeking->GetCurrentPosition(&value), E_NOTIMPL);
    EXPECT_EQ(m_graph.seeking->GetCapabilities(&capabilities), E_NOTIMPL);
    EXPECT_EQ(capabilities, 0u);
    EXPECT_EQ(m_graph.seeking->SetPositions(&value, AM_SEEKING_AbsolutePositioning, nullptr, 0), E_NOTIMPL);
}

TEST_F(GraphSeekingTest, TheDurationIsTheLongestAndTheRestTheCommonOrTheFirst) {
    EXPECT_CALL(m_first, GetDuration).WillRepeatedly(DoAll(SetArgPointee<0>(50), Return(S_OK)));
    EXPECT_CALL(m_second, GetDuration).WillOnce(DoAll(SetArgPointee<0>(70), Return(S_OK))).WillOnce(Return(E_FAIL));
    LONGLONG value = 0;
    EXPECT_EQ(m_graph.seeking->GetDuration(&value), S_OK);
    EXPECT_EQ(value, 70);
    EXPECT_EQ(m_graph.seeking->GetDuration(&value), S_OK);
    EXPECT_EQ(value, 50);

    EXPECT_CALL(m_first, GetCurrentPosition).WillOnce(Return(E_NOTIMPL));
    EXPECT_CALL(m_second, GetCurrentPosition).WillOnce(DoAll(SetArgPointee<0>(33), Return(S_OK)));
    EXPECT_EQ(m_graph.seeking->GetCurrentPosition(&value), S_OK);
    EXPECT_EQ(value, 33);

    EXPECT_CALL(m_first, GetCapabilities).WillRepeatedly(DoAll(SetArgPointee<0>(0x27), Return(S_OK)));
    EXPECT_CALL(m_second, GetCapabilities).WillRepeatedly(DoAll(SetArgPointee<0>(0x33), Return(S_OK)));
    DWORD capabilities = 0;
    EXPECT_EQ(m_graph.seeking->GetCapabilities(&capabilities), S_OK);
    EXPECT_EQ(capabilities, 0x23u);
    const struct {
        DWORD wanted, got;
        HRESULT hr;
    } checks[] = {{0x21, 0x21, S_OK}, {0x31, 0x21, S_FALSE}, {0x10, 0, E_FAIL}};
    for (const auto& check : checks) {
        capabilities = check.wanted;
        EXPECT_EQ(m_graph.seeking->CheckCapabilities(&capabilities), check.hr);
        EXPECT_EQ(capabilities, check.got);
    }

    EXPECT_CALL(m_first, GetAvailable).WillOnce(DoAll(SetArgPointee<0>(5), SetArgPointee<1>(90), Return(S_OK)));
    EXPECT_CALL(m_second, GetAvailable).WillOnce(DoAll(SetArgPointee<0>(2), SetArgPointee<1>(80), Return(S_OK)));
    LONGLONG latest = 0;
    EXPECT_EQ(m_graph.seeking->GetAvailable(&value, &latest), S_OK);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(latest, 80);
    EXPECT_CALL(m_second, IsFormatSupported).WillOnce(Return(S_FALSE));
    EXPECT_EQ(m_graph.seeking->IsFormatSupported(&TIME_FORMAT_BYTE), S_FALSE) << "all must";
}

TEST_F(GraphSeekingTest, ASeekReachesEveryRendererWithTheGraphPaused) {
    m_graph.control->Run();
    const REFERENCE_TIME before = m_sink->startTime;
    m_sink->Complete();
    m_graph.TakeJournal();
    const auto whilePaused = [this](LONGLONG* current, DWORD flags, LONGLONG* stop, DWORD) {
        EXPECT_FALSE(m_sink->IsStopped());
        EXPECT_EQ(m_graph.journal.size(), 4u);
        EXPECT_EQ(*current, 1000);
        EXPECT_EQ(flags, AM_SEEKING_AbsolutePositioning | AM_SEEKING_ReturnTime);
        EXPECT_EQ(stop, nullptr);
        return S_OK;
    };
    EXPECT_CALL(m_first, SetPositions).WillOnce([&](LONGLONG* current, DWORD flags, LONGLONG* stop, DWORD stopFlags) {
        const HRESULT hr = whilePaused(current, flags, stop, stopFlags);
        *current = 960;
        return hr;
    });
    EXPECT_CALL(m_second, SetPositions).WillOnce([&](LONGLONG* current, DWORD flags, LONGLONG* stop, DWORD stopFlags) {
        const HRESULT hr = whilePaused(current, flags, stop, stopFlags);
        *current = 980;
        return hr;
    });
    LONGLONG current = 1000;
    EXPECT_EQ(m_graph.seeking->SetPositions(&current, AM_SEEKING_AbsolutePositioning | AM_SEEKING_ReturnTime, nullptr,
                                            AM_SEEKING_NoPositioning),
              S_OK);
    EXPECT_EQ(current, 960) << "what the first one came to";
    EXPECT_EQ(m_graph.journal.size(), 8u) << "paused and run again";
    EXPECT_EQ(m_graph.journal.back().substr(m_graph.journal.back().find('.')), ".Run");
    EXPECT_GT(m_sink->startTime, before) << "stream time starts anew";

    // Completion starts anew as well.
    LONG code = 0;
    m_sink2->Complete();
    EXPECT_EQ(m_graph.events->WaitForCompletion(0, &code), E_ABORT);
    m_sink->Complete();
    EXPECT_EQ(m_graph.events->WaitForCompletion(0, &code), S_OK);
}

TEST_F(GraphSeekingTest, AFailedSeekTellsAllAndRunsOn) {
    m_graph.control->Run();
    LONGLONG current = 7;
    EXPECT_CALL(m_first, SetPositions).WillOnce(Return(E_INVALIDARG));
    EXPECT_CALL(m_second, SetPositions).WillOnce(Return(S_OK));
    EXPECT_EQ(m_graph.seeking->SetPositions(&current, AM_SEEKING_AbsolutePositioning, nullptr, 0), E_INVALIDARG);
    OAFilterState state = 0;
    m_graph.control->GetState(0, &state);
    EXPECT_EQ(state, State_Running);
    EXPECT_CALL(m_first, SetRate(2.0)).WillOnce(Return(S_OK));
    EXPECT_CALL(m_second, SetRate(2.0)).WillOnce(Return(S_OK));
    EXPECT_EQ(m_graph.seeking->SetRate(2.0), S_OK);
}

}  // namespace
}  // namespace graph_test
