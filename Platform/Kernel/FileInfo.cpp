#include "Platform/Kernel/FileInfo.h"

#include "Platform/Kernel/FileIo.h"
#include "Platform/Kernel/LastError.h"

#include <cerrno>

#include <unistd.h>

DWORD QueryFileInfo(const std::string& path, FileInfo* info) noexcept {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return SetLastErrorFromErrno(errno);
    *info = file_io::describe(st);
    return NO_ERROR;
}

DWORD QueryStandardInputInfo(FileInfo* info) noexcept {
    struct stat st {};
    if (::fstat(STDIN_FILENO, &st) != 0) return SetLastErrorFromErrno(errno);
    *info = file_io::describe(st);
    return NO_ERROR;
}

bool IsSameFile(const std::string& path1, const std::string& path2) noexcept {
    FileInfo info1, info2;
    return QueryFileInfo(path1, &info1) == NO_ERROR && QueryFileInfo(path2, &info2) == NO_ERROR &&
           info1.identity == info2.identity;
}
