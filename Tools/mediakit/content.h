// Telling what a file is that cannot be recorded.
#pragma once

#include "Tools/mediakit/record_options.h"

#include <cstdint>
#include <span>
#include <string>

namespace mediakit_tool {

/// "; it looks like ..." for the first bytes of an input that was given for a track of this kind and
/// holds none, with the way out where there is one; empty when they say nothing.
std::string ForeignContent(std::span<const std::uint8_t> head, InputOption::Kind kind);

}  // namespace mediakit_tool
