// The system's file calls with interruptions and short transfers dealt with. Inside the kernel only.
// All answer NO_ERROR or a system error and leave the last error alone.
#pragma once

#include "Platform/Kernel/FileInfo.h"

#include <cstddef>
#include <cstdint>
#include <span>

#include <sys/stat.h>

namespace file_io {

using Bytes = std::span<const std::uint8_t>;

/// An open without O_TRUNC; `flags` as for open(2). Waits for no other end of a pipe.
DWORD open_path(const char* path, int flags, int* descriptor);
void close_descriptor(int descriptor);
DWORD status(int descriptor, struct stat* st);
FileInfo describe(const struct stat& st);

/// Whether a file can have that many bytes at that position at all.
bool fits(std::uint64_t position, std::size_t size);

/// Fills `buffer` as far as the file goes from `position`.
DWORD read_at(int descriptor, std::uint64_t position, std::span<std::uint8_t> buffer, std::size_t* read);
/// Writes `first` and behind it `second`, which must fit; *written counts over both, also when the rest failed.
DWORD write_at(int descriptor, std::uint64_t position, Bytes first, Bytes second, std::size_t* written);
DWORD truncate(int descriptor, std::uint64_t size);

}  // namespace file_io
