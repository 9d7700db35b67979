// mediakit remux: the tracks of a file in a new one.
#pragma once

#include "Tools/mediakit/common_options.h"

#include <string>

namespace mediakit_tool {

struct RemuxOptions : FileOptions {
    std::string output;
    bool faststart = false;
    bool force = false;
};

/// Adds the verb to the program; its options land in `options` when the command line is parsed.
CLI::App* AddRemuxVerb(CLI::App& program, RemuxOptions& options);

/// The program's exit status.
int Remux(const RemuxOptions& options);

}  // namespace mediakit_tool
