// A multiplexer between scripted sources and a file sink in memory.
#pragma once

#include "Testing/Kit/codec_types.h"
#include "Testing/Kit/file_sink_input.h"
#include "Testing/Kit/h264_units.h"
#include "Testing/Kit/log_capture.h"
#include "Testing/Kit/scripted_output.h"
#include "VideoIO/StreamFilters/Multiplexer/MP4MediaMuxFilter2.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Norvane::MediaKit::Filters::testdata {

inline constexpr REFERENCE_TIME kFrame = 400000;

inline std::uint64_t FixedClock() { return 0xD0000000; }

/// Connect() joins everything; Play() lets samples flow. What was logged up to level 3 is kept.
struct MuxRig {
    using Source = mediakit_test::fake<mediakit_test::scripted_output>;

    MuxRig() : mux(new MP4MediaMuxFilter(nullptr, nullptr, FixedClock)) { mux->JoinFilterGraph(graph.get(), L"mux"); }
    ~MuxRig() {
        Stop();
        for (int i = 0; i < mux->GetPinCount(); ++i) mux->GetPin(i)->Disconnect();
        for (const auto& source : sources) source->pin->Disconnect();
        sink.pin->Disconnect();
        mux->JoinFilterGraph(nullptr, nullptr);
    }

    mediakit_test::log_capture log{5};
    ComPtr<mediakit_test::event_graph> graph{new mediakit_test::event_graph};
    ComPtr<MP4MediaMuxFilter> mux;
    mediakit_test::fake<mediakit_test::file_sink_input> sink{L"in"};
    std::vector<std::unique_ptr<Source>> sources;

    MP4MediaMuxInputPin& Input(int n) { return static_cast<MP4MediaMuxInputPin&>(*mux->GetPin(n)); }
    MP4MediaMuxOutputPin& Output() { return static_cast<MP4MediaMuxOutputPin&>(*mux->GetPin(mux->GetPinCount() - 1)); }
    mediakit_test::scripted_output& operator[](std::size_t n) { return *sources[n]->pin; }

    /// A further source, connected to the free input pin.
    HRESULT AddSource(const CMediaType& type, LONG bufferSize = 4096) {
        sources.push_back(std::make_unique<Source>(L"out"));
        sources.back()->pin->properties.cbBuffer = bufferSize;
        return sources.back()->pin->Connect(&Input(mux->GetPinCount() - 2), &type);
    }
    RecordingResult Result() {
        RecordingResult result;
        EXPECT_EQ(mux->GetRecordingResult(&result), S_OK);
        return result;
    }
    HRESULT ConnectSink() { return Output().Connect(sink.pin, nullptr); }
    void ConnectVideo() {
        ASSERT_EQ(AddSource(mediakit_test::avc1_type(mediakit_test::h264_units(), kFrame)), S_OK);
        ASSERT_EQ(ConnectSink(), S_OK);
    }
    void ConnectVideoAndAudio() {
        ConnectVideo();
        ASSERT_EQ(AddSource(mediakit_test::aac_type()), S_OK);
    }
    void Play() {
        ASSERT_EQ(sink.filter->Pause(), S_OK);
        ASSERT_EQ(mux->Pause(), S_OK);
        for (const auto& source : sources) ASSERT_EQ(source->filter->Pause(), S_OK);
    }
    HRESULT Stop() {
        for (const auto& source : sources) source->filter->Stop();
        const HRESULT hr = mux->Stop();
        sink.filter->Stop();
        return hr;
    }
    /// Sample n of the source, filled with bytes of its own.
    HRESULT Send(std::size_t source, int n, std::size_t size = 10, REFERENCE_TIME duration = kFrame) {
        const auto fill = static_cast<BYTE>(source * 100 + static_cast<std::size_t>(n));
        return (*this)[source].send({std::vector<BYTE>(size, fill), n * duration, (n + 1) * duration, n % 5 == 0});
    }

    struct Box {
        std::string type;
        std::uint64_t offset;
        std::uint64_t size;
    };
    /// The top level of the file as far as its sizes are valid.
    std::vector<Box> Boxes() {
        const std::vector<BYTE> bytes = sink->file().bytes();
        std::vector<Box> boxes;
        for (std::size_t at = 0; at + 8 <= bytes.size();) {
            const std::uint64_t size =
                std::uint64_t{bytes[at]} << 24 | bytes[at + 1] << 16 | bytes[at + 2] << 8 | bytes[at + 3];
            const auto type = bytes.begin() + static_cast<long>(at) + 4;
            boxes.push_back({std::string(type, type + 4), at, size});
            if (size < 8) break;
            at += size;
        }
        return boxes;
    }
    std::string Layout() {
        std::string layout;
        for (const Box& box : Boxes()) layout += (layout.empty() ? "" : " ") + box.type;
        return layout;
    }
    /// Every sample that a new consumer of the track is given.
    std::vector<LiveSampleInfo> Index(std::uint32_t track) {
        std::vector<LiveSampleInfo> samples;
        const std::uint64_t key = 1000 + track;
        const wil::unique_event abort{wil::EventOptions::ManualReset};
        mux->AddConsumer(track, key, L"test", 0, 0, nullptr);
        if (mux->GetSamples(track, key, &samples, 0, abort.get()) != S_OK) samples.clear();
        mux->RemoveConsumer(track, key);
        return samples;
    }
    /// The bytes of a sample in the file.
    std::vector<BYTE> Read(const LiveSampleInfo& sample) {
        const std::vector<BYTE> bytes = sink->file().bytes();
        if (sample.offset + sample.size > bytes.size()) return {};
        const auto from = bytes.begin() + static_cast<long>(sample.offset);
        return {from, from + static_cast<long>(sample.size)};
    }
};

}  // namespace Norvane::MediaKit::Filters::testdata
