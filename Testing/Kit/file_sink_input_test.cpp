#include "Testing/Kit/file_sink_input.h"

#include "Testing/Kit/scripted_output.h"

#include <gtest/gtest.h>

namespace mediakit_test {
namespace {

/// Says that its byte positions are scaled.
class scaled_output : public scripted_output, public IAMAsyncReaderTimestampScaling {
public:
    using scripted_output::scripted_output;

    DECLARE_IUNKNOWN
    HRESULT NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        if (riid == IID_IAMAsyncReaderTimestampScaling)
            return GetInterface(static_cast<IAMAsyncReaderTimestampScaling*>(this), ppv);
        return scripted_output::NonDelegatingQueryInterface(riid, ppv);
    }
    HRESULT GetTimestampMode(BOOL* raw) override { return *raw = FALSE, S_OK; }
    HRESULT SetTimestampMode(BOOL) override { return E_NOTIMPL; }
};

template <class Output>
struct Graph {
    Graph() {
        source->types = {make_type(MEDIATYPE_Stream, GUID_NULL)};
        EXPECT_EQ(source->Connect(sink.pin, nullptr), S_OK);
        EXPECT_EQ(sink.filter->Pause(), S_OK);
        EXPECT_EQ(source.filter->Pause(), S_OK);
    }
    fake<file_sink_input> sink{L"in"};
    fake<Output> source{L"out"};
};

TEST(FileSinkInput, WritesSamplesAtTheirPositionsAndStreamWritesBetween) {
    Graph<scripted_output> plain;
    EXPECT_EQ(plain.source->send({{4, 5}, 3, 5}), S_OK);
    EXPECT_EQ(plain.source->send({{1, 2}, 0, 2}), S_OK);
    const auto stream = ComPtr<IPin>(plain.sink.pin).query<IStream>();
    ASSERT_TRUE(stream);
    stream->Seek({2}, STREAM_SEEK_SET, nullptr);
    const BYTE three = 3;
    EXPECT_EQ(stream->Write(&three, 1, nullptr), S_OK);
    EXPECT_EQ(plain.sink->file().bytes(), (std::vector<BYTE>{1, 2, 3, 4, 5}));
    EXPECT_EQ(plain.sink->placements(), (std::vector<file_sink_input::placed>{{3, 2}, {0, 2}}));

    Graph<scaled_output> scaled;
    EXPECT_EQ(scaled.source->send({{9}, 20'000'000, 30'000'000}), S_OK);
    EXPECT_EQ(scaled.sink->file().bytes(), (std::vector<BYTE>{0, 0, 9}));
}

TEST(FileSinkInput, FailsAtTheWriteItWasToldToFail) {
    Graph<scripted_output> graph;
    graph.sink->file().fail(stream_call::write, 2, STG_E_MEDIUMFULL);
    EXPECT_EQ(graph.source->send({{1}, 0, 1}), S_OK);
    EXPECT_EQ(graph.source->send({{2}, 1, 2}), STG_E_MEDIUMFULL);
    EXPECT_EQ(graph.source->send({{3}, 2, 3}), S_OK);
    EXPECT_EQ(graph.sink->file().bytes(), (std::vector<BYTE>{1, 0, 3}));
    EXPECT_EQ(graph.sink->placements().size(), 2u);
}

TEST(FileSinkInput, HidesItsStream) {
    fake<file_sink_input> sink(L"in");
    sink->offer_stream = false;
    EXPECT_FALSE(ComPtr<IPin>(sink.pin).query<IStream>());
}

}  // namespace
}  // namespace mediakit_test
