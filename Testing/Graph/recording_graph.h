// A recording as a host makes it: scripted sources, a multiplexer and a file sink over memory in a filter graph.
#pragma once

#include "Platform/DirectShow/IGraphBuilder.h"
#include "Platform/DirectShow/IMediaControl.h"
#include "Testing/Graph/recorded_movie.h"
#include "Testing/Kit/codec_types.h"
#include "Testing/Kit/file_sink_input.h"
#include "Testing/Kit/scripted_output.h"

#include <memory>
#include <vector>

namespace mediakit_test {

inline constexpr REFERENCE_TIME frame_time = 400'000;  ///< 25 frames a second
inline constexpr REFERENCE_TIME aac_time = 213'333;    ///< 1024 samples at 48 kHz, cut

class recording_graph {
public:
    /// With a sink that hides its stream the multiplexer has nowhere to write boxes to.
    explicit recording_graph(bool sink_offers_stream = true);
    ~recording_graph();

    /// A source with one pin, connected to the next free input.
    scripted_output& add(const CMediaType& type, std::vector<scripted_sample> script);

    HRESULT run() { return m_control->Run(); }
    HRESULT stop() { return m_control->Stop(); }
    /// All scripts are delivered.
    bool wait_for_sources();
    /// Runs all scripts and stops when the end of all streams has reached the sink.
    void record();

    IBaseFilter* mux() { return m_mux.get(); }
    file_sink_input& sink() { return *m_sink; }
    recorded_movie movie() { return read_movie(m_sink->file().bytes()); }

private:
    template <class Pin>
    Pin* add_filter(const wchar_t* name);

    std::vector<ComPtr<fake_filter>> m_fakes;
    std::vector<scripted_output*> m_sources;
    file_sink_input* m_sink = nullptr;
    ComPtr<IBaseFilter> m_mux;
    ComPtr<IGraphBuilder> m_graph;
    ComPtr<IMediaControl> m_control;
};

/// Access units one frame apart, in presentation order; a key unit is a sync sample.
std::vector<scripted_sample> video_script(const std::vector<byte_vector>& units, std::size_t interval);
/// ADTS frames with payloads of different sizes.
std::vector<scripted_sample> adts_script(std::size_t count, const adts_options& options = {});
/// The payload of the n-th frame of that script.
byte_vector aac_payload(std::size_t n);

/// What an access unit is in the file: its units of the kinds that are kept, with lengths.
byte_vector h264_sample(const byte_vector& access_unit);
byte_vector h265_sample(const byte_vector& access_unit);

}  // namespace mediakit_test
