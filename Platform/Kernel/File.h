// Files with positional access and sharing: what file streams stand on.
//
// Sharing. Each open says what it does (reads, writes) and what it denies to all others (reading,
// writing). An open fails with ERROR_SHARING_VIOLATION when another open denies what it wants to do,
// or does what it wants to deny, in this process (a table over device and inode) or in another (advisory
// locks on bytes far behind any data). An open that reads and denies nothing meets no writer's
// refusal unless that writer denies reading.
//
// Gathering. Writes below kGatherLimit that follow on from each other are collected, up to kGatherCapacity
// bytes for each file (device and inode), and handed to the system together: before a read or a size query
// through any File of the same file in this process, before a write elsewhere, at a larger write (with it in
// one call where it follows on), at SetSize, Flush and when the writer closes. So every reader of the process
// sees them, in order; what is not handed on is lost when the process dies. A failed hand-on is
// the result of the operation that caused it and of the next Flush, and its bytes are kept and tried again
// by the next write, SetSize, Flush or close; until then reads and size queries see what the system has.
#pragma once

#include "Platform/Com/Results.h"
#include "Platform/Kernel/Export.h"
#include "Platform/Kernel/FileInfo.h"
#include "Platform/Kernel/LargeInteger.h"

#include <cstddef>
#include <cstdint>
#include <memory>

class SharedFile;

enum class FileAccess {
    Read,
    Write,  ///< this object can still read; nobody who denies reading is asked
    ReadWrite,
};

/// What others may not do while the file is open.
enum class FileDeny { None = 0, Read = 1, Write = 2, ReadAndWrite = 3 };

enum class FileCreation {
    OpenExisting,
    OpenAlways,    ///< an empty file when there is none
    CreateNew,     ///< ERROR_FILE_EXISTS when there is one
    CreateAlways,  ///< an existing file is emptied, once sharing allows the open
};

struct FileOpenMode {
    FileAccess access = FileAccess::Read;
    FileDeny deny = FileDeny::None;
    FileCreation creation = FileCreation::OpenExisting;
};

struct FileTimes {
    FILETIME modified{};
    FILETIME accessed{};
    FILETIME changed{};
};

/// One open of a file. All operations may be called from any thread at once; each write is whole in
/// the file before the next. They answer NO_ERROR or a system error, which is then the thread's
/// last error as well. Positions and sizes are in bytes. Closed by the destructor, which hands on gathered
/// bytes; a stream's clones share one File.
class PLATFORM_KERNEL_API File {
public:
    static constexpr std::size_t kGatherLimit = 4096;
    static constexpr std::size_t kGatherCapacity = 64 * 1024;

    /// Files and devices with positions; not folders (ERROR_ACCESS_DENIED), not pipes (ERROR_NOT_SUPPORTED).
    /// A missing file is ERROR_FILE_NOT_FOUND, a missing folder on the way ERROR_PATH_NOT_FOUND.
    static DWORD Open(const wchar_t* path, const FileOpenMode& mode, std::shared_ptr<File>* file) noexcept;

    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File();

    /// Reads up to `size` bytes at `position`. Fewer are stored in *read only at the end of the file, where
    /// 0 bytes are still NO_ERROR.
    DWORD Read(std::uint64_t position, void* buffer, std::size_t size, std::size_t* read) noexcept;
    /// Writes all bytes at `position`; behind the end the gap reads as zeros. *written (may be null) is the
    /// number that was taken, less than `size` only with an error. ERROR_ACCESS_DENIED on a reader.
    DWORD Write(std::uint64_t position, const void* data, std::size_t size, std::size_t* written = nullptr) noexcept;
    DWORD GetSize(std::uint64_t* size) noexcept;
    /// Cuts or extends with zeros.
    DWORD SetSize(std::uint64_t size) noexcept;
    /// Hands gathered bytes to the system and reports a hand-on that failed since the last Flush. It does
    /// not wait for the disk.
    DWORD Flush() noexcept;
    DWORD GetTimes(FileTimes* times) noexcept;

    const FileOpenMode& Mode() const noexcept { return m_mode; }
    const FileIdentity& Identity() const noexcept { return m_identity; }

private:
    File(int descriptor, const FileOpenMode& mode, const FileIdentity& identity)
        : m_descriptor(descriptor), m_mode(mode), m_identity(identity) {}
    static DWORD Adopt(int descriptor, FileOpenMode mode, std::shared_ptr<File>* file);
    DWORD Empty();

    const int m_descriptor;
    const FileOpenMode m_mode;
    const FileIdentity m_identity;
    std::shared_ptr<SharedFile> m_shared;  ///< with all Files of the same file in this process; null while opening
};
