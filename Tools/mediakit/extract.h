// mediakit extract: one track of a file as an elementary stream.
#pragma once

#include "Tools/mediakit/common_options.h"

#include <optional>
#include <string>

namespace mediakit_tool {

struct ExtractOptions : FileOptions {
    std::optional<int> pin;  ///< none: the first video stream, else the first
    std::string output;      ///< "-": standard output
    bool raw = false;
    bool force = false;
};

/// Adds the verb to the program; its options land in `options` when the command line is parsed.
CLI::App* AddExtractVerb(CLI::App& program, ExtractOptions& options);

/// The program's exit status.
int Extract(const ExtractOptions& options);

}  // namespace mediakit_tool
