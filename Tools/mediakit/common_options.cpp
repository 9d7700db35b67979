#include "Tools/mediakit/common_options.h"

#include <CLI/CLI.hpp>

#include <limits>
#include <map>

namespace mediakit_tool {

void AddCommonOptions(CLI::App& verb, CommonOptions& options, const std::string& json) {
    verb.add_flag("-q,--quiet", options.quiet, "Errors only");
    verb.add_option("--log-level", options.logLevel, "Messages of the filters: 0 none to 5 everything")
        ->check(CLI::Range(0, 5).description(""))
        ->type_name("0..5");
    verb.add_flag("--json", options.json, json);
}

void AddProgressOption(CLI::App& verb, CommonOptions& options) {
    const std::map<std::string, ProgressMode> modes = {
        {"auto", ProgressMode::Auto}, {"always", ProgressMode::Always}, {"never", ProgressMode::Never}};
    verb.add_option("--progress", options.progress,
                    "One line on a terminal, now and then a line elsewhere; always: also with --quiet")
        ->transform(CLI::CheckedTransformer(modes).description(""))
        ->type_name("auto|always|never");
}

CLI::Option* AddOutputOption(CLI::App& verb, std::string& output, const std::string& text, const std::string& type) {
    const auto objection = [](const std::string& name) { return name.empty() ? "the name is empty" : std::string(); };
    return verb.add_option("-o,--output", output, text)->required()->type_name(type)->check(objection);
}

void AddMovieOutputOption(CLI::App& verb, std::string& output) {
    AddOutputOption(verb, output, "The MP4 file to write", "OUT.mp4")->check([](const std::string& name) {
        return name == "-" ? "the output must be a file, not a pipe" : std::string();
    });
}

void AddFileOptions(CLI::App& verb, FileOptions& options, const std::string& json) {
    verb.add_option("FILE", options.file, "The MP4 file to read")->required()->type_name("");
    verb.add_flag("--strict", options.strict,
                  "Read as the filters do by themselves: no avc3, boxes of segments, empty\n"
                  "edits, times and order of data in fragments, sizes of PCM by its entry,\n"
                  "sync samples without a table; a broken part or a video track of an\n"
                  "unknown kind refuses the file");
    AddCommonOptions(verb, options, json);
}

void AddPinOption(CLI::App& verb, std::optional<int>& pin, const std::string& help) {
    verb.add_option("--pin", pin, help)
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""))
        ->type_name("N");
}

}  // namespace mediakit_tool
