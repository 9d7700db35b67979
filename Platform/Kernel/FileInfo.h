// What the system says of a path, without opening the file for use.
#pragma once

#include "Platform/Com/Results.h"
#include "Platform/Kernel/Export.h"

#include <cstdint>
#include <string>

/// What makes two paths the same file.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    friend auto operator<=>(const FileIdentity&, const FileIdentity&) = default;
};

struct FileInfo {
    FileIdentity identity;
    std::uint64_t size = 0;
    bool is_regular = false;  ///< a file with a size and positions
    bool is_directory = false;
};

/// Follows links. NO_ERROR, or the system error, which is the last error too. Paths are UTF-8.
PLATFORM_KERNEL_API DWORD QueryFileInfo(const std::string& path, FileInfo* info) noexcept;
/// What standard input is connected to.
PLATFORM_KERNEL_API DWORD QueryStandardInputInfo(FileInfo* info) noexcept;
/// True when both exist and are one file, whatever links lead to them.
PLATFORM_KERNEL_API bool IsSameFile(const std::string& path1, const std::string& path2) noexcept;
