#include "Testing/Graph/recording_graph.h"

#include "MediaKit/Factories.h"
#include "Platform/Graph/CFilterGraph.h"
#include "Testing/Kit/pins.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace mediakit_test {

namespace {

/// A graph that cannot be built leaves nothing to test.
void require(bool condition, const char* what) {
    if (condition) return;
    ADD_FAILURE() << what;
    std::abort();
}

}  // namespace

recording_graph::recording_graph(bool sink_offers_stream) {
    require(CreateFilterGraph(m_graph.put()) == S_OK, "a graph");
    m_control = m_graph.query<IMediaControl>();
    require(Norvane::MediaKit::Filters::CreateMP4MediaMuxFilter(m_mux.put()) == S_OK, "a multiplexer");
    require(m_graph->AddFilter(m_mux.get(), L"mux") == S_OK, "the multiplexer in the graph");
    m_sink = add_filter<file_sink_input>(L"sink");
    m_sink->offer_stream = sink_offers_stream;
    const auto output = free_pin(m_mux.get(), PINDIR_OUTPUT);
    require(m_graph->ConnectDirect(output.get(), m_sink, nullptr) == S_OK, "the sink's connection");
}

recording_graph::~recording_graph() {
    m_control->Stop();
    m_control.reset();
    m_graph.reset();
}

template <class Pin>
Pin* recording_graph::add_filter(const wchar_t* name) {
    const ComPtr<fake_filter> filter(new fake_filter);
    Pin* const pin = filter->add<Pin>(name);
    require(m_graph->AddFilter(filter.get(), name) == S_OK, "a filter in the graph");
    m_fakes.push_back(filter);
    return pin;
}

scripted_output& recording_graph::add(const CMediaType& type, std::vector<scripted_sample> script) {
    const std::wstring name = L"source " + std::to_wstring(m_sources.size());
    auto* const source = add_filter<scripted_output>(name.c_str());
    source->types = {type};
    source->script = std::move(script);
    m_sources.push_back(source);
    const auto input = free_pin(m_mux.get(), PINDIR_INPUT);
    require(input && m_graph->ConnectDirect(source, input.get(), nullptr) == S_OK, "a source's connection");
    return *source;
}

bool recording_graph::wait_for_sources() {
    bool done = true;
    for (scripted_output* source : m_sources) done = source->wait_until_done() && done;
    return done;
}

void recording_graph::record() {
    EXPECT_GE(run(), S_OK);
    EXPECT_TRUE(wait_for_sources());
    EXPECT_TRUE(m_sink->wait_for_end());
    EXPECT_EQ(stop(), S_OK);
}

std::vector<scripted_sample> video_script(const std::vector<byte_vector>& units, std::size_t interval) {
    std::vector<scripted_sample> script;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const auto start = static_cast<REFERENCE_TIME>(i) * frame_time;
        script.push_back({units[i], start, start + frame_time, i % interval == 0});
    }
    return script;
}

byte_vector aac_payload(std::size_t n) { return byte_vector(20 + n % 7, static_cast<std::uint8_t>(n)); }

std::vector<scripted_sample> adts_script(std::size_t count, const adts_options& options) {
    std::vector<scripted_sample> script;
    for (std::size_t i = 0; i < count; ++i) {
        const auto start = static_cast<REFERENCE_TIME>(i) * aac_time;
        script.push_back({adts_frame(aac_payload(i), options), start, start + aac_time});
    }
    return script;
}

byte_vector h264_sample(const byte_vector& access_unit) {
    std::vector<byte_vector> kept;
    for (const byte_vector& unit : split_annex_b(access_unit)) {
        const unsigned type = unit[0] & 0x1F;
        if (type != 6 && type != 9) kept.push_back(unit);  // neither messages nor delimiters
    }
    return with_lengths(kept);
}

byte_vector h265_sample(const byte_vector& access_unit) { return with_lengths(split_annex_b(access_unit)); }

}  // namespace mediakit_test
