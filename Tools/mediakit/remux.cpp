#include "Tools/mediakit/remux.h"

#include "Tools/mediakit/disk_guard.h"
#include "Tools/mediakit/interrupt.h"
#include "Tools/mediakit/log_watch.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/output_file.h"
#include "Tools/mediakit/progress.h"
#include "Tools/mediakit/remux_graph.h"
#include "Tools/mediakit/remux_summary.h"
#include "Tools/mediakit/standard_output.h"
#include "Tools/mediakit/system_error.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>

namespace mediakit_tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kTick = 200;  // milliseconds between looks at the progress

constexpr const char* kRemuxFooter =
    "H.264, H.265 and AAC are copied as they are and with their times; the first sample of H.265 gets the\n"
    "parameter sets that it lacks. A track of another kind is left out, and the summary says so. Ctrl-C ends\n"
    "the copy; the file is finished.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.";

/// "1 damaged sample"
std::string SamplesText(std::uint64_t count, const char* kind = "") {
    return std::to_string(count) + " " + kind + (count == 1 ? "sample" : "samples");
}

class Remuxer {
public:
    explicit Remuxer(const RemuxOptions& options)
        : m_options(options), m_messages(options.quiet), m_log(m_messages, options.logLevel) {}

    int Run();

private:
    bool CopyTracks();
    bool Prepare();
    bool Copy();
    bool LeaveOutBlocking();
    void WatchUntilEnd();
    void NoteBlocking();
    void CheckGraph();
    void CheckWriting();
    void Interrupt();
    void GiveUp(const std::string& error);
    /// The first error is the one to tell.
    bool Fail(const std::string& error);
    void DescribeTracks();
    bool NoTracks();
    void Summarize();
    int Report();

    std::uint64_t Samples() const;
    ProgressState State() const;
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - m_begin).count(); }

    const RemuxOptions m_options;
    Messages m_messages;
    LogWatch m_log;
    InterruptWatch m_interrupt;
    std::optional<DiskGuard> m_disk;
    std::optional<RemuxControl> m_control;
    RemuxGraph::Refusals m_refused;
    std::optional<RemuxGraph> m_graph;
    std::vector<std::size_t> m_blocking;  ///< streams that the multiplexer would wait for in vain
    const Clock::time_point m_begin = Clock::now();
    RemuxSummary m_summary;
    bool m_copied = false;  ///< the graph ran
    bool m_giveUp = false;  ///< stop without waiting for the tracks
};

int Remuxer::Run() {
    m_summary.input = m_options.file;
    m_summary.output = m_options.output;
    try {
        m_copied = CopyTracks();
    } catch (const std::exception& failure) {
        Fail(failure.what());
    }
    return Report();
}

bool Remuxer::CopyTracks() {
    const std::string objection = OutputObjection(m_options.output, {m_options.file}, m_options.force);
    if (!objection.empty()) return Fail(m_options.output + ": " + objection);
    do {
        if (!Prepare() || !Copy()) return false;
    } while (LeaveOutBlocking());
    if (m_control->diskFull)
        Fail(m_options.output + ": byte " + std::to_string(OutputSize(m_options.output)) +
             ": the disk is full; the copy ends where its index still fits");
    Summarize();
    return true;
}

bool Remuxer::Prepare() {
    m_graph.reset();
    m_control.reset();
    m_disk.emplace(
        m_options.output, 2, [this] { return Samples(); }, [] {});
    m_control.emplace(*m_disk);
    m_graph.emplace(m_log, *m_control, m_refused);
    if (!m_graph->Open(m_options.file, {m_options.strict})) return Fail(m_options.file + ": " + m_graph->Failure());
    if (m_graph->Source().Streams().empty()) return Fail(m_options.file + ": " + m_graph->Source().NoStreamsText());
    if (!m_graph->Build({.path = m_options.output, .faststart = m_options.faststart, .software = {}, .title = {}}))
        return Fail(m_options.output + ": " + m_graph->Failure());
    DescribeTracks();
    return !m_graph->Tracks().empty() || NoTracks();
}

bool Remuxer::NoTracks() {
    std::string why;
    for (const LeftOutTrack& track : m_summary.leftOut) why += (why.empty() ? ": " : "; ") + ToText(track);
    return Fail(m_options.file + ": has no track that can be copied" + why);
}

void Remuxer::DescribeTracks() {
    const auto origin = [](const Stream& stream) {
        return TrackOrigin{
            .pin = stream.name, .trackId = stream.track.trackId, .entry = stream.Entry(), .facts = FactsOf(stream)};
    };
    m_summary.tracks.clear();
    m_summary.leftOut.clear();
    for (const auto& track : m_graph->Tracks()) m_summary.tracks.push_back({.origin = origin(*track.stream)});
    for (const auto& track : m_graph->TracksLeftOut())
        m_summary.leftOut.push_back({origin(*track.stream), track.reason});
    for (const FileTrack& track : m_graph->Source().TracksNotPlayed())
        m_summary.leftOut.push_back(
            {{.trackId = track.trackId, .entry = track.entry, .handler = track.handler},
             track.entry.empty() ? "it has no sample description" : "no reader for '" + track.entry + "'"});
}

bool Remuxer::Copy() {
    m_log.Arm();
    m_disk->Arm();
    if (!m_graph->Source().Run()) {
        const std::string why = m_graph->Failure();
        m_graph.reset();
        const std::string objection = CreationObjection(m_options.output);
        RemoveIfEmpty(m_options.output);
        return Fail(m_options.output + ": " + (objection.empty() ? why : objection));
    }
    WatchUntilEnd();
    m_control->finish = true;
    if (!m_graph->Source().Stop()) Fail(m_options.file + ": " + m_graph->Failure());
    CheckGraph();
    CheckWriting();
    return true;
}

/// Nothing has been written while the multiplexer waits for them: the others are copied from the start.
bool Remuxer::LeaveOutBlocking() {
    const bool others = m_blocking.size() < m_graph->Tracks().size();
    if (m_blocking.empty() || !others || m_summary.interrupted || m_control->diskFull || m_log.Failed() ||
        m_graph->Refused() != S_OK)
        return false;
    const char* const reason =
        m_summary.error.empty() ? "none of its samples can be copied" : "its first sample cannot be read";
    for (const std::size_t stream : m_blocking) m_refused.emplace(stream, reason);
    m_blocking.clear();
    m_giveUp = false;
    return true;
}

void Remuxer::WatchUntilEnd() {
    Progress progress(m_messages, m_options);
    const HANDLE events[] = {m_control->changed, m_graph->Source().EventHandle(), m_interrupt.Event()};
    while (!m_graph->AllEnded() && !m_giveUp) {
        const DWORD count = m_summary.interrupted ? 2 : 3;
        if (WaitForMultipleObjects(count, events, FALSE, kTick) == WAIT_OBJECT_0 + 2) Interrupt();
        CheckGraph();
        CheckWriting();
        NoteBlocking();
        progress.Update(State());
    }
    NoteBlocking();
    progress.End();
}

/// A track that ends when it is told to does not count.
void Remuxer::NoteBlocking() {
    if (m_control->finish || !m_blocking.empty()) return;
    m_blocking = m_graph->Blocking();
    m_giveUp = m_giveUp || !m_blocking.empty();
}

/// What one track cannot read ends that track: the others go on.
void Remuxer::CheckGraph() {
    if (!m_graph->Source().HandleEvents()) Fail(m_options.file + ": " + m_graph->Failure());
    const HRESULT hr = m_graph->Refused();
    if (hr != S_OK) GiveUp("the multiplexer takes no more samples: " + ResultText(hr));
}

void Remuxer::CheckWriting() {
    if (!m_log.Failed()) return;
    GiveUp(m_options.output + ": byte " + std::to_string(OutputSize(m_options.output)) +
           ": writing failed: " + m_log.Reason());
}

void Remuxer::Interrupt() {
    m_summary.interrupted = true;
    m_control->finish = true;
}

void Remuxer::GiveUp(const std::string& error) {
    if (!m_giveUp) Fail(error);
    m_giveUp = true;
}

bool Remuxer::Fail(const std::string& error) {
    if (m_summary.error.empty()) m_summary.error = error;
    return false;
}

std::uint64_t Remuxer::Samples() const {
    std::uint64_t samples = 0;
    for (const auto& track : m_graph->Tracks()) samples += track.progress->samples;
    return samples;
}

ProgressState Remuxer::State() const {
    std::uint64_t bytes = 0, all = 0;
    for (const auto& track : m_graph->Tracks()) {
        bytes += track.progress->bytes;
        all += track.stream->track.totalBytes;
    }
    return {bytes, all, m_graph->Position(), Seconds()};
}

void Remuxer::Summarize() {
    for (std::size_t i = 0; i < m_summary.tracks.size(); ++i) {
        const RemuxProgress& progress = *m_graph->Tracks()[i].progress;
        CopiedTrack& track = m_summary.tracks[i];
        track.samples = progress.samples;
        track.syncSamples = progress.syncSamples;
        track.end = progress.end;
        const std::string name = m_options.file + ": " + track.origin.pin + ": ";
        if (const std::uint64_t damaged = progress.damaged; damaged > 0)
            m_messages.Warning(name + SamplesText(damaged, "damaged ") + "; what could be read was copied");
        const std::uint64_t all = m_graph->Tracks()[i].stream->track.sampleCount;
        const std::uint64_t seen = track.samples + progress.dropped;
        if (!m_summary.interrupted && m_summary.error.empty() && seen < all)
            m_messages.Warning(name + SamplesText(all - seen) + " in front of the first sync sample left out");
    }
    m_graph.reset();
    m_summary.wallSeconds = Seconds();
    m_summary.fileSize = OutputSize(m_options.output);
    if (m_summary.fileSize == 0) {
        Fail(m_options.output + ": nothing was copied");
    } else if (!IsFinishedRecording(m_options.output)) {
        Fail(m_options.output + ": the file could not be finished; it has no index");
    }
    RemoveIfEmpty(m_options.output);
}

int Remuxer::Report() {
    if (!m_summary.error.empty()) m_messages.Error(m_summary.error);
    m_summary.warnings = m_messages.Warnings();
    bool printed = true;
    if (m_options.json)
        printed = Print(ToJson(m_summary), m_messages);
    else if (m_copied && !m_options.quiet && m_summary.fileSize > 0)
        printed = Print(ToText(m_summary), m_messages);
    return printed && m_summary.error.empty() ? 0 : 1;
}

}  // namespace

CLI::App* AddRemuxVerb(CLI::App& program, RemuxOptions& options) {
    CLI::App* verb = program.add_subcommand("remux", "Copy the tracks of an MP4 file into a new one");
    verb->footer(kRemuxFooter);
    AddProgressOption(*verb, options);
    AddFileOptions(*verb, options, "Print the summary as one JSON object");
    AddMovieOutputOption(*verb, options.output);
    verb->add_flag("--faststart", options.faststart, "Put the index in front of the data");
    verb->add_flag("--force", options.force, "Replace an existing output");
    return verb;
}

int Remux(const RemuxOptions& options) { return Remuxer(options).Run(); }

}  // namespace mediakit_tool
