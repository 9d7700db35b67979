// What can be said of an input before it is read.
#pragma once

#include <string>

namespace mediakit_tool {

/// Why the file (UTF-8) cannot be read as an MP4 file, before any filter sees it; empty when it may be one.
std::string InputObjection(const std::string& path);

}  // namespace mediakit_tool
