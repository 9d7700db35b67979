// The verb `info`.
#pragma once

#include "Tools/mediakit/common_options.h"

namespace mediakit_tool {

struct InfoOptions : FileOptions {};

/// Adds the verb to the program; its options land in `options` when the command line is parsed.
CLI::App* AddInfoVerb(CLI::App& program, InfoOptions& options);
/// Opens the file for playing and tells what it is. The program's exit status: 0 it can be played, 1 it cannot.
int Info(const InfoOptions& options);

}  // namespace mediakit_tool
