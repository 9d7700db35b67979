#include "Tools/mediakit/samples.h"

#include "Platform/Kernel/Console.h"
#include "Tools/mediakit/interrupt.h"
#include "Tools/mediakit/log_watch.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/playback_graph.h"
#include "Tools/mediakit/progress.h"
#include "Tools/mediakit/sample_list.h"
#include "Tools/mediakit/standard_output.h"
#include "Tools/mediakit/time_text.h"

#include <CLI/CLI.hpp>

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mediakit_tool {

namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kTick = 200;  // milliseconds between looks at the progress

constexpr const char* kSamplesFooter =
    "Each pin is listed to its end, one after the other. Times are those of the sample as it was pushed:\n"
    "seconds, or 100 ns in JSON. TIME is in seconds (12.5) or h:mm:ss.mmm; the list then starts at the\n"
    "sample that a player would decode first, as it does for time 0 without --from: samples that an edit\n"
    "hides in front of that one are not listed, though extract writes them.\n"
    "Exit status: 0 done, 1 failed, 2 wrong usage.";

/// Writes what a pin pushes, on the pin's thread.
class RowWriter final : public SampleConsumer {
public:
    RowWriter(SampleList& list, const TextOutput& output, bool hash) : m_list(list), m_output(output), m_hash(hash) {}

    HRESULT Take(IMediaSample& sample) override {
        const SampleRow row = Describe(sample, m_index++, m_hash);
        m_list.Add(row);
        m_bytes.store(m_bytes.load(std::memory_order_relaxed) + static_cast<std::uint64_t>(row.size),
                      std::memory_order_relaxed);
        m_time.store(row.dts, std::memory_order_relaxed);
        return m_output.Failed() ? E_FAIL : S_OK;
    }

    // Any thread.
    std::uint64_t Bytes() const { return m_bytes.load(std::memory_order_relaxed); }
    REFERENCE_TIME Time() const { return m_time.load(std::memory_order_relaxed); }

private:
    SampleList& m_list;
    const TextOutput& m_output;
    const bool m_hash;
    std::int64_t m_index = 0;
    std::atomic<std::uint64_t> m_bytes{0};
    std::atomic<REFERENCE_TIME> m_time{0};
};

/// A status line would stand in the middle of a list on the same terminal.
CommonOptions ProgressOptions(CommonOptions options) {
    if (options.progress == ProgressMode::Auto && IsTerminal(StandardStream::Output))
        options.progress = ProgressMode::Never;
    return options;
}

class Lister {
public:
    explicit Lister(const SamplesOptions& options)
        : m_options(options),
          m_messages(options.quiet),
          m_log(m_messages, options.logLevel),
          m_progress(m_messages, ProgressOptions(options)),
          m_list(options.json ? MakeJsonSampleList(m_output) : MakeTextSampleList(m_output)) {}

    int Run();

private:
    void ListFile();
    bool Choose();
    void ListPin(const Stream& stream);
    bool Play(const Stream& stream);
    ProgressState State() const;
    /// Each pin may have one.
    bool Fail(const std::string& error);
    std::string Errors() const;

    const SamplesOptions m_options;
    Messages m_messages;
    LogWatch m_log;
    InterruptWatch m_interrupt;
    TextOutput m_output{stdout};
    Progress m_progress;
    const std::unique_ptr<SampleList> m_list;
    std::optional<RowWriter> m_writer;  ///< of the pin that is listed
    PlaybackGraph m_graph{m_log};       // goes before what its threads use
    std::vector<const Stream*> m_chosen;
    std::uint64_t m_bytesInAll = 0;
    std::uint64_t m_bytesBefore = 0;  ///< of the pins that are done
    bool m_interrupted = false;
    std::vector<std::string> m_errors;
    const Clock::time_point m_begin = Clock::now();
};

int Lister::Run() {
    m_list->Begin(m_options.file);
    try {
        ListFile();
    } catch (const std::exception& failure) {
        m_graph.Stop();  // it may be running, and add to the list
        Fail(failure.what());
    }
    m_list->End(Errors());
    if (!m_output.Flush()) Fail(kStandardOutputFailed);
    for (const std::string& error : m_errors) m_messages.Error(error);
    return m_errors.empty() ? 0 : 1;
}

void Lister::ListFile() {
    if (!m_graph.Open(m_options.file, {m_options.strict})) {
        Fail(m_options.file + ": " + m_graph.Failure());
        return;
    }
    if (!Choose()) return;
    for (const Stream* const stream : m_chosen) {
        if (m_interrupted || m_output.Failed()) break;
        ListPin(*stream);
    }
    m_progress.End();
    if (m_interrupted) Fail("interrupted; the list is not complete");
}

bool Lister::Choose() {
    const std::vector<Stream>& streams = m_graph.Streams();
    if (streams.empty()) return Fail(m_options.file + ": " + m_graph.NoStreamsText());
    const std::optional<std::size_t> pin = m_options.pin;
    if (pin && *pin >= streams.size()) return Fail(m_options.file + ": " + m_graph.NoPinText(*pin));
    for (const Stream& stream : streams) {
        if (pin && stream.number != *pin) continue;
        m_chosen.push_back(&stream);
        m_bytesInAll += stream.track.totalBytes;
    }
    return true;
}

/// A pin alone, so that its samples can be written as they come and none needs to be kept.
void Lister::ListPin(const Stream& stream) {
    m_writer.emplace(*m_list, m_output, m_options.hash);
    m_list->BeginPin(stream);
    if (!Play(stream)) Fail(m_options.file + ": " + stream.name + ": " + m_graph.Failure());
    m_list->EndPin();
    m_graph.DisconnectTaps();
    m_bytesBefore += stream.track.totalBytes;
}

bool Lister::Play(const Stream& stream) {
    if (!m_graph.ConnectTap(stream, *m_writer)) return false;
    if (m_options.start && !m_graph.Seek(*m_options.start)) return false;
    if (!m_graph.Run()) return false;
    PlaybackGraph::Outcome outcome;
    while ((outcome = m_graph.Wait(m_interrupt.Event(), kTick)) == PlaybackGraph::Outcome::TimedOut)
        m_progress.Update(State());
    m_interrupted = outcome == PlaybackGraph::Outcome::Interrupted;
    return m_graph.Stop();
}

ProgressState Lister::State() const {
    ProgressState state;
    state.bytesRead = m_bytesBefore + m_writer->Bytes();
    state.bytesInAll = m_bytesInAll;
    state.mediaTime = m_writer->Time();
    state.wallSeconds = std::chrono::duration<double>(Clock::now() - m_begin).count();
    return state;
}

bool Lister::Fail(const std::string& error) {
    m_errors.push_back(error);
    return false;
}

std::string Lister::Errors() const {
    std::string text;
    for (const std::string& error : m_errors) text += (text.empty() ? "" : "; ") + error;
    return text;
}

void ReadStart(SamplesOptions& options) {
    options.start = ParseTime(options.from);
    if (!options.start)
        throw CLI::ValidationError("--from", "'" + options.from + "' is not a time such as 12.5 or 1:02:03.450");
}

}  // namespace

CLI::App* AddSamplesVerb(CLI::App& program, SamplesOptions& options) {
    CLI::App* verb = program.add_subcommand("samples", "List the samples of an MP4 file");
    verb->footer(kSamplesFooter);
    AddProgressOption(*verb, options);
    AddFileOptions(*verb, options, "Print one JSON object");
    AddPinOption(*verb, options.pin, "One pin alone; 0 is Output_0");
    const CLI::Option* const from = verb->add_option("--from", options.from, "Seek there first")->type_name("TIME");
    verb->add_flag("--hash", options.hash, "With the CRC-32 of each sample's bytes");
    verb->final_callback([&options, from] {
        if (from->count() > 0) ReadStart(options);
    });
    return verb;
}

int ListSamples(const SamplesOptions& options) { return Lister(options).Run(); }

}  // namespace mediakit_tool
