// The verb `samples`.
#pragma once

#include "Platform/Com/Types.h"
#include "Tools/mediakit/common_options.h"

#include <optional>

namespace mediakit_tool {

struct SamplesOptions : FileOptions {
    std::optional<int> pin;
    std::string from;                     ///< as given, see start
    std::optional<REFERENCE_TIME> start;  ///< of --from
    bool hash = false;
};

/// Adds the verb to the program; its options land in `options` when the command line is parsed.
CLI::App* AddSamplesVerb(CLI::App& program, SamplesOptions& options);
/// Lists the samples on standard output. The program's exit status: 0 done, 1 failed.
int ListSamples(const SamplesOptions& options);

}  // namespace mediakit_tool
