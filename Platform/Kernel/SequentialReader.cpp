#include "Platform/Kernel/SequentialReader.h"

#include "Platform/Kernel/CriticalSection.h"
#include "Platform/Kernel/FileIo.h"
#include "Platform/Kernel/LastError.h"

#include <cerrno>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace {

DWORD Report(DWORD error) {
    if (error != NO_ERROR) SetLastError(error);
    return error;
}

}  // namespace

SequentialReader::~SequentialReader() { Close(); }

void SequentialReader::Close() noexcept {
    if (m_owned) file_io::close_descriptor(m_descriptor);
    if (m_wake >= 0) file_io::close_descriptor(m_wake);
    m_descriptor = m_wake = -1;
    m_owned = false;
}

DWORD SequentialReader::Open(const std::string& path) noexcept {
    Close();
    int descriptor = -1;
    if (const DWORD error = file_io::open_path(path.c_str(), O_RDONLY, &descriptor); error != NO_ERROR)
        return Report(error);
    return Report(Adopt(descriptor, true));
}

DWORD SequentialReader::OpenStandardInput() noexcept {
    Close();
    return Report(Adopt(STDIN_FILENO, false));
}

DWORD SequentialReader::Adopt(int descriptor, bool owned) noexcept {
    m_descriptor = descriptor;
    m_owned = owned;
    struct stat st {};
    DWORD error = file_io::status(descriptor, &st);
    if (error == NO_ERROR && S_ISDIR(st.st_mode)) error = ERROR_ACCESS_DENIED;
    if (error == NO_ERROR && (m_wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) < 0) error = ErrorFromErrno(errno);
    if (error != NO_ERROR) Close();
    return error;
}

/// Waits for bytes, the end of the input or Cancel.
DWORD SequentialReader::WaitReadable() noexcept {
    for (;;) {
        pollfd polled[] = {{m_wake, POLLIN, 0}, {m_descriptor, POLLIN, 0}};
        if (poll(polled, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return ErrorFromErrno(errno);
        }
        if (polled[0].revents != 0) return ERROR_OPERATION_ABORTED;
        if (polled[1].revents != 0) return NO_ERROR;
    }
}

DWORD SequentialReader::Read(void* buffer, std::size_t size, std::size_t* read) noexcept {
    AssertMayWait("Reading an input");
    *read = 0;
    for (;;) {
        if (const DWORD error = WaitReadable(); error != NO_ERROR) return Report(error);
        const ssize_t count = ::read(m_descriptor, buffer, size);
        if (count >= 0) {
            *read = static_cast<std::size_t>(count);
            return NO_ERROR;
        }
        // Another reader of the same input may have been faster.
        if (errno != EINTR && errno != EAGAIN) return Report(ErrorFromErrno(errno));
    }
}

void SequentialReader::Cancel() noexcept {
    // Written and never read: the descriptor stays readable.
    eventfd_write(m_wake, 1);
}
