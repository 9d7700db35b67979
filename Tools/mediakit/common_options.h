// Options that every verb has.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace mediakit_tool {

enum class ProgressMode { Auto, Always, Never };

struct CommonOptions {
    ProgressMode progress = ProgressMode::Auto;
    int logLevel = 0;  ///< of the library's log, shown on standard error
    bool quiet = false;
    bool json = false;
};

/// Adds --quiet, --log-level and --json; `json` says what the last of them prints.
void AddCommonOptions(CLI::App& verb, CommonOptions& options, const std::string& json);
/// Adds --progress, for verbs that take long.
void AddProgressOption(CLI::App& verb, CommonOptions& options);

/// A verb that reads an MP4 file.
struct FileOptions : CommonOptions {
    std::string file;
    bool strict = false;  ///< read as the demultiplexer does by itself, without the choices of IReadingPolicy
};

/// Adds the positional FILE and --strict, and what AddCommonOptions adds.
void AddFileOptions(CLI::App& verb, FileOptions& options, const std::string& json);

}  // namespace mediakit_tool
