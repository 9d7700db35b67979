#include "Platform/Kernel/LastError.h"

#include <cerrno>

namespace {

thread_local DWORD t_lastError = NO_ERROR;

struct Counterpart {
    int error;
    DWORD code;
};

constexpr Counterpart kCounterparts[] = {
    {0, NO_ERROR},
    {EPERM, ERROR_ACCESS_DENIED},
    {ENOENT, ERROR_FILE_NOT_FOUND},
    {EIO, ERROR_IO_DEVICE},
    {ENXIO, ERROR_IO_DEVICE},
    {EBADF, ERROR_INVALID_HANDLE},
    {EAGAIN, ERROR_BUSY},
    {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},
    {EACCES, ERROR_ACCESS_DENIED},
    {EFAULT, ERROR_INVALID_ADDRESS},
    {EBUSY, ERROR_BUSY},
    {EEXIST, ERROR_FILE_EXISTS},
    {ENOTDIR, ERROR_PATH_NOT_FOUND},
    {EISDIR, ERROR_ACCESS_DENIED},
    {EINVAL, ERROR_INVALID_PARAMETER},
    {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
    {EMFILE, ERROR_TOO_MANY_OPEN_FILES},
    {ETXTBSY, ERROR_SHARING_VIOLATION},
    {EFBIG, ERROR_FILE_TOO_LARGE},
    {ENOSPC, ERROR_DISK_FULL},
    {EDQUOT, ERROR_DISK_FULL},
    {ESPIPE, ERROR_SEEK},
    {EROFS, ERROR_WRITE_PROTECT},
    {EPIPE, ERROR_BROKEN_PIPE},
    {EDEADLK, ERROR_LOCK_VIOLATION},
    {ENOLCK, ERROR_LOCK_VIOLATION},
    {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    {ENOSYS, ERROR_CALL_NOT_IMPLEMENTED},
    {ELOOP, ERROR_PATH_NOT_FOUND},
    {EILSEQ, ERROR_NO_UNICODE_TRANSLATION},
    {EOVERFLOW, ERROR_FILE_TOO_LARGE},
    {EOPNOTSUPP, ERROR_NOT_SUPPORTED},
    {ECANCELED, ERROR_OPERATION_ABORTED},
};

}  // namespace

DWORD GetLastError() noexcept { return t_lastError; }

void SetLastError(DWORD error) noexcept { t_lastError = error; }

DWORD ErrorFromErrno(int error) noexcept {
    for (const Counterpart& c : kCounterparts)
        if (c.error == error) return c.code;
    return ERROR_GEN_FAILURE;
}

DWORD SetLastErrorFromErrno(int error) noexcept { return t_lastError = ErrorFromErrno(error); }
