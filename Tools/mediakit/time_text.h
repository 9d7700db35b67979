// Times as a user writes them.
#pragma once

#include "Platform/Com/Types.h"

#include <optional>
#include <string_view>

namespace mediakit_tool {

/// "12.5" (seconds), "2:03.25" or "1:02:03.450" in 100 ns; more digits than that are cut. Behind hours or minutes the
/// next part has two digits and stays below 60. Nothing for any other text.
std::optional<REFERENCE_TIME> ParseTime(std::string_view text);

}  // namespace mediakit_tool
