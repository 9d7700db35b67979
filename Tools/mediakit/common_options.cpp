#include "Tools/mediakit/common_options.h"

#include <CLI/CLI.hpp>
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

void AddFileOptions(CLI::App& verb, FileOptions& options, const std::string& json) {
    verb.add_option("FILE", options.file, "The MP4 file to read")->required()->type_name("");
    verb.add_flag("--strict", options.strict,
                  "Read as the filters do by themselves, without the allowances for files of other writers");
    AddCommonOptions(verb, options, json);
}

}  // namespace mediakit_tool
