// Options that every verb has.
#pragma once

#include <optional>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

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

/// Adds the option that names what is written; it may not be empty.
CLI::Option* AddOutputOption(CLI::App& verb, std::string& output, const std::string& text, const std::string& type);
/// The same for an MP4 file, which is written at several places: standard output cannot be one.
void AddMovieOutputOption(CLI::App& verb, std::string& output);

/// A verb that reads an MP4 file.
struct FileOptions : CommonOptions {
    std::string file;
    bool strict = false;  ///< read as the demultiplexer does by itself, without the choices of IReadingPolicy
};

/// Adds the positional FILE and --strict, and what AddCommonOptions adds.
void AddFileOptions(CLI::App& verb, FileOptions& options, const std::string& json);

/// Adds --pin, the number of an output pin from 0.
void AddPinOption(CLI::App& verb, std::optional<int>& pin, const std::string& help);

}  // namespace mediakit_tool
