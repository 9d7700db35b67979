#include "Platform/Kernel/FileIo.h"

#include "Platform/Kernel/LastError.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>

namespace file_io {

namespace {

constexpr std::uint64_t kLastPosition = std::numeric_limits<off_t>::max();

template <class Call>
auto Uninterrupted(Call call) {
    for (;;) {
        const auto result = call();
        if (result >= 0 || errno != EINTR) return result;
    }
}

iovec Vector(Bytes bytes) {
    // The system's vector is not const for the sake of reads.
    return {const_cast<std::uint8_t*>(bytes.data()), bytes.size()};
}

}  // namespace

DWORD open_path(const char* path, int flags, int* descriptor) {
    constexpr mode_t kPermissions = 0666;
    *descriptor = Uninterrupted([&] { return ::open(path, flags | O_CLOEXEC | O_NONBLOCK, kPermissions); });
    return *descriptor >= 0 ? NO_ERROR : ErrorFromErrno(errno);
}

void close_descriptor(int descriptor) {
    // After an interruption the descriptor is closed as well (Linux), so that there is no second try.
    ::close(descriptor);
}

DWORD status(int descriptor, struct stat* st) {
    return ::fstat(descriptor, st) == 0 ? NO_ERROR : ErrorFromErrno(errno);
}

FileInfo describe(const struct stat& st) {
    return {{st.st_dev, st.st_ino}, static_cast<std::uint64_t>(st.st_size), S_ISREG(st.st_mode), S_ISDIR(st.st_mode)};
}

bool fits(std::uint64_t position, std::size_t size) {
    return position <= kLastPosition && size <= kLastPosition - position;
}

DWORD read_at(int descriptor, std::uint64_t position, std::span<std::uint8_t> buffer, std::size_t* read) {
    *read = 0;
    if (position > kLastPosition) return ERROR_INVALID_PARAMETER;
    buffer = buffer.first(std::min<std::uint64_t>(buffer.size(), kLastPosition - position));
    while (*read < buffer.size()) {
        const ssize_t count = Uninterrupted([&] {
            return ::pread(descriptor, buffer.data() + *read, buffer.size() - *read,
                           static_cast<off_t>(position + *read));
        });
        if (count < 0) return ErrorFromErrno(errno);
        if (count == 0) break;
        *read += static_cast<std::size_t>(count);
    }
    return NO_ERROR;
}

DWORD write_at(int descriptor, std::uint64_t position, Bytes first, Bytes second, std::size_t* written) {
    *written = 0;
    const std::size_t size = first.size() + second.size();
    while (*written < size) {
        const std::size_t fromFirst = std::min(*written, first.size());
        const iovec vectors[] = {Vector(first.subspan(fromFirst)), Vector(second.subspan(*written - fromFirst))};
        const bool firstDone = fromFirst == first.size();
        const ssize_t count = Uninterrupted([&] {
            return ::pwritev(descriptor, vectors + firstDone, firstDone ? 1 : 2,
                             static_cast<off_t>(position + *written));
        });
        if (count < 0) return ErrorFromErrno(errno);
        if (count == 0) return ERROR_DISK_FULL;  // a device that takes nothing and says nothing
        *written += static_cast<std::size_t>(count);
    }
    return NO_ERROR;
}

DWORD truncate(int descriptor, std::uint64_t size) {
    if (size > kLastPosition) return ERROR_FILE_TOO_LARGE;
    const int result = Uninterrupted([&] { return ::ftruncate(descriptor, static_cast<off_t>(size)); });
    return result == 0 ? NO_ERROR : ErrorFromErrno(errno);
}

}  // namespace file_io
