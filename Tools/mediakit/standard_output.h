// What the program prints when it is done.
#pragma once

#include "Tools/mediakit/messages.h"

#include <string>

namespace mediakit_tool {

/// Says that standard output took not all it was given.
inline constexpr const char* kStandardOutputFailed = "standard output: cannot be written";

/// Hands all to the system. False, and told as an error, when anything printed so far could not be written.
bool FlushStandardOutput(Messages& messages);
/// Prints the text in the same way.
bool Print(const std::string& text, Messages& messages);

}  // namespace mediakit_tool
