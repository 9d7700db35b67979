#include "Tools/mediakit/record.h"

#include "Platform/Com/Results.h"
#include "Platform/Kernel/Event.h"
#include "Platform/Kernel/Thread.h"
#include "Tools/mediakit/adts_reader.h"
#include "Tools/mediakit/annexb_reader.h"
#include "Tools/mediakit/byte_input.h"
#include "Tools/mediakit/disk_guard.h"
#include "Tools/mediakit/interrupt.h"
#include "Tools/mediakit/log_watch.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/output_file.h"
#include "Tools/mediakit/progress.h"
#include "Tools/mediakit/recording_graph.h"
#include "Tools/mediakit/recording_summary.h"
#include "Tools/mediakit/standard_output.h"
#include "Tools/mediakit/system_error.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>

namespace mediakit_tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kTick = 200;  // milliseconds between looks at the progress

/// An input with all that reads it.
struct Input {
    InputOption option;
    FileInput bytes;
    std::unique_ptr<GuardedInput> guarded;
    std::unique_ptr<StreamReport> report;
    std::unique_ptr<UnitReader> reader;
    SourceProgress progress;
    bool opened = false;
    Thread opener;
};

std::string NameOf(const InputOption& input) { return input.path == "-" ? "standard input" : input.path; }

class Recorder {
public:
    explicit Recorder(const RecordOptions& options)
        : m_options(options),
          m_messages(options.quiet),
          m_log(m_messages, options.logLevel, LogWatch::kErrors),
          m_disk(
              options.output, options.Inputs().size(), [this] { return Samples(); }, [this] { FinishReaders(); }) {}

    int Run();

private:
    bool Prepare();
    bool OpenInputs();
    bool ProbeInputs();
    bool RecordAll();
    void WatchUntilEnd();
    bool AllEnded() const;
    void CheckSources();
    void CheckWriting();
    void FinishReaders();
    void Interrupt();
    std::uint64_t BytesRead() const;
    ProgressState State() const;
    std::uint64_t Samples() const;
    double Seconds() const { return std::chrono::duration<double>(Clock::now() - m_begin).count(); }
    /// The first error is the one to tell.
    bool Fail(const std::string& error);
    void Summarize();
    int Report();

    const RecordOptions m_options;
    Messages m_messages;
    LogWatch m_log;
    InterruptWatch m_interrupt;
    DiskGuard m_disk;
    std::vector<std::unique_ptr<Input>> m_inputs;
    std::optional<std::uint64_t> m_bytesInAll = 0;
    CAMEvent m_opened;  ///< an input has been looked at
    CAMEvent m_ended;   ///< a source has delivered its last
    std::atomic<int> m_opening{0};
    std::optional<RecordingGraph> m_graph;
    const Clock::time_point m_begin = Clock::now();
    RecordingSummary m_summary;
    bool m_recorded = false;  ///< the graph ran
    bool m_giveUp = false;    ///< stop without waiting for the sources
};

int Recorder::Run() {
    m_summary.output = m_options.output;
    try {
        m_recorded = Prepare() && RecordAll();
    } catch (const std::exception& failure) {
        Fail(failure.what());
        FinishReaders();
    }
    return Report();
}

bool Recorder::Prepare() {
    const std::string objection = OutputObjection(m_options);
    if (!objection.empty()) return Fail(m_options.output + ": " + objection);
    return OpenInputs() && ProbeInputs();
}

bool Recorder::OpenInputs() {
    for (const InputOption& option : m_options.Inputs()) {
        auto input = std::make_unique<Input>();
        input->option = option;
        input->report = std::make_unique<StreamReport>(m_messages, NameOf(option));
        const DWORD error = input->bytes.Open(option.path);
        if (error != NO_ERROR) return Fail(NameOf(option) + ": cannot be opened: " + SystemErrorText(error));
        input->guarded = std::make_unique<GuardedInput>(input->bytes, m_disk);
        if (option.kind == InputOption::Kind::Video)
            input->reader = std::make_unique<AnnexBReader>(*input->guarded, *input->report, m_options.rate);
        else
            input->reader = std::make_unique<AdtsReader>(*input->guarded, *input->report);
        const auto size = input->bytes.Size();
        m_bytesInAll = m_bytesInAll && size ? std::optional(*m_bytesInAll + *size) : std::nullopt;
        m_inputs.push_back(std::move(input));
    }
    return true;
}

/// All at once: two pipes may be fed by one writer that waits for the reader of either.
bool Recorder::ProbeInputs() {
    m_opening = static_cast<int>(m_inputs.size());
    for (const auto& input : m_inputs) {
        Input* const one = input.get();
        const auto open = [this, one] {
            one->opened = one->reader->Open();
            --m_opening;
            m_opened.Set();
        };
        if (!one->opener.Start(open, "open input")) open();
    }
    const HANDLE events[] = {m_opened, m_interrupt.Event()};
    bool interrupted = false;
    while (m_opening > 0) {
        if (WaitForMultipleObjects(interrupted ? 1 : 2, events, FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
            interrupted = true;
            FinishReaders();
        }
    }
    for (const auto& input : m_inputs) input->opener.Join();
    for (const auto& input : m_inputs)
        if (!input->opened) return Fail(input->reader->Failure());
    return true;
}

bool Recorder::RecordAll() {
    std::vector<SourceFeed> feeds;
    for (const auto& input : m_inputs) feeds.push_back({input->reader.get(), &input->progress});
    m_graph.emplace();
    if (!m_graph->Build(m_options, feeds, m_ended)) return Fail(m_graph->Failure());
    m_log.Arm();
    m_disk.Arm();
    if (!m_graph->Run()) {
        const std::string why = m_graph->Failure();
        m_graph.reset();
        const std::string objection = CreationObjection(m_options.output);
        RemoveIfEmpty(m_options.output);
        return Fail(m_options.output + ": " + (objection.empty() ? why : objection));
    }
    WatchUntilEnd();
    FinishReaders();
    const bool stopped = m_graph->Stop();
    CheckSources();
    CheckWriting();
    if (m_disk.Full())
        Fail(m_options.output + ": byte " + std::to_string(OutputSize(m_options.output)) +
             ": the disk is full; the recording ends where its index still fits");
    if (!stopped) Fail(m_options.output + ": " + m_graph->Failure());
    Summarize();
    return true;
}

void Recorder::WatchUntilEnd() {
    Progress progress(m_messages, m_options);
    const HANDLE events[] = {m_ended, m_graph->EventHandle(), m_interrupt.Event()};
    while (!AllEnded() && !m_giveUp) {
        const DWORD count = m_summary.interrupted ? 2 : 3;
        if (WaitForMultipleObjects(count, events, FALSE, kTick) == WAIT_OBJECT_0 + 2) Interrupt();
        if (!m_graph->HandleEvents()) {
            Fail(m_graph->Failure());
            m_giveUp = true;
        }
        CheckSources();
        CheckWriting();
        progress.Update(State());
    }
    progress.End();
}

bool Recorder::AllEnded() const {
    return std::all_of(m_inputs.begin(), m_inputs.end(),
                       [](const auto& input) { return input->progress.ended.load(); });
}

void Recorder::CheckSources() {
    for (const auto& input : m_inputs) {
        const HRESULT hr = input->progress.refused;
        if (hr == S_OK || m_giveUp) continue;
        Fail("the multiplexer takes no more samples: " + ResultText(hr));
        m_giveUp = true;
    }
}

void Recorder::CheckWriting() {
    if (!m_log.Failed()) return;
    Fail(m_options.output + ": byte " + std::to_string(OutputSize(m_options.output)) +
         ": writing failed: " + m_log.Reason());
    m_giveUp = true;
}

void Recorder::Interrupt() {
    m_summary.interrupted = true;
    FinishReaders();
}

void Recorder::FinishReaders() {
    for (const auto& input : m_inputs) input->reader->Finish();
}

std::uint64_t Recorder::BytesRead() const {
    std::uint64_t bytes = 0;
    for (const auto& input : m_inputs) bytes += input->reader->BytesRead();
    return bytes;
}

std::uint64_t Recorder::Samples() const {
    std::uint64_t samples = 0;
    for (const auto& input : m_inputs) samples += input->progress.samples;
    return samples;
}

ProgressState Recorder::State() const { return {BytesRead(), m_bytesInAll, m_graph->Position(), Seconds()}; }

bool Recorder::Fail(const std::string& error) {
    if (m_summary.error.empty()) m_summary.error = error;
    return false;
}

void Recorder::Summarize() {
    for (const auto& input : m_inputs) {
        const SourceProgress& progress = input->progress;
        const UnitReader& reader = *input->reader;
        m_summary.tracks.push_back(
            {NameOf(input->option), reader.Facts(), progress.samples, progress.syncSamples, progress.duration});
        if (!reader.Failure().empty()) Fail(reader.Failure());
        if (progress.samples == 1)
            m_messages.Warning(NameOf(input->option) + ": a track of one sample; not every player opens it");
    }
    m_graph.reset();
    m_summary.wallSeconds = Seconds();
    m_summary.fileSize = OutputSize(m_options.output);
    if (m_summary.fileSize == 0) {
        Fail(m_options.output + ": nothing was recorded");
    } else if (!IsFinishedRecording(m_options.output)) {
        Fail(m_options.output + ": the file could not be finished; it has no index");
    }
    RemoveIfEmpty(m_options.output);
}

int Recorder::Report() {
    if (!m_summary.error.empty()) m_messages.Error(m_summary.error);
    m_summary.warnings = m_messages.Warnings();
    bool printed = true;
    if (m_options.json)
        printed = Print(ToJson(m_summary), m_messages);
    else if (m_recorded && !m_options.quiet && m_summary.fileSize > 0)
        printed = Print(ToText(m_summary), m_messages);
    return printed && m_summary.error.empty() ? 0 : 1;
}

}  // namespace

int Record(const RecordOptions& options) { return Recorder(options).Run(); }

}  // namespace mediakit_tool
