#include "Tools/mediakit/extract.h"

#include "Tools/mediakit/interrupt.h"
#include "Tools/mediakit/log_watch.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/output_file.h"
#include "Tools/mediakit/playback_graph.h"
#include "Tools/mediakit/progress.h"
#include "Tools/mediakit/recording_summary.h"
#include "Tools/mediakit/standard_output.h"
#include "Tools/mediakit/system_error.h"
#include "Tools/mediakit/track_consumer.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

namespace mediakit_tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kTick = 200;  // milliseconds between looks at the progress
constexpr const char* kStandardOutput = "-";
/// Sound that an edit hides lies before time 0. 100 ns; some three years.
constexpr REFERENCE_TIME kBeforeAll = -1'000'000'000'000'000;

constexpr const char* kExtractFooter =
    "H.264 and H.265 come as Annex B with parameter sets, AAC as ADTS, PCM as WAVE; MPEG audio, AC-3\n"
    "and MPEG-4 Part 2 as they are. Ctrl-C ends it; what is written stays.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.";

class Extractor {
public:
    explicit Extractor(const ExtractOptions& options)
        : m_options(options),
          m_toFile(options.output != kStandardOutput),
          m_messages(options.quiet),
          m_log(m_messages, options.logLevel) {}

    int Run();

private:
    bool Prepare();
    bool FindStream();
    bool Write();
    void WatchUntilEnd();
    bool CheckOutput(bool written);
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - m_begin).count(); }
    std::string OutputName() const { return m_toFile ? m_options.output : "standard output"; }
    /// The first error is the one to tell.
    bool Fail(const std::string& error);
    std::string ToText() const;
    std::string ToJson() const;
    int Report();

    const ExtractOptions m_options;
    const bool m_toFile;
    Messages m_messages;
    LogWatch m_log;
    InterruptWatch m_interrupt;
    std::unique_ptr<TrackWriter> m_writer;
    ByteOutput m_output;
    std::optional<TrackConsumer> m_consumer;
    PlaybackGraph m_graph{m_log};  // goes before what its thread uses
    const Stream* m_stream = nullptr;
    bool m_extracted = false;  ///< the graph ran
    bool m_interrupted = false;
    std::string m_error;
    const Clock::time_point m_begin = Clock::now();
};

int Extractor::Run() {
    try {
        if (Prepare()) Write();
    } catch (const std::exception& failure) {
        Fail(failure.what());
    }
    m_graph.Stop();  // what failed may have left it running
    return Report();
}

bool Extractor::Fail(const std::string& error) {
    if (m_error.empty()) m_error = error;
    return false;
}

bool Extractor::Prepare() {
    if (m_toFile) {
        const std::string objection = OutputObjection(m_options.output, {m_options.file}, m_options.force);
        if (!objection.empty()) return Fail(m_options.output + ": " + objection);
    }
    if (!m_graph.Open(m_options.file, {m_options.strict})) return Fail(m_options.file + ": " + m_graph.Failure());
    if (!FindStream()) return false;
    std::string refusal;
    m_writer = MakeTrackWriter(m_stream->type, m_stream->track, m_options.raw, &refusal);
    if (m_writer) return true;
    return Fail(m_options.file + ": " + m_stream->name + " (" + m_stream->Entry() + "): " + refusal +
                "; --raw writes its samples as they are");
}

bool Extractor::FindStream() {
    const auto& streams = m_graph.Streams();
    if (streams.empty()) return Fail(m_options.file + ": " + m_graph.NoStreamsText());
    const std::optional<std::size_t> pin = m_options.pin;
    if (pin && *pin >= streams.size()) return Fail(m_options.file + ": " + m_graph.NoPinText(*pin));
    const auto video = std::ranges::find_if(streams, &Stream::IsVideo);
    m_stream = pin ? &streams[*pin] : video != streams.end() ? &*video : &streams.front();
    return true;
}

bool Extractor::Write() {
    m_consumer.emplace(*m_writer, m_output, m_messages, m_options.file + ": " + m_stream->name);
    if (!m_graph.ConnectTap(*m_stream, *m_consumer) || !m_graph.Seek(kBeforeAll))
        return Fail(m_options.file + ": " + m_graph.Failure());
    const DWORD error = m_output.Open(m_options.output);
    if (error != NO_ERROR) return Fail(OutputName() + ": cannot be created: " + SystemErrorText(error));
    bool written = m_writer->Begin(m_output);
    if (!m_graph.Run()) {
        Fail(m_options.file + ": " + m_graph.Failure());
    } else {
        m_extracted = true;
        WatchUntilEnd();
        if (!m_graph.Stop()) Fail(m_options.file + ": " + m_graph.Failure());
    }
    written = written && m_writer->End(m_output);
    return CheckOutput(written);
}

void Extractor::WatchUntilEnd() {
    using Outcome = PlaybackGraph::Outcome;
    Progress progress(m_messages, m_options);
    Outcome outcome = Outcome::TimedOut;
    while (outcome == Outcome::TimedOut) {
        outcome = m_graph.Wait(m_interrupt.Event(), kTick);
        progress.Update({m_consumer->Bytes(), m_stream->track.totalBytes, m_consumer->Position(), Seconds()});
    }
    progress.End();
    m_interrupted = outcome == Outcome::Interrupted;
}

bool Extractor::CheckOutput(bool written) {
    written = m_output.Flush() && written;
    m_output.Close();
    if (!written && m_output.Error() != NO_ERROR)
        Fail(OutputName() + ": byte " + std::to_string(m_output.Size()) +
             ": writing failed: " + SystemErrorText(m_output.Error()));
    if (m_extracted && m_consumer->Samples() == 0) Fail(m_options.file + ": " + m_stream->name + " has no samples");
    if (m_toFile) RemoveIfEmpty(m_options.output);
    return m_error.empty();
}

std::string Extractor::ToText() const {
    const char* const state = !m_error.empty() ? "incomplete; " : m_interrupted ? "interrupted; " : "";
    std::string text = state + std::string("extracted ") + OutputName() + "\n  " + m_stream->name + ", track " +
                       std::to_string(m_stream->track.trackId) + " (" + m_stream->Entry() + "): " + m_writer->Form() +
                       ", " + std::to_string(m_consumer->Samples()) +
                       (m_consumer->Samples() == 1 ? " sample" : " samples");
    if (m_consumer->Damaged() > 0) text += " (" + std::to_string(m_consumer->Damaged()) + " damaged)";
    return text + ", " + SizeText(m_output.Size()) + "\n";
}

std::string Extractor::ToJson() const {
    nlohmann::ordered_json json;
    json["status"] = m_error.empty() ? "done" : "failed";
    if (!m_error.empty()) json["error"] = m_error;
    json["interrupted"] = m_interrupted;
    json["file"] = m_options.file;
    json["output"] = m_options.output;
    if (m_stream != nullptr) {
        json["pin"] = m_stream->name;
        json["track_id"] = m_stream->track.trackId;
        json["entry"] = m_stream->Entry();
    }
    if (m_writer) json["form"] = m_writer->Form();
    json["samples"] = m_consumer ? m_consumer->Samples() : 0;
    json["damaged_samples"] = m_consumer ? m_consumer->Damaged() : 0;
    json["size"] = m_output.Size();
    json["wall_time"] = Seconds();
    json["warnings"] = m_messages.Warnings();
    // Texts out of files need not be valid UTF-8.
    return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

int Extractor::Report() {
    if (!m_error.empty()) m_messages.Error(m_error);
    bool printed = true;
    if (m_options.json)
        printed = Print(ToJson(), m_messages);
    else if (m_extracted && !m_options.quiet && m_output.Size() > 0 && m_toFile)
        printed = Print(ToText(), m_messages);
    else if (m_extracted && !m_options.quiet && m_output.Size() > 0)
        std::fputs(ToText().c_str(), stderr);  // standard output has the stream
    return printed && m_error.empty() ? 0 : 1;
}

void CheckTogether(const ExtractOptions& options) {
    if (options.json && options.output == kStandardOutput)
        throw CLI::ValidationError("--json", "standard output has the stream already");
}

}  // namespace

CLI::App* AddExtractVerb(CLI::App& program, ExtractOptions& options) {
    CLI::App* verb = program.add_subcommand("extract", "Write a track of an MP4 file as an elementary stream");
    verb->footer(kExtractFooter);
    AddProgressOption(*verb, options);
    AddFileOptions(*verb, options, "Print the summary as one JSON object");
    AddPinOption(*verb, options.pin, "Number of the pin, from 0; without it the first video, else the first");
    AddOutputOption(*verb, options.output, "The file to write, or - for standard output", "OUT");
    verb->add_flag("--raw", options.raw, "Sample after sample, untouched");
    verb->add_flag("--force", options.force, "Replace an existing output");
    verb->final_callback([&options] { CheckTogether(options); });
    return verb;
}

int Extract(const ExtractOptions& options) { return Extractor(options).Run(); }

}  // namespace mediakit_tool
