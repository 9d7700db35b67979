// The file that a verb writes: what must hold before it is written and after.
#pragma once

#include "Tools/mediakit/record_options.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mediakit_tool {

/// Why the output must not be written: it is one of the inputs ("-": standard input), exists and is not to be
/// replaced, or can be no file. Empty when it may.
std::string OutputObjection(const std::string& output, const std::vector<std::string>& inputs, bool force);
std::string OutputObjection(const RecordOptions& options);
/// Why the system does not let the output be written, found by opening it, which makes an empty file when there is
/// none; empty when it does.
std::string CreationObjection(const std::string& output);

/// Size in bytes, 0 when there is no such file.
std::uint64_t OutputSize(const std::string& path);
/// Removes the file if it is empty.
void RemoveIfEmpty(const std::string& path);
/// Bytes that the disk of the file has room for.
std::uint64_t FreeSpace(const std::string& path);

/// Whether the file is a row of whole boxes, one of which is the index.
bool IsFinishedRecording(const std::string& path);

}  // namespace mediakit_tool
