// Building and writing `moov` for a recording of a million samples, and of a tenth of it: linear, or not?
#include "VideoIO/StreamFilters/Authoring/Movie.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

using namespace Norvane::MediaKit::Filters;

namespace {

/// Takes bytes in as a file would, without one.
class memory_file_stream final : public vio::byte_stream {
public:
    void close() override {}
    std::uint64_t size() override { return m_bytes.size(); }
    std::uint64_t tell() override { return m_position; }
    bool skip(std::int64_t delta) override { return seek(m_position + static_cast<std::uint64_t>(delta)); }
    bool seek(std::uint64_t position) override {
        m_position = position;
        return true;
    }
    bool read(void*, std::uint32_t) override { return false; }
    bool write(const void* buffer, std::uint32_t count) override {
        if (m_bytes.size() < m_position + count) m_bytes.resize(m_position + count);
        std::memcpy(m_bytes.data() + m_position, buffer, count);
        m_position += count;
        return true;
    }
    bool write_zeros(std::uint32_t count) override {
        const std::vector<char> zeros(count);
        return write(zeros.data(), count);
    }
    void flush() override {}
    void move(std::uint64_t, std::uint64_t, std::uint64_t) override {}

private:
    std::vector<char> m_bytes;
    std::uint64_t m_position = 0;
};

CMediaType VideoType() {
    CMediaType type(&MEDIATYPE_Video);
    type.subtype = MEDIASUBTYPE_H264;
    type.formattype = FORMAT_VideoInfo;
    VIDEOINFOHEADER format{};
    format.AvgTimePerFrame = 400000;
    format.bmiHeader.biWidth = 1920;
    format.bmiHeader.biHeight = 1080;
    type.SetFormat(reinterpret_cast<const BYTE*>(&format), sizeof format);
    return type;
}

/// Groups of an I picture and three B pictures between P pictures, a chunk every ten samples.
void Fill(MovieTrack& track, std::size_t samples) {
    static constexpr int DisplayOrder[] = {0, 4, 2, 1, 3};
    track.timescale = 25;
    track.rate = {25, 1};
    std::uint64_t offset = 32;
    for (std::size_t i = 0; i < samples; ++i) {
        const auto shown = static_cast<REFERENCE_TIME>(i / 5 * 5) + DisplayOrder[i % 5];
        const REFERENCE_TIME start = shown * 400000;
        track.NoteVideoArrival(start);
        track.AppendSample({offset, start, static_cast<std::uint32_t>(1000 + i % 700), i % 50 == 0}, start + 400000,
                           true, L"Input_0");
        offset += 1000 + i % 700;
        if (i % 10 == 9) track.AppendChunk(i - 9, 0x80000000);
    }
}

void BuildAndWriteMoov(benchmark::State& state) {
    const auto samples = static_cast<std::size_t>(state.range(0));
    const CMediaType type = VideoType();
    for (auto _ : state) {
        state.PauseTiming();
        MovieTrack track;
        track.handler = std::make_unique<details::byte_stream_handler>(type);
        Fill(track, samples);
        Movie movie;
        movie.Start(std::make_shared<memory_file_stream>(), MovieSettings{}, {{&track, &type, 4}});
        state.ResumeTiming();
        movie.Finalize(true, false);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * samples));
}
BENCHMARK(BuildAndWriteMoov)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->Iterations(5);

void EnterSample(benchmark::State& state) {
    const auto samples = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        MovieTrack track;
        Fill(track, samples);
        benchmark::DoNotOptimize(track.samples.size());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * samples));
}
BENCHMARK(EnterSample)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

}  // namespace
