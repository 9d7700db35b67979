#include "Platform/Kernel/File.h"

#include "Platform/Kernel/FileIo.h"
#include "Platform/Kernel/FileSharing.h"
#include "Platform/Kernel/LastError.h"
#include "Platform/Kernel/SharedFile.h"
#include "Platform/Kernel/Text.h"

#include <new>
#include <stdexcept>
#include <string>

#include <fcntl.h>

namespace {

DWORD Report(DWORD error) {
    if (error != NO_ERROR) SetLastError(error);
    return error;
}

int OpenFlags(const FileOpenMode& mode) {
    // Writers can read as well, so that a stream's clone can.
    const int access = mode.access == FileAccess::Read ? O_RDONLY : O_RDWR;
    switch (mode.creation) {
        case FileCreation::OpenExisting: return access;
        case FileCreation::CreateNew: return access | O_CREAT | O_EXCL;
        case FileCreation::OpenAlways:
        case FileCreation::CreateAlways: return access | O_CREAT;
    }
    return access;
}

bool FolderExists(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    FileInfo info;
    return QueryFileInfo(slash == path.npos ? "." : path.substr(0, slash + 1), &info) == NO_ERROR && info.is_directory;
}

DWORD OpenDescriptor(const std::string& path, const FileOpenMode& mode, int* descriptor) {
    const DWORD error = file_io::open_path(path.c_str(), OpenFlags(mode), descriptor);
    if (error == ERROR_FILE_NOT_FOUND && (path.empty() || !FolderExists(path))) return ERROR_PATH_NOT_FOUND;
    return error;
}

/// What can be read and written at positions.
DWORD CheckKind(const struct stat& st) {
    if (S_ISDIR(st.st_mode)) return ERROR_ACCESS_DENIED;
    return S_ISFIFO(st.st_mode) || S_ISSOCK(st.st_mode) ? ERROR_NOT_SUPPORTED : NO_ERROR;
}

FILETIME ToFileTime(const timespec& time) {
    constexpr std::int64_t kUnixEpoch = 116'444'736'000'000'000;  // 1970-01-01 from 1601-01-01 in 100 ns
    const std::int64_t value = kUnixEpoch + std::int64_t{time.tv_sec} * 10'000'000 + time.tv_nsec / 100;
    return FileTimeFromUInt64(static_cast<std::uint64_t>(value));
}

}  // namespace

DWORD File::Open(const wchar_t* path, const FileOpenMode& wanted, std::shared_ptr<File>* file) noexcept {
    file->reset();
    if (path == nullptr) return Report(ERROR_INVALID_PARAMETER);
    try {
        int descriptor = -1;
        if (const DWORD error = OpenDescriptor(win32::ConvertToUtf8(path), wanted, &descriptor); error != NO_ERROR)
            return Report(error);
        return Report(Adopt(descriptor, wanted, file));
    } catch (const std::bad_alloc&) {
        return Report(ERROR_NOT_ENOUGH_MEMORY);
    } catch (const std::runtime_error&) {
        return Report(ERROR_INVALID_NAME);
    }
}

DWORD File::Adopt(int descriptor, FileOpenMode mode, std::shared_ptr<File>* file) {
    struct stat st {};
    DWORD error = file_io::status(descriptor, &st);
    if (error == NO_ERROR) error = CheckKind(st);
    if (error != NO_ERROR) {
        file_io::close_descriptor(descriptor);
        return error;
    }
    // Devices are everybody's: nobody keeps others off /dev/null.
    const bool regular = S_ISREG(st.st_mode);
    if (!regular) mode.deny = FileDeny::None;

    std::shared_ptr<File> opened;
    try {
        opened.reset(new File(descriptor, mode, file_io::describe(st).identity));
    } catch (const std::bad_alloc&) {
        file_io::close_descriptor(descriptor);
        throw;
    }
    opened->m_shared = FileTable::Instance().Enter(opened->m_identity, mode);
    if (!opened->m_shared) return ERROR_SHARING_VIOLATION;
    if (regular) error = MarkOpen(descriptor, mode);
    if (error == NO_ERROR && regular && mode.creation == FileCreation::CreateAlways) error = opened->Empty();
    if (error == NO_ERROR) *file = std::move(opened);
    return error;
}

/// Leaves a file that is empty alone: some file systems write a file that was cut to nothing to the disk when it
/// is closed, and the close waits for it. What another stream of this process has gathered for it counts: it is
/// handed on first, so that it cannot follow later into the emptied file.
DWORD File::Empty() {
    struct stat st {};
    if (const DWORD error = m_shared->Status(m_descriptor, &st); error != NO_ERROR) return error;
    return st.st_size == 0 ? NO_ERROR : m_shared->SetSize(m_descriptor, 0);
}

File::~File() {
    if (m_shared) {
        if (m_mode.access != FileAccess::Read) m_shared->Leave(m_descriptor);
        // The marks go before the table's entry: who is let in by the table next must not meet them.
        UnmarkOpen(m_descriptor);
        FileTable::Instance().Leave(m_identity, m_mode);
    }
    file_io::close_descriptor(m_descriptor);
}

DWORD File::Read(std::uint64_t position, void* buffer, std::size_t size, std::size_t* read) noexcept {
    return Report(m_shared->Read(m_descriptor, position, {static_cast<std::uint8_t*>(buffer), size}, read));
}

DWORD File::Write(std::uint64_t position, const void* data, std::size_t size, std::size_t* written) noexcept {
    std::size_t count = 0;
    const DWORD error =
        m_mode.access == FileAccess::Read
            ? ERROR_ACCESS_DENIED
            : m_shared->Write(m_descriptor, position, {static_cast<const std::uint8_t*>(data), size}, &count);
    if (written != nullptr) *written = count;
    return Report(error);
}

DWORD File::GetSize(std::uint64_t* size) noexcept {
    struct stat st {};
    const DWORD error = m_shared->Status(m_descriptor, &st);
    *size = static_cast<std::uint64_t>(st.st_size);
    return Report(error);
}

DWORD File::SetSize(std::uint64_t size) noexcept {
    if (m_mode.access == FileAccess::Read) return Report(ERROR_ACCESS_DENIED);
    return Report(m_shared->SetSize(m_descriptor, size));
}

DWORD File::Flush() noexcept { return m_mode.access == FileAccess::Read ? NO_ERROR : Report(m_shared->Flush()); }

DWORD File::GetTimes(FileTimes* times) noexcept {
    struct stat st {};
    const DWORD error = m_shared->Status(m_descriptor, &st);
    *times = {ToFileTime(st.st_mtim), ToFileTime(st.st_atim), ToFileTime(st.st_ctim)};
    return Report(error);
}
