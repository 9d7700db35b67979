#include "Tools/mediakit/info.h"

#include "Tools/mediakit/file_byte_stream.h"
#include "Tools/mediakit/file_summary.h"
#include "Tools/mediakit/messages.h"
#include "Tools/mediakit/playback_graph.h"
#include "Tools/mediakit/standard_output.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <optional>

namespace mediakit_tool {

namespace {

constexpr const char* kInfoFooter =
    "Tells the container, what the reader's check has to say, and a row for each track.\n"
    "Exit status: 0 done, 1 the file cannot be played, 2 wrong usage.";

void Inspect(const InfoOptions& options, const LogWatch& log, FileSummary& summary) {
    PlaybackGraph graph(log);
    const bool opened = graph.Open(options.file, {options.strict});
    summary.messages = log.Notes();
    FileByteStream file;
    if (file.Open(options.file) == NO_ERROR) summary.container = ReadContainerFacts(file);
    if (!opened)
        summary.error = graph.Failure();
    else if (graph.Streams().empty())
        summary.error = graph.NoStreamsText();
    // The movie's header knows nothing of fragments.
    summary.duration = summary.container ? summary.container->duration : std::nullopt;
    if (summary.duration.value_or(0) == 0) summary.duration = graph.Duration();
    for (const Stream& stream : graph.Streams())
        summary.streams.push_back({stream.name, stream.Entry(), stream.track, FactsOf(stream)});
    summary.notPlayed = graph.TracksNotPlayed();
}

}  // namespace

CLI::App* AddInfoVerb(CLI::App& program, InfoOptions& options) {
    CLI::App* verb = program.add_subcommand("info", "Tell what an MP4 file holds");
    verb->footer(kInfoFooter);
    AddFileOptions(*verb, options, "Print one JSON object");
    return verb;
}

int Info(const InfoOptions& options) {
    Messages messages(options.quiet);
    const LogWatch log(messages, options.logLevel);
    FileSummary summary;
    summary.file = options.file;
    try {
        Inspect(options, log, summary);
    } catch (const std::exception& failure) {
        summary.error = failure.what();
    }
    if (!summary.error.empty()) messages.Error(summary.file + ": " + summary.error);
    bool printed = true;
    if (options.json)
        printed = Print(ToJson(summary), messages);
    else if (summary.error.empty())
        printed = Print(ToText(summary), messages);
    return printed && summary.error.empty() ? 0 : 1;
}

}  // namespace mediakit_tool
