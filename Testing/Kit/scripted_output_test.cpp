#include "Testing/Kit/scripted_output.h"

#include "Testing/Kit/sample_recorder.h"

#include <gtest/gtest.h>

namespace mediakit_test {
namespace {

std::vector<scripted_sample> numbered(BYTE count) {
    std::vector<scripted_sample> script;
    for (BYTE i = 0; i < count; ++i)
        script.push_back({std::vector<BYTE>(i + std::size_t{1}, i), i * 400000, (i + 1) * 400000, i % 5 == 0, i == 7});
    return script;
}

class ScriptedOutputTest : public testing::Test {
protected:
    ScriptedOutputTest() { source->types = {make_type(MEDIATYPE_Video, MEDIASUBTYPE_H264)}; }

    void Start() {
        ASSERT_EQ(source->Connect(sink.pin, nullptr), S_OK);
        ASSERT_EQ(sink.filter->Pause(), S_OK);
        ASSERT_EQ(source.filter->Pause(), S_OK);
    }
    /// Upstream first: a source that is stopped sends nothing more.
    void Stop() {
        EXPECT_EQ(source.filter->Stop(), S_OK);
        EXPECT_EQ(sink.filter->Stop(), S_OK);
    }

    fake<sample_recorder> sink{L"in"};
    fake<scripted_output> source{L"out"};
};

TEST_F(ScriptedOutputTest, DeliversTheWholeScriptInEachRun) {
    source->script = numbered(50);
    for (int run = 1; run <= 2; ++run) {
        run == 1 ? Start() : (void)(sink.filter->Pause(), source.filter->Pause());
        ASSERT_TRUE(source->wait_until_done());
        EXPECT_EQ(source->delivered(), 50u);
        EXPECT_EQ(source->last_result(), S_OK);
        EXPECT_EQ(sink->ends(), run);
        Stop();
    }
    const auto samples = sink->samples();
    ASSERT_EQ(samples.size(), 100u);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const scripted_sample& expected = source->script[i % 50];
        EXPECT_EQ(samples[i].data, expected.bytes);
        EXPECT_EQ(samples[i].start, expected.start);
        EXPECT_EQ(samples[i].stop, expected.stop);
        EXPECT_EQ(samples[i].sync, expected.sync);
        EXPECT_EQ(samples[i].discontinuity, expected.discontinuity);
    }
}

TEST_F(ScriptedOutputTest, EndsAtThePeersWord) {
    const struct {
        HRESULT answer;
        int ends;
    } rows[] = {{S_FALSE, 1}, {E_FAIL, 0}};
    source->script = numbered(10);
    for (const auto& row : rows) {
        fake<sample_recorder> peer(L"in");
        peer->on_receive = [&, n = 0](IMediaSample*) mutable { return ++n == 4 ? row.answer : S_OK; };
        ASSERT_EQ(source->Connect(peer.pin, nullptr), S_OK);
        ASSERT_EQ(peer.filter->Pause(), S_OK);
        ASSERT_EQ(source.filter->Pause(), S_OK);
        ASSERT_TRUE(source->wait_until_done());
        EXPECT_EQ(source->delivered(), 3u);
        EXPECT_EQ(source->last_result(), row.answer);
        EXPECT_EQ(peer->ends(), row.ends);
        source.filter->Stop();
        source->Disconnect();
    }
}

TEST_F(ScriptedOutputTest, StopsWhileItWaitsForABuffer) {
    source->script = numbered(10);
    source->own_allocator = true;
    source->properties.cBuffers = 2;
    std::vector<ComPtr<IMediaSample>> held;
    sink->on_receive = [&](IMediaSample* sample) { return held.emplace_back(sample), S_OK; };
    Start();
    ASSERT_TRUE(sink->wait_for_samples(2));
    source.filter->Stop();
    EXPECT_TRUE(source->wait_until_done());
    EXPECT_EQ(source->delivered(), 2u);
    EXPECT_EQ(sink->ends(), 0);
    held.clear();
}

TEST_F(ScriptedOutputTest, SendsOnTheCallersThread) {
    Start();
    EXPECT_EQ(source->send({{1, 2, 3}, 10, 20}), S_OK);
    EXPECT_EQ(source->end(), S_OK);
    Stop();
    ASSERT_EQ(sink->samples().size(), 1u);
    EXPECT_EQ(sink->samples()[0].data, (std::vector<BYTE>{1, 2, 3}));
    EXPECT_TRUE(sink->wait_for_end());
    EXPECT_EQ(source->send({{4}}), VFW_E_NOT_COMMITTED);
}

}  // namespace
}  // namespace mediakit_test
