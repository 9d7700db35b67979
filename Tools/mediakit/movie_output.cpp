#include "Tools/mediakit/movie_output.h"

#include "MediaKit/Factories.h"
#include "MediaKit/IOverrideMediaType.h"
#include "MediaKit/IRecordingPolicy.h"
#include "Platform/DirectShow/IFileSinkFilter2.h"
#include "Platform/Kernel/Text.h"
#include "Tools/mediakit/playback_graph.h"
#include "Tools/mediakit/system_error.h"

namespace mediakit_tool {

using namespace Norvane::MediaKit::Filters;

bool MovieOutput::Make(IGraphBuilder& graph, const MovieOutputSettings& settings) {
    m_graph = &graph;
    return Check(CreateMP4MediaMuxFilter(m_multiplexer.put()), "making the multiplexer") &&
           Check(CreateSharedFileSinkFilter(m_sink.put()), "making the file sink") &&
           Check(graph.AddFilter(m_multiplexer.get(), L"Multiplexer"), "adding the multiplexer") &&
           Check(graph.AddFilter(m_sink.get(), L"File sink"), "adding the file sink") && Configure(settings);
}

bool MovieOutput::Configure(const MovieOutputSettings& settings) {
    m_settings = m_multiplexer.query<qz_MPEGSystemFilters::IMPEG4Mux>();
    const auto file = m_sink.query<IFileSinkFilter2>();
    if (!m_settings || !file) return Check(E_NOINTERFACE, "setting up the filters");
    m_settings->SetMoveMoovToFront(settings.faststart);
    if (settings.software) m_settings->SetSoftware(win32::ConvertFromUtf8(*settings.software).c_str());
    if (settings.title) m_settings->SetDescription(win32::ConvertFromUtf8(*settings.title).c_str());
    file->SetMode(AM_FILE_OVERWRITE);
    return Check(file->SetFileName(win32::ConvertFromUtf8(settings.path).c_str(), nullptr), "naming the output");
}

bool MovieOutput::AddTrack(IPin& output, const TrackSettings& settings) {
    const ComPtr<IPin> input = FreePin(*m_multiplexer, PINDIR_INPUT);
    if (!Check(m_graph->ConnectDirect(&output, input.get(), nullptr), "connecting a track")) return false;
    if (const auto policy = input.query<IRecordingPolicy>()) {
        const Norvane::MediaKit::Filters::RecordingOptions options{.keepEveryH265Unit = true,
                                                                   .everyRandomAccessPictureIsSync = true,
                                                                   .timescale = settings.timescale,
                                                                   .keepStartTime = settings.keepStart,
                                                                   .mediaTimesAreDecodeTimes = settings.decodeTimes};
        policy->SetOptions(&options);
    }
    const auto orientation = input.query<qz_DSFilters::IOverrideMediaType>();
    if (settings.orientation == qz_DSFilters::VideoOrientation_None || !orientation) return true;
    return Check(orientation->SetOrientation(settings.orientation), "setting the rotation");
}

bool MovieOutput::ConnectSink() {
    const ComPtr<IPin> output = FreePin(*m_multiplexer, PINDIR_OUTPUT);
    const ComPtr<IPin> input = FreePin(*m_sink, PINDIR_INPUT);
    return Check(m_graph->ConnectDirect(output.get(), input.get(), nullptr), "connecting the file sink");
}

bool MovieOutput::Accepts(const CMediaType& type) const {
    return FreePin(*m_multiplexer, PINDIR_INPUT)->QueryAccept(&type) == S_OK;
}

REFERENCE_TIME MovieOutput::Position() const {
    REFERENCE_TIME position = 0;
    m_settings->GetCurrentPosition(&position);
    return position;
}

bool MovieOutput::Check(HRESULT hr, const std::string& what) {
    if (SUCCEEDED(hr)) return true;
    if (m_failure.empty()) m_failure = what + ": " + ResultText(hr);
    return false;
}

}  // namespace mediakit_tool
